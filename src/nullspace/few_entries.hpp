// Products of an orthogonal factor with vectors that are zero nearly everywhere.
#ifndef ACTIVESET_SRC_NULLSPACE_FEW_ENTRIES_HPP
#define ACTIVESET_SRC_NULLSPACE_FEW_ENTRIES_HPP

#include <array>

#include "host/blas.hpp"

namespace activeset {

/// w := qᵀ·a, a with as many entries as q has rows, w with as many as columns.
///
/// The row of a bound has one entry, in phase one two, and phase one's gradient has one: then a few
/// rows of q are all that is read. With entries ±1 the result has the same bits as the product.
inline void multiplyTransposed(ConstBlock q, const double* a, double* w) {
    constexpr size_t Few = 2;
    std::array<Int, Few> rows{};
    size_t count = 0;
    for (Int i = 0; i < q.rows; ++i) {
        if (a[i] != 0.0) {  // NaN as well
            if (count == Few || (a[i] != 1.0 && a[i] != -1.0)) {
                blas::gemv(Op::Transpose, 1.0, q, a, 0.0, w);
                return;
            }
            rows[count++] = i;
        }
    }
    for (Int j = 0; j < q.cols; ++j) {
        const double* column = q.data + j * q.ld;
        double sum = 0.0;
        for (size_t k = 0; k < count; ++k) {
            sum += a[rows[k]] * column[rows[k]];
        }
        w[j] = sum;
    }
}

}  // namespace activeset

#endif
