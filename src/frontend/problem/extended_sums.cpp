// Products of the matrices of a problem, in pairs of doubles.
#include "frontend/problem/extended_sums.hpp"

namespace activeset::frontend {

namespace {

/// Room for sums as the kernels write them.
class Columns {
public:
    explicit Columns(std::size_t count) : count_(count), values_(3 * count) {}

    [[nodiscard]] SumsView view() {
        return {values_.data(), values_.data() + count_, values_.data() + 2 * count_};
    }
    void addTo(std::vector<Sum>& sums) {
        const SumsView from = view();
        for (std::size_t k = 0; k < count_; ++k) {
            sums[k].value += DoubleDouble(from.value[k], from.rest[k]);
            sums[k].scale += from.scale[k];
        }
    }
    [[nodiscard]] std::vector<Sum> sums() {
        const SumsView from = view();
        std::vector<Sum> result(count_);
        for (std::size_t k = 0; k < count_; ++k) {
            result[k] = {DoubleDouble(from.value[k], from.rest[k]), from.scale[k]};
        }
        return result;
    }

private:
    std::size_t count_;
    Vector values_;
};

Columns transposedColumns(const ProblemData& data, const Vector& y) {
    Columns columns(data.n);
    exactTransposedProduct({data.A.data(), data.m, data.n, data.m}, y.data(), columns.view());
    return columns;
}

}  // namespace

std::vector<Sum> rowValues(const ProblemData& data, const Vector& x) {
    Columns columns(data.m);
    exactProduct({data.A.data(), data.m, data.n, data.m}, x.data(), columns.view());
    return columns.sums();
}

std::vector<Sum> curvedSums(const ProblemData& data, const Vector& x) {
    if (!data.quadratic) {
        return std::vector<Sum>(data.n);
    }
    Columns columns(data.n);
    exactProduct({data.H.data(), data.n, data.n, data.n}, x.data(), columns.view());
    return columns.sums();
}

void addLinear(std::vector<Sum>& sums, const ProblemData& data) {
    for (std::size_t j = 0; j < data.n; ++j) {
        sums[j].add(data.c[j]);
    }
}

void addTransposedProduct(std::vector<Sum>& sums, const ProblemData& data, const Vector& y) {
    transposedColumns(data, y).addTo(sums);
}

std::vector<Sum> gradientSums(const ProblemData& data, const Vector& x, const Vector& y) {
    std::vector<Sum> sums = curvedSums(data, x);
    addLinear(sums, data);
    addTransposedProduct(sums, data, y);
    return sums;
}

std::vector<Sum> transposedSums(const ProblemData& data, const Vector& y) {
    return transposedColumns(data, y).sums();
}

}  // namespace activeset::frontend
