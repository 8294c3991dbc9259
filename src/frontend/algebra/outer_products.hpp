// Matrices of rank two.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_OUTER_PRODUCTS_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_OUTER_PRODUCTS_HPP

#include <cstddef>

namespace activeset::frontend {

/// column·rowᵀ
struct OuterProduct {
    const double* column;
    const double* row;
};

/// target := factor·(first + second), rows × cols without gaps. Each product is rounded, so that
/// a·bᵀ + b·aᵀ is symmetric to the last bit if the factor is a power of two.
void writeOuterProducts(double factor,
                        const OuterProduct& first,
                        const OuterProduct& second,
                        double* target,
                        std::size_t rows,
                        std::size_t cols);

}  // namespace activeset::frontend

#endif
