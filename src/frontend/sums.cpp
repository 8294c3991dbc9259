// Four sums at a time: one alone would wait for its own last addition, and a sum that goes back to
// memory after each term costs more than the term.
#include "frontend/sums.hpp"

#include <array>
#include <cmath>

namespace activeset::frontend {

namespace {

constexpr std::size_t Width = 4;

struct Block {
    std::array<Extended, Width> values{};
    std::array<double, Width> scales{};

    void add(std::size_t k, double a, double b) {
        values[k] += static_cast<Extended>(a) * b;
        scales[k] += std::abs(a * b);
    }
};

// sum += Σ a_i·b_i
void addProducts(Sum& sum, const double* a, const double* b, std::size_t count) {
    Block block;
    std::size_t i = 0;
    for (; i + Width <= count; i += Width) {
        for (std::size_t k = 0; k < Width; ++k) {
            block.add(k, a[i + k], b[i + k]);
        }
    }
    for (; i < count; ++i) {
        block.add(0, a[i], b[i]);
    }
    for (std::size_t k = 0; k < Width; ++k) {
        sum.value += block.values[k];
        sum.scale += block.scales[k];
    }
}

}  // namespace

std::vector<Sum> rowValues(const Data& data, const Vector& x) {
    std::vector<Sum> rows(data.m);
    std::size_t i = 0;
    for (; i + Width <= data.m; i += Width) {
        Block block;
        for (std::size_t j = 0; j < data.n; ++j) {
            for (std::size_t k = 0; k < Width; ++k) {
                block.add(k, data.columnOfA(j)[i + k], x[j]);
            }
        }
        for (std::size_t k = 0; k < Width; ++k) {
            rows[i + k] = {block.values[k], block.scales[k]};
        }
    }
    for (; i < data.m; ++i) {
        for (std::size_t j = 0; j < data.n; ++j) {
            rows[i].add(static_cast<Extended>(data.columnOfA(j)[i]) * x[j]);
        }
    }
    return rows;
}

std::vector<Sum> curvedSums(const Data& data, const Vector& x) {
    std::vector<Sum> sums(data.n);
    for (std::size_t j = 0; j < data.n && data.quadratic; ++j) {
        addProducts(sums[j], data.columnOfH(j), x.data(), data.n);
    }
    return sums;
}

void addLinear(std::vector<Sum>& sums, const Data& data) {
    for (std::size_t j = 0; j < data.n; ++j) {
        sums[j].add(data.c[j]);
    }
}

void addTransposedProduct(std::vector<Sum>& sums, const Data& data, const Vector& y) {
    for (std::size_t j = 0; j < data.n; ++j) {
        addProducts(sums[j], data.columnOfA(j), y.data(), data.m);
    }
}

std::vector<Sum> gradientSums(const Data& data, const Vector& x, const Vector& y) {
    std::vector<Sum> sums = curvedSums(data, x);
    addLinear(sums, data);
    addTransposedProduct(sums, data, y);
    return sums;
}

std::vector<Sum> transposedSums(const Data& data, const Vector& y) {
    std::vector<Sum> sums(data.n);
    addTransposedProduct(sums, data, y);
    return sums;
}

}  // namespace activeset::frontend
