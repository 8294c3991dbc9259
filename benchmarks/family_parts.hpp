// What all families share: products of vectors and matrices, and an empty problem.
// begin with.
#ifndef ACTIVESET_BENCHMARKS_FAMILY_PARTS_HPP
#define ACTIVESET_BENCHMARKS_FAMILY_PARTS_HPP

#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "benchmarks/families.hpp"

namespace activeset::bench {

using Vector = std::vector<double>;

/// y += factor·x.
inline void add(double factor, const double* x, double* y, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        y[i] += factor * x[i];
    }
}

/// y += M·x; M has as many rows as y.
inline void addProduct(const Vector& M, const Vector& x, Vector& y) {
    for (std::size_t j = 0; j < x.size(); ++j) {
        add(x[j], &M[j * y.size()], y.data(), y.size());
    }
}

/// y += Mᵀ·x; M has as many rows as x.
inline void addTransposed(const Vector& M, const Vector& x, Vector& y) {
    for (std::size_t j = 0; j < y.size(); ++j) {
        y[j] += std::inner_product(x.begin(), x.end(), &M[j * x.size()], 0.0);
    }
}

inline Problem withoutConstraints(std::size_t n, Vector H) {
    Problem problem{n};
    problem.H = std::move(H);
    problem.c.resize(n);
    problem.lb.assign(n, -std::numeric_limits<double>::infinity());
    problem.ub.assign(n, std::numeric_limits<double>::infinity());
    problem.x0.resize(n);
    return problem;
}

}  // namespace activeset::bench

#endif
