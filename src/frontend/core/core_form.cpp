// From rows with two sides to the kinds of the core, and back.
#include "frontend/core/core_form.hpp"

namespace activeset::frontend {

namespace {

std::vector<CoreForm::Row> equalitiesOf(const Constraints& equalities) {
    std::vector<CoreForm::Row> result;
    for (const std::size_t k : equalities.members()) {
        result.push_back({k, Side::Both});
    }
    return result;
}

std::vector<CoreForm::Row> inequalitiesOf(const ProblemData& data, const Constraints& equalities) {
    std::vector<CoreForm::Row> result;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (equalities[i] == Side::None && data.rowUpper[i] < Infinity) {
            result.push_back({i, Side::Upper});
        }
        if (equalities[i] == Side::None && data.rowLower[i] > -Infinity) {
            result.push_back({i, Side::Lower});
        }
    }
    return result;
}

}  // namespace

CoreForm::CoreForm(const ProblemData& data) : n_(data.n), m_(data.m) {
    const Constraints equalities(data);
    inequalities_ = inequalitiesOf(data, equalities);
    equalities_ = equalitiesOf(equalities);
    A.assign(inequalities_.size() * n_, 0.0);
    Aeq.assign(equalities_.size() * n_, 0.0);
    for (std::size_t j = 0; j < n_; ++j) {
        const double* column = data.columnOfA(j);
        double* to = A.data() + j * inequalities_.size();
        for (const auto& [i, side] : inequalities_) {
            *to++ = side == Side::Upper ? column[i] : 0.0 - column[i];  // no −0
        }
        to = Aeq.data() + j * equalities_.size();
        for (const auto& [k, side] : equalities_) {
            *to++ = k < m_ ? column[k] : (k - m_ == j ? 1.0 : 0.0);
        }
    }
    copySides(data);
}

void CoreForm::copySides(const ProblemData& data) {
    b.clear();
    for (const auto& [i, side] : inequalities_) {
        b.push_back(side == Side::Upper ? data.rowUpper[i] : -data.rowLower[i]);
    }
    beq.clear();
    lb = data.lower;
    ub = data.upper;
    for (const auto& [k, side] : equalities_) {
        beq.push_back(k < m_ ? data.rowLower[k] : data.lower[k - m_]);
        if (k >= m_) {
            lb[k - m_] = -Infinity;
            ub[k - m_] = Infinity;
        }
    }
}

bool CoreForm::updateSides(const ProblemData& data) {
    const Constraints equalities(data);
    if (equalities_ != equalitiesOf(equalities) ||
        inequalities_ != inequalitiesOf(data, equalities)) {
        return false;
    }
    copySides(data);
    return true;
}

CoreSet CoreForm::toCore(const Constraints& held) const {
    CoreSet core;
    for (std::size_t k = 0; k < inequalities_.size(); ++k) {
        if (held[inequalities_[k].constraint] == inequalities_[k].side) {
            core.inequalities.push_back(k);
        }
    }
    for (std::size_t j = 0; j < n_; ++j) {
        const Side side = held[m_ + j];
        if (side == Side::Lower && lb[j] > -Infinity) {
            core.lower.push_back(j);
        } else if (side == Side::Upper && ub[j] < Infinity) {
            core.upper.push_back(j);
        }
    }
    return core;
}

Constraints CoreForm::fromCore(const ProblemData& data,
                               const CoreSet& set,
                               const std::vector<std::size_t>& dropped) const {
    Constraints held = Constraints::namedBy(data, {});
    for (const auto& [k, side] : equalities_) {
        held.hold(k, side);
    }
    for (const std::size_t k : dropped) {
        held.hold(equalities_[k].constraint, Side::None);
    }
    for (const std::size_t k : set.inequalities) {
        held.hold(inequalities_[k].constraint, inequalities_[k].side);
    }
    for (const std::size_t j : set.lower) {
        held.hold(m_ + j, Side::Lower);
    }
    for (const std::size_t j : set.upper) {
        held.hold(m_ + j, Side::Upper);
    }
    return held;
}

void CoreForm::multipliers(const double* lambda, Vector& y, Vector& z) const {
    y.assign(m_, 0.0);
    z.assign(n_, 0.0);
    for (const auto& [k, side] : equalities_) {
        (k < m_ ? y[k] : z[k - m_]) += *lambda++;
    }
    for (const auto& [i, side] : inequalities_) {
        y[i] += side == Side::Upper ? *lambda : -*lambda;
        ++lambda;
    }
    for (std::size_t j = 0; j < n_; ++j) {
        z[j] += lambda[n_ + j] - lambda[j];
    }
}

}  // namespace activeset::frontend
