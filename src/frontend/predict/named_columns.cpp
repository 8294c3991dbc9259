// Forming images of constraints in blocks.
#include "frontend/predict/named_columns.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "frontend/problem/constraints.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

NamedColumns::NamedColumns(const ProblemData& data, const Dense& factor)
    : data_(data), factor_(factor), place_(data.m + data.n, None), columns_(data.n, 0) {}

NamedColumns::List NamedColumns::missingOf(const List& wanted) const {
    List missing;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(missing),
                 [this](std::size_t k) { return place_[k] == None; });
    return missing;
}

void NamedColumns::name(const List& wanted, const List& kept) {
    const List missing = missingOf(wanted);
    if (missing.empty()) {
        return;
    }
    if (count_ + missing.size() > 2 * data_.n) {
        List all = kept;
        all.insert(all.end(), wanted.begin(), wanted.end());
        keepOnly(all);
    }
    const std::size_t n = data_.n;
    const std::size_t total = count_ + missing.size();
    // An allocation that fails leaves the present columns as they are.
    columns_.values.grow(n * total);
    columns_.cols = total;
    growInner(total);
    for (std::size_t k = 0; k < missing.size(); ++k) {
        std::fill_n(columns_.column(count_ + k), n, 0.0);
    }
    writeRows(data_, missing, columns_.column(count_));
    solveLower(factor_, columns_.column(count_), missing.size());
    formInner(missing.size());
    for (const std::size_t k : missing) {
        place_[k] = count_++;
    }
}

// Moves the columns that stay to the front, in their order.
void NamedColumns::keepOnly(const List& kept) {
    std::vector<std::size_t> constraintAt(count_, None);
    for (const std::size_t k : kept) {
        if (place_[k] != None) {
            constraintAt[place_[k]] = k;
        }
    }
    std::fill(place_.begin(), place_.end(), None);
    std::vector<std::size_t> from;
    for (std::size_t p = 0; p < count_; ++p) {
        if (constraintAt[p] != None) {
            place_[constraintAt[p]] = from.size();
            from.push_back(p);
        }
    }
    for (std::size_t j = 0; j < from.size(); ++j) {
        if (from[j] != j) {
            std::copy_n(columns_.column(from[j]), data_.n, columns_.column(j));
        }
        for (std::size_t i = 0; i < from.size(); ++i) {
            inner_(i, j) = inner_(from[i], from[j]);
        }
    }
    count_ = from.size();
}

void NamedColumns::growInner(std::size_t count) {
    if (count <= inner_.cols) {
        return;
    }
    const std::size_t order = std::max(count, std::min(2 * inner_.cols, 2 * data_.n));
    Dense grown(order, order);
    for (std::size_t j = 0; j < count_; ++j) {
        std::copy_n(inner_.column(j), count_, grown.column(j));
    }
    inner_ = std::move(grown);
}

// Forms the products of the columns behind the first count_ with all columns.
void NamedColumns::formInner(std::size_t added) {
    const std::size_t order = inner_.rows;
    const ConstBlock fresh(columns_.column(count_), data_.n, added);
    blas::gram(fresh, Block(inner_.column(count_) + count_, added, added, order));
    if (count_ == 0) {
        return;
    }
    blas::gemm(Op::Transpose, Op::None, 1.0, ConstBlock(columns_.column(0), data_.n, count_), fresh,
               0.0, Block(inner_.column(count_), count_, added, order));
    for (std::size_t i = 0; i < count_; ++i) {
        double* column = inner_.column(i);
        for (std::size_t j = count_; j < count_ + added; ++j) {
            column[j] = inner_(i, j);
        }
    }
}

// How many columns of the list, from place `first` on, lie side by side.
std::size_t NamedColumns::runLength(const List& list, std::size_t first) const {
    std::size_t length = 1;
    while (first + length < list.size() &&
           place_[list[first + length]] == place_[list[first]] + length) {
        ++length;
    }
    return length;
}

void NamedColumns::products(const List& list, const double* v, double* result) const {
    for (std::size_t k = 0; k < list.size();) {
        const std::size_t length = runLength(list, k);
        const ConstBlock run(columns_.column(place_[list[k]]), data_.n, length);
        blas::gemv(Op::Transpose, 1.0, run, v, 0.0, result + k);
        k += length;
    }
}

void NamedColumns::subtract(const List& list, const double* factors, double* v) const {
    for (std::size_t k = 0; k < list.size();) {
        const std::size_t length = runLength(list, k);
        const ConstBlock run(columns_.column(place_[list[k]]), data_.n, length);
        blas::gemv(Op::None, -1.0, run, factors + k, 1.0, v);
        k += length;
    }
}

}  // namespace activeset::frontend
