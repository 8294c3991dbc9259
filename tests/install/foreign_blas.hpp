// A BLAS and LAPACK with 32-bit integers, as a program may load beside the library.
#ifndef ACTIVESET_TESTS_INSTALL_FOREIGN_BLAS_HPP
#define ACTIVESET_TESTS_INSTALL_FOREIGN_BLAS_HPP

#include <array>
#include <cstdint>

extern "C" void dgeqp3_(const std::int32_t* m,
                        const std::int32_t* n,
                        double* a,
                        const std::int32_t* lda,
                        std::int32_t* jpvt,
                        double* tau,
                        double* work,
                        const std::int32_t* lwork,
                        std::int32_t* info);

namespace foreign {

/// Columns of length 1, 3 and 2 along the axes: pivoting by length takes them as 2, 3, 1.
constexpr std::array<double, 9> Columns = {1, 0, 0, 0, 3, 0, 0, 0, 2};

/// The pivots of Columns that the other LAPACK finds.
inline std::array<std::int32_t, 3> pivots() {
    std::array<double, 9> a = Columns;
    std::array<std::int32_t, 3> jpvt{};
    std::array<double, 3> tau{};
    std::array<double, 64> work{};
    const std::int32_t order = 3;
    const std::int32_t lwork = 64;
    std::int32_t info = 0;
    dgeqp3_(&order, &order, a.data(), &order, jpvt.data(), tau.data(), work.data(), &lwork, &info);
    return jpvt;
}

}  // namespace foreign

#endif
