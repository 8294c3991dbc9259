// Numbers without rounding, and vectors and matrices of them.
#ifndef ACTIVESET_TESTS_SUPPORT_EXACT_RATIONAL_HPP
#define ACTIVESET_TESTS_SUPPORT_EXACT_RATIONAL_HPP

#include <gmpxx.h>

#include <cstddef>
#include <stdexcept>
#include <vector>

namespace activeset::test::exact {

using Rational = mpq_class;
using Vector = std::vector<Rational>;
using Matrix = std::vector<Vector>;  ///< by rows

inline void require(bool isTrue) {
    if (!isTrue) {
        throw std::logic_error("the exact method is wrong");
    }
}

inline Rational dot(const Vector& a, const Vector& b) {
    Rational sum = 0;
    for (std::size_t k = 0; k < a.size(); ++k) {
        if (sgn(a[k]) != 0 && sgn(b[k]) != 0) {
            sum += a[k] * b[k];
        }
    }
    return sum;
}

inline Vector product(const Matrix& rows, const Vector& x) {
    Vector result;
    for (const Vector& row : rows) {
        result.push_back(dot(row, x));
    }
    return result;
}

/// rowsᵀ·y, of length n.
inline Vector transposedProduct(const Matrix& rows, const Vector& y, std::size_t n) {
    Vector result(n);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = 0; j < n && sgn(y[i]) != 0; ++j) {
            result[j] += rows[i][j] * y[i];
        }
    }
    return result;
}

}  // namespace activeset::test::exact

#endif
