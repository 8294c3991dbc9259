// Element-wise arithmetic, the floating remainder and the matrix product.
#include <algorithm>
#include <cmath>

#include "activeset/host.hpp"
#include "host/blas.hpp"
#include "host/vx_array.hpp"

void vxPlus(double* result,
            size_t n,
            const double* a,
            size_t strideA,
            const double* b,
            size_t strideB) noexcept {
    for (size_t i = 0; i < n; ++i) {
        result[i] = a[i * strideA] + b[i * strideB];
    }
}

void vxMinus(double* result,
             size_t n,
             const double* a,
             size_t strideA,
             const double* b,
             size_t strideB) noexcept {
    for (size_t i = 0; i < n; ++i) {
        result[i] = a[i * strideA] - b[i * strideB];
    }
}

void vxTimes(double* result,
             size_t n,
             const double* a,
             size_t strideA,
             const double* b,
             size_t strideB) noexcept {
    for (size_t i = 0; i < n; ++i) {
        result[i] = a[i * strideA] * b[i * strideB];
    }
}

double vxRemainder(double a, double b) noexcept {
    return std::fmod(a, b);
}

namespace {

using activeset::forEachEntry;

void requireDoubles(const vxArray* array) {
    if (array == nullptr || array->elementClass != vxClass::Double) {
        vxErrMsgIdAndTxt(activeset::ArrayErrorIdentifier, "A product needs arrays of doubles.");
    }
}

// product += a(:, k)·factor into column j of the product.
void addColumn(const vxArray& a, size_t k, double factor, double* target) {
    const auto* values = static_cast<const double*>(a.real);
    if (a.isSparse) {
        forEachEntry(a, k,
                     [&](size_t entry, size_t row) { target[row] += values[entry] * factor; });
        return;
    }
    const size_t m = a.dimensions[0];
    for (size_t i = 0; i < m; ++i) {
        target[i] += values[k * m + i] * factor;
    }
}

void multiplySparse(double* product, const vxArray& a, const vxArray& b) {
    const size_t m = a.dimensions[0];
    const size_t inner = a.dimensions[1];
    const auto* values = static_cast<const double*>(b.real);
    std::fill_n(product, m * b.dimensions[1], 0.0);
    for (size_t j = 0; j < b.dimensions[1]; ++j) {
        double* target = product + j * m;
        if (b.isSparse) {
            forEachEntry(
                b, j, [&](size_t entry, size_t row) { addColumn(a, row, values[entry], target); });
            continue;
        }
        for (size_t k = 0; k < inner; ++k) {
            addColumn(a, k, values[j * inner + k], target);
        }
    }
}

}  // namespace

void vxMatrixMultiply(vxArray* product, const vxArray* a, const vxArray* b) {
    requireDoubles(product);
    requireDoubles(a);
    requireDoubles(b);
    const size_t m = a->dimensions[0];
    const size_t n = b->dimensions[1];
    const size_t k = a->dimensions[1];
    if (product->isSparse || product == a || product == b || product->dimensions[0] != m ||
        product->dimensions[1] != n || b->dimensions[0] != k) {
        vxErrMsgIdAndTxt(activeset::ArrayErrorIdentifier, "The shapes of a product do not fit.");
    }
    auto* result = static_cast<double*>(product->real);
    if (a->isSparse || b->isSparse) {
        multiplySparse(result, *a, *b);
        return;
    }
    const auto view = [](const vxArray* array) {
        return activeset::ConstBlock(static_cast<const double*>(array->real), array->dimensions[0],
                                     array->dimensions[1]);
    };
    if (n == 1) {
        activeset::blas::gemv(activeset::Op::None, 1.0, view(a),
                              static_cast<const double*>(b->real), 0.0, result);
    } else {
        activeset::blas::gemm(activeset::Op::None, activeset::Op::None, 1.0, view(a), view(b), 0.0,
                              activeset::Block(result, m, n));
    }
}
