// Which constraints are held, in the front end's numbering and by kind.
#include "frontend/problem/constraints.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

void writeRow(const ProblemData& data, std::size_t k, double* target) {
    if (k >= data.m) {
        std::fill_n(target, data.n, 0.0);
        target[k - data.m] = 1.0;
        return;
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        target[j] = data.columnOfA(j)[k];
    }
}

// Reads A column by column, for a band of rows at a time whose targets stay in the cache.
void writeRows(const ProblemData& data,
               const std::vector<std::size_t>& constraints,
               double* target) {
    constexpr std::size_t Band = 8;
    for (std::size_t first = 0; first < constraints.size(); first += Band) {
        const std::size_t last = std::min(first + Band, constraints.size());
        for (std::size_t j = 0; j < data.n; ++j) {
            const double* column = data.columnOfA(j);
            for (std::size_t k = first; k < last; ++k) {
                const bool isRow = constraints[k] < data.m;
                target[k * data.n + j] = isRow ? column[constraints[k]] : 0.0;
            }
        }
    }
    for (std::size_t k = 0; k < constraints.size(); ++k) {
        if (constraints[k] >= data.m) {
            target[k * data.n + constraints[k] - data.m] = 1.0;
        }
    }
}

Constraints::Constraints(const ProblemData& data)
    : data_(&data), held_(data.m + data.n, Side::None) {
    for (std::size_t k = 0; k < held_.size(); ++k) {
        if (lower(k) == upper(k)) {
            held_[k] = Side::Both;
        }
    }
}

Constraints::Constraints(const ProblemData& data, const WorkingSet& set) : Constraints(data) {
    take(set);
}

Constraints Constraints::namedBy(const ProblemData& data, const WorkingSet& set) {
    Constraints result(data);
    std::fill(result.held_.begin(), result.held_.end(), Side::None);
    const auto takeEqualities = [&](const std::vector<std::size_t>& indices, std::size_t first,
                                    std::size_t count) {
        for (const std::size_t index : indices) {
            const std::size_t k = first + index;
            if (index < count && std::isfinite(result.lower(k))) {
                result.held_[k] = result.lower(k) == result.upper(k) ? Side::Both : Side::Lower;
            }
        }
    };
    takeEqualities(set.equalities, 0, data.m);
    takeEqualities(set.fixed, data.m, data.n);
    result.take(set);
    return result;
}

void Constraints::take(const WorkingSet& set) {
    const auto hold = [this](const std::vector<std::size_t>& indices, std::size_t first,
                             std::size_t count, Side side) {
        for (const std::size_t index : indices) {
            const std::size_t k = first + index;
            if (index < count && held_[k] == Side::None &&
                std::isfinite(side == Side::Lower ? lower(k) : upper(k))) {
                held_[k] = side;
            }
        }
    };
    hold(set.rowsAtLower, 0, data_->m, Side::Lower);
    hold(set.rowsAtUpper, 0, data_->m, Side::Upper);
    hold(set.atLower, data_->m, data_->n, Side::Lower);
    hold(set.atUpper, data_->m, data_->n, Side::Upper);
}

std::size_t Constraints::size() const {
    const auto none = std::count(held_.begin(), held_.end(), Side::None);
    return held_.size() - static_cast<std::size_t>(none);
}

std::vector<std::size_t> Constraints::members() const {
    std::vector<std::size_t> result;
    result.reserve(size());
    for (std::size_t k = 0; k < held_.size(); ++k) {
        if (held_[k] != Side::None) {
            result.push_back(k);
        }
    }
    return result;
}

Vector Constraints::targets() const {
    Vector result;
    result.reserve(size());
    for (std::size_t k = 0; k < held_.size(); ++k) {
        if (held_[k] != Side::None) {
            result.push_back(target(k));
        }
    }
    return result;
}

WorkingSet Constraints::workingSet() const {
    WorkingSet set;
    for (const std::size_t member : members()) {
        const std::size_t index = isRow(member) ? member : member - data_->m;
        switch (held_[member]) {
            case Side::Lower:
                (isRow(member) ? set.rowsAtLower : set.atLower).push_back(index);
                break;
            case Side::Upper:
                (isRow(member) ? set.rowsAtUpper : set.atUpper).push_back(index);
                break;
            default:
                (isRow(member) ? set.equalities : set.fixed).push_back(index);
        }
    }
    return set;
}

Vector Constraints::row(std::size_t k) const {
    Vector result(data_->n);
    writeRow(*data_, k, result.data());
    return result;
}

Vector Constraints::values(const Vector& x) const {
    Vector result = product(data_->A, data_->m, x);
    result.insert(result.end(), x.begin(), x.end());
    return result;
}

}  // namespace activeset::frontend
