// From rows with two sides to the kinds of the core, and back.
#include "frontend/core/core_form.hpp"

#include <algorithm>

namespace activeset::frontend {

namespace {

std::vector<CoreForm::Origin> equalitiesOf(const ProblemData& data) {
    std::vector<CoreForm::Origin> result;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (data.rowLower[i] == data.rowUpper[i]) {
            result.push_back({i, true, true});
        }
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        if (data.lower[j] == data.upper[j]) {
            result.push_back({j, false, true});
        }
    }
    return result;
}

std::vector<CoreForm::Origin> inequalitiesOf(const ProblemData& data) {
    std::vector<CoreForm::Origin> result;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (data.rowLower[i] == data.rowUpper[i]) {
            continue;
        }
        if (data.rowUpper[i] < Infinity) {
            result.push_back({i, true, true});
        }
        if (data.rowLower[i] > -Infinity) {
            result.push_back({i, true, false});
        }
    }
    return result;
}

bool isSame(const std::vector<CoreForm::Origin>& a, const std::vector<CoreForm::Origin>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const CoreForm::Origin& left, const CoreForm::Origin& right) {
                          return left.index == right.index && left.isRow == right.isRow &&
                                 left.isUpper == right.isUpper;
                      });
}

}  // namespace

CoreForm::CoreForm(const ProblemData& data)
    : n_(data.n), m_(data.m), inequalities_(inequalitiesOf(data)), equalities_(equalitiesOf(data)) {
    A.assign(inequalities_.size() * n_, 0.0);
    Aeq.assign(equalities_.size() * n_, 0.0);
    for (std::size_t j = 0; j < n_; ++j) {
        const double* column = data.columnOfA(j);
        double* to = A.data() + j * inequalities_.size();
        for (const Origin& origin : inequalities_) {
            *to++ = origin.isUpper ? column[origin.index] : -column[origin.index];
        }
        to = Aeq.data() + j * equalities_.size();
        for (const Origin& origin : equalities_) {
            *to++ = origin.isRow ? column[origin.index] : (origin.index == j ? 1.0 : 0.0);
        }
    }
    copySides(data);
}

void CoreForm::copySides(const ProblemData& data) {
    b.clear();
    for (const Origin& origin : inequalities_) {
        b.push_back(origin.isUpper ? data.rowUpper[origin.index] : -data.rowLower[origin.index]);
    }
    beq.clear();
    lb = data.lower;
    ub = data.upper;
    for (const Origin& origin : equalities_) {
        beq.push_back(origin.isRow ? data.rowLower[origin.index] : data.lower[origin.index]);
        if (!origin.isRow) {
            lb[origin.index] = -Infinity;
            ub[origin.index] = Infinity;
        }
    }
}

bool CoreForm::updateSides(const ProblemData& data) {
    if (!isSame(equalities_, equalitiesOf(data)) || !isSame(inequalities_, inequalitiesOf(data))) {
        return false;
    }
    copySides(data);
    return true;
}

CoreSet CoreForm::toCore(const WorkingSet& set) const {
    CoreSet core;
    const auto contains = [](const std::vector<std::size_t>& list, std::size_t index) {
        return std::find(list.begin(), list.end(), index) != list.end();
    };
    for (std::size_t k = 0; k < inequalities_.size(); ++k) {
        const Origin& origin = inequalities_[k];
        if (contains(origin.isUpper ? set.rowsAtUpper : set.rowsAtLower, origin.index)) {
            core.inequalities.push_back(k);
        }
    }
    for (std::size_t j = 0; j < n_; ++j) {
        if (lb[j] > -Infinity && contains(set.atLower, j)) {
            core.lower.push_back(j);
        } else if (ub[j] < Infinity && contains(set.atUpper, j)) {
            core.upper.push_back(j);
        }
    }
    return core;
}

WorkingSet CoreForm::fromCore(const CoreSet& set, const std::vector<std::size_t>& dropped) const {
    WorkingSet result;
    for (const std::size_t k : set.inequalities) {
        const Origin& origin = inequalities_[k];
        (origin.isUpper ? result.rowsAtUpper : result.rowsAtLower).push_back(origin.index);
    }
    for (std::size_t k = 0; k < equalities_.size(); ++k) {
        if (std::find(dropped.begin(), dropped.end(), k) == dropped.end()) {
            const Origin& origin = equalities_[k];
            (origin.isRow ? result.equalities : result.fixed).push_back(origin.index);
        }
    }
    result.atLower = set.lower;
    result.atUpper = set.upper;
    for (auto* list : {&result.equalities, &result.rowsAtLower, &result.rowsAtUpper,
                       &result.atLower, &result.atUpper, &result.fixed}) {
        std::sort(list->begin(), list->end());
    }
    return result;
}

void CoreForm::multipliers(const double* lambda, Vector& y, Vector& z) const {
    y.assign(m_, 0.0);
    z.assign(n_, 0.0);
    for (const Origin& origin : equalities_) {
        (origin.isRow ? y : z)[origin.index] += *lambda++;
    }
    for (const Origin& origin : inequalities_) {
        y[origin.index] += origin.isUpper ? *lambda : -*lambda;
        ++lambda;
    }
    for (std::size_t j = 0; j < n_; ++j) {
        z[j] += lambda[n_ + j] - lambda[j];
    }
}

}  // namespace activeset::frontend
