// Matrix arithmetic through the host's services; results come from the pool.

#include "activeset/matrix.hpp"
#include "host/console_text.hpp"
#include "matrix/fault.hpp"
#include "matrix/views.hpp"

namespace activeset {

void raiseMatrixFault(const char* text) {
    vxErrMsgIdAndTxt("optim:optimHstError:unhandledError", "%s", text);
}

void printAssignmentSizes(const OPTMatrix<double>& left, const OPTMatrix<double>& right) {
    activeset::printValues("LHS Size: ", left.getRows(), "-by-", left.getCols(), '\n',  //
                           "RHS Size: ", right.getRows(), "-by-", right.getCols(), '\n');
}

}  // namespace activeset

using activeset::isStoredFull;
using activeset::raiseMatrixFault;

namespace {

using Matrix = OPTMatrix<double>;
using Elementwise = void (*)(double*, size_t, const double*, size_t, const double*, size_t);

// The elements of a sparse operand, spelled out.
Matrix spelledOut(const Matrix& matrix) {
    Matrix full(matrix.getRows(), matrix.getCols(), true);
    for (size_t j = 0; j < matrix.getCols(); ++j) {
        for (size_t i = 0; i < matrix.getRows(); ++i) {
            full(i, j) = matrix(i, j);
        }
    }
    return full;
}

Matrix combine(Elementwise operation, const Matrix& shape, const Matrix& a, const Matrix& b) {
    if (!isStoredFull(a)) {
        return combine(operation, shape, spelledOut(a), b);
    }
    if (!isStoredFull(b)) {
        return combine(operation, shape, a, spelledOut(b));
    }
    Matrix result(shape.getRows(), shape.getCols(), true);
    operation(result.getData(), result.size(), a.getData(), 1, b.getData(), 1);
    return result;
}

Matrix combine(Elementwise operation, const Matrix& a, double s) {
    if (!isStoredFull(a)) {
        return combine(operation, spelledOut(a), s);
    }
    Matrix result(a.getRows(), a.getCols(), true);
    operation(result.getData(), result.size(), a.getData(), 1, &s, 0);
    return result;
}

}  // namespace

OPTMatrix<double> OPTMatrix<double>::operator*(const OPTMatrix& b) const {
    if (cols != b.rows) {
        raiseMatrixFault("Incompatible dimensions for matrix multiplication");
    }
    OPTMatrix result(rows, b.cols, true);
    if (result.size() != 0) {
        vxMatrixMultiply(result.hostArray, hostArray, b.hostArray);
    }
    return result;
}

OPTMatrix<double> OPTMatrix<double>::operator-(const OPTMatrix& b) const {
    if (rows != b.rows || cols != b.cols) {
        raiseMatrixFault("Incompatible dimensions for matrix subtraction");
    }
    return combine(vxMinus, b, *this, b);
}

OPTMatrix<double> OPTMatrix<double>::operator+(const OPTMatrix& b) const {
    if (b.size() < size()) {
        raiseMatrixFault("Incompatible dimensions for matrix addition");
    }
    return combine(vxPlus, *this, *this, b);
}

OPTMatrix<double>& OPTMatrix<double>::operator+=(const OPTMatrix& b) {
    if (rows != b.rows || cols != b.cols) {
        raiseMatrixFault("Incompatible dimensions for matrix assignment");
    }
    for (size_t i = 0; i < rows && cols != 0; ++i) {
        for (size_t j = 0; j < cols; ++j) {
            (*this)(i, j) += b(i, j);
        }
    }
    return *this;
}

OPTMatrix<double> OPTMatrix<double>::operator*(double s) const {
    return combine(vxTimes, *this, s);
}

OPTMatrix<double> OPTMatrix<double>::operator-(double s) const {
    return combine(vxMinus, *this, s);
}

OPTMatrix<double> activeset::transposedProduct(const Matrix& a, const Matrix& b) {
    if (a.getRows() != b.getRows()) {
        raiseMatrixFault("Incompatible dimensions for matrix multiplication");
    }
    if (!isStoredFull(a)) {
        return transposedProduct(spelledOut(a), b);
    }
    if (!isStoredFull(b)) {
        return transposedProduct(a, spelledOut(b));
    }
    Matrix result(a.getCols(), b.getCols(), true);
    if (b.getCols() == 1) {
        blas::gemv(Op::Transpose, 1.0, viewOf(a), b.getData(), 0.0, result.getData());
    } else if (a.getCols() == 1) {
        blas::gemv(Op::Transpose, 1.0, viewOf(b), a.getData(), 0.0, result.getData());
    } else {
        blas::gemm(Op::Transpose, Op::None, 1.0, viewOf(a), viewOf(b), 0.0, viewOf(result));
    }
    return result;
}
