// The Fortran routines under the names that the private copy of BLAS and LAPACK gives them.
//
// Character arguments have their lengths appended, as gfortran passes them; integers are 64-bit.
#ifndef ACTIVESET_SRC_HOST_FORTRAN_HPP
#define ACTIVESET_SRC_HOST_FORTRAN_HPP

#include <cstddef>

#include "host/blas.hpp"
#include "host/blas_buffer.hpp"

// NOLINTBEGIN(bugprone-macro-parentheses,readability-identifier-naming)
#define ACTIVESET_FORTRAN(name) activeset_##name##_

/// The routine to call; the buffer lives to the end of the call's expression.
#define ACTIVESET_CALL(name) (static_cast<void>(activeset::BlasBuffer()), ACTIVESET_FORTRAN(name))

extern "C" {
using activeset::Int;

void ACTIVESET_FORTRAN(dgemv)(const char* trans,
                              const Int* m,
                              const Int* n,
                              const double* alpha,
                              const double* a,
                              const Int* lda,
                              const double* x,
                              const Int* incx,
                              const double* beta,
                              double* y,
                              const Int* incy,
                              size_t);
void ACTIVESET_FORTRAN(dgemm)(const char* transa,
                              const char* transb,
                              const Int* m,
                              const Int* n,
                              const Int* k,
                              const double* alpha,
                              const double* a,
                              const Int* lda,
                              const double* b,
                              const Int* ldb,
                              const double* beta,
                              double* c,
                              const Int* ldc,
                              size_t,
                              size_t);
void ACTIVESET_FORTRAN(dsyrk)(const char* uplo,
                              const char* trans,
                              const Int* n,
                              const Int* k,
                              const double* alpha,
                              const double* a,
                              const Int* lda,
                              const double* beta,
                              double* c,
                              const Int* ldc,
                              size_t,
                              size_t);
void ACTIVESET_FORTRAN(dtrsv)(const char* uplo,
                              const char* trans,
                              const char* diag,
                              const Int* n,
                              const double* a,
                              const Int* lda,
                              double* x,
                              const Int* incx,
                              size_t,
                              size_t,
                              size_t);
void ACTIVESET_FORTRAN(drot)(const Int* n,
                             double* x,
                             const Int* incx,
                             double* y,
                             const Int* incy,
                             const double* c,
                             const double* s);
void ACTIVESET_FORTRAN(dgeqrf)(const Int* m,
                               const Int* n,
                               double* a,
                               const Int* lda,
                               double* tau,
                               double* work,
                               const Int* lwork,
                               Int* info);
void ACTIVESET_FORTRAN(dgeqp3)(const Int* m,
                               const Int* n,
                               double* a,
                               const Int* lda,
                               Int* jpvt,
                               double* tau,
                               double* work,
                               const Int* lwork,
                               Int* info);
void ACTIVESET_FORTRAN(dorgqr)(const Int* m,
                               const Int* n,
                               const Int* k,
                               double* a,
                               const Int* lda,
                               const double* tau,
                               double* work,
                               const Int* lwork,
                               Int* info);
void ACTIVESET_FORTRAN(dormqr)(const char* side,
                               const char* trans,
                               const Int* m,
                               const Int* n,
                               const Int* k,
                               const double* a,
                               const Int* lda,
                               const double* tau,
                               double* c,
                               const Int* ldc,
                               double* work,
                               const Int* lwork,
                               Int* info,
                               size_t,
                               size_t);
void ACTIVESET_FORTRAN(dpstrf)(const char* uplo,
                               const Int* n,
                               double* a,
                               const Int* lda,
                               Int* jpvt,
                               Int* rank,
                               const double* tolerance,
                               double* work,
                               Int* info,
                               size_t);
void ACTIVESET_FORTRAN(dpotrf)(
    const char* uplo, const Int* n, double* a, const Int* lda, Int* info, size_t);
void ACTIVESET_FORTRAN(dpotrs)(const char* uplo,
                               const Int* n,
                               const Int* nrhs,
                               const double* a,
                               const Int* lda,
                               double* b,
                               const Int* ldb,
                               Int* info,
                               size_t);
void ACTIVESET_FORTRAN(dtrtrs)(const char* uplo,
                               const char* trans,
                               const char* diag,
                               const Int* n,
                               const Int* nrhs,
                               const double* a,
                               const Int* lda,
                               double* b,
                               const Int* ldb,
                               Int* info,
                               size_t,
                               size_t,
                               size_t);
void ACTIVESET_FORTRAN(dgels)(const char* trans,
                              const Int* m,
                              const Int* n,
                              const Int* nrhs,
                              double* a,
                              const Int* lda,
                              double* b,
                              const Int* ldb,
                              double* work,
                              const Int* lwork,
                              Int* info,
                              size_t);
#ifdef ACTIVESET_EMBEDDED_BLAS
void activeset_openblas_set_num_threads(int count);
int activeset_openblas_get_num_threads();
const char* activeset_openblas_get_corename();
#endif
}
// NOLINTEND(bugprone-macro-parentheses,readability-identifier-naming)

#endif
