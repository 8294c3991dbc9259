// Columns, inner products and the Schur complement of a guessed set.
#include "frontend/schur_system.hpp"

#include <algorithm>
#include <utility>

#include "host/blas.hpp"

namespace activeset::frontend {

SchurSystem::SchurSystem(const Data& data, const Dense& factor)
    : data_(data), factor_(factor), place_(data.m + data.n, None), columns_(data.n, 0) {}

void SchurSystem::setMembers(std::vector<std::size_t> members) {
    if (isCurrent_ && members == members_) {
        return;
    }
    if (!isCurrent_) {
        forgetColumns();  // there was an error half way
    }
    isCurrent_ = false;
    members_ = std::move(members);
    formColumns();
    factorise();
    isCurrent_ = true;
}

void SchurSystem::forgetColumns() {
    std::fill(place_.begin(), place_.end(), None);
    columns_ = Dense(data_.n, 0);
    inner_ = Dense();
}

// What was formed for constraints that are no members goes when it takes too much memory.
void SchurSystem::makeRoom() {
    const auto missing =
        std::count_if(members_.begin(), members_.end(),
                      [this](std::size_t member) { return place_[member] == None; });
    if (columns_.cols + static_cast<std::size_t>(missing) > 2 * data_.n) {
        forgetColumns();
    }
}

// The columns of members that have none yet, all at once.
void SchurSystem::formColumns() {
    makeRoom();
    const std::size_t before = columns_.cols;
    for (const std::size_t member : members_) {
        if (place_[member] == None) {
            place_[member] = columns_.cols++;
        }
    }
    if (columns_.cols == before) {
        return;
    }
    columns_.values.resize(columns_.rows * columns_.cols, 0.0);
    for (const std::size_t member : members_) {
        if (place_[member] >= before) {
            writeRow(data_, member, columns_.column(place_[member]));
        }
    }
    solveUpperTransposed(factor_, columns_.column(before), columns_.cols - before);
    growInnerProducts(before);
}

void SchurSystem::growInnerProducts(std::size_t before) {
    Dense grown(columns_.cols, columns_.cols);
    for (std::size_t j = 0; j < before; ++j) {
        std::copy_n(inner_.column(j), before, grown.column(j));
    }
    const std::size_t added = grown.cols - before;
    const ConstBlock newColumns(columns_.column(before), columns_.rows, added);
    blas::gram(newColumns, Block(grown.column(before) + before, added, added, grown.rows));
    blas::gemm(Op::Transpose, Op::None, 1.0, ConstBlock(columns_.column(0), columns_.rows, before),
               newColumns, 0.0, Block(grown.column(before), before, added, grown.rows));
    for (std::size_t j = before; j < grown.cols; ++j) {
        for (std::size_t i = 0; i < before; ++i) {
            grown(j, i) = grown(i, j);
        }
    }
    inner_ = std::move(grown);
}

void SchurSystem::factorise() {
    constexpr double Dependent = 1e-13;  // of the largest diagonal entry
    const std::size_t count = members_.size();
    Dense complement(count, count);
    for (std::size_t j = 0; j < count; ++j) {
        const double* column = inner_.column(place_[members_[j]]);
        for (std::size_t i = 0; i < count; ++i) {
            complement(i, j) = column[place_[members_[i]]];
        }
    }
    dependent_.reset();
    schur_ = complement;
    if (!factoriseUpper(schur_, Dependent)) {
        dependent_.emplace(std::move(complement), Dependent);
    }
}

void SchurSystem::minimise(const Sides& sides, Vector& x, Vector& multipliers) {
    setMembers(sides.members());
    multipliers = sides.targets();
    x = data_.c;
    for (double& entry : x) {
        entry = -entry;
    }
    solve(x, multipliers);
}

void SchurSystem::solve(Vector& rx, Vector& rc) const {
    solveUpperTransposed(factor_, rx.data(), 1);
    const Vector products = transposedProduct(columns_, rx);
    for (std::size_t k = 0; k < members_.size(); ++k) {
        rc[k] = products[place_[members_[k]]] - rc[k];
    }
    if (dependent_) {
        dependent_->solve(rc.data());
    } else {
        solveUpperTransposed(schur_, rc.data(), 1);
        solveUpper(schur_, rc.data(), 1);
    }
    Vector factors(columns_.cols, 0.0);
    for (std::size_t k = 0; k < members_.size(); ++k) {
        factors[place_[members_[k]]] = -rc[k];
    }
    addProduct(columns_, factors, rx);
    solveUpper(factor_, rx.data(), 1);
}

}  // namespace activeset::frontend
