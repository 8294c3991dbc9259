// Builds the problem with slack variables, and carries points over.
#include "frontend/soft/slacks.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace activeset::frontend {

SlackProblem::SlackProblem(const ProblemData& problem,
                           const Penalties& penalties,
                           std::vector<SoftSide> sides)
    : n_(problem.n), m_(problem.m), sides_(std::move(sides)) {
    for (const SoftSide& side : sides_) {
        if (side.constraint < m_) {
            rowOf_.push_back(side.constraint);
            continue;
        }
        const std::size_t j = side.constraint - m_;
        if (variable_.empty() || variable_.back() != j) {
            variable_.push_back(j);
        }
        rowOf_.push_back(m_ + variable_.size() - 1);
    }
    data.n = n_ + sides_.size();
    data.m = m_ + variable_.size();
    data.constant = problem.constant;
    addColumns(problem, penalties);
    addRows(problem);
}

void SlackProblem::addColumns(const ProblemData& problem, const Penalties& penalties) {
    const bool isCurved = std::any_of(sides_.begin(), sides_.end(), [&](const SoftSide& side) {
        return penalties.of(side).quadratic > 0.0;
    });
    data.quadratic = problem.quadratic || isCurved;
    if (data.quadratic) {
        LargeVector& H = data.H.change();
        H.assign(data.n * data.n, 0.0);
        for (std::size_t j = 0; j < n_ && problem.quadratic; ++j) {
            std::copy_n(problem.columnOfH(j), n_, H.data() + j * data.n);
        }
    }
    LargeVector& A = data.A.change();
    A.assign(data.m * data.n, 0.0);
    for (std::size_t j = 0; j < n_; ++j) {
        std::copy_n(problem.columnOfA(j), m_, A.data() + j * data.m);
    }
    for (std::size_t b = 0; b < variable_.size(); ++b) {
        A[variable_[b] * data.m + m_ + b] = 1.0;
    }
    data.c = problem.c;
    data.lower = problem.lower;
    data.upper = problem.upper;
    for (std::size_t t = 0; t < sides_.size(); ++t) {
        const SidePenalty& penalty = penalties.of(sides_[t]);
        const std::size_t j = n_ + t;
        A[j * data.m + rowOf_[t]] = sides_[t].side == Side::Upper ? -1.0 : 1.0;
        if (data.quadratic) {
            data.H.change()[j * (data.n + 1)] = penalty.quadratic;
        }
        data.c.push_back(penalty.linear);
        data.lower.push_back(0.0);
        data.upper.push_back(Infinity);
    }
}

// A bound leaves the side that is soft to its row, and keeps the other one.
void SlackProblem::addRows(const ProblemData& problem) {
    data.rowLower = problem.rowLower;
    data.rowUpper = problem.rowUpper;
    data.rowLower.resize(data.m, -Infinity);
    data.rowUpper.resize(data.m, Infinity);
    for (std::size_t t = 0; t < sides_.size(); ++t) {
        if (sides_[t].constraint >= m_) {
            const bool isUpper = sides_[t].side == Side::Upper;
            const std::size_t j = sides_[t].constraint - m_;
            (isUpper ? data.rowUpper : data.rowLower)[rowOf_[t]] = sideOf(problem, sides_[t]);
            (isUpper ? data.upper : data.lower)[j] = isUpper ? Infinity : -Infinity;
        }
    }
}

Point SlackProblem::extended(const Point& point, const Vector& slacks) const {
    Point result = point;
    result.x.insert(result.x.end(), slacks.begin(), slacks.end());
    result.z.resize(data.n, 0.0);
    result.y.resize(data.m, 0.0);
    for (std::size_t b = 0; b < variable_.size(); ++b) {
        const double multiplier = point.z[variable_[b]];
        const bool isOfRow =
            multiplier > 0.0 ? data.rowUpper[m_ + b] < Infinity : data.rowLower[m_ + b] > -Infinity;
        if (isOfRow) {
            result.y[m_ + b] = multiplier;
            result.z[variable_[b]] = 0.0;
        }
    }
    return result;
}

Point SlackProblem::restricted(Point point) const {
    for (std::size_t b = 0; b < variable_.size(); ++b) {
        point.z[variable_[b]] += point.y[m_ + b];
    }
    point.x.resize(n_);
    point.y.resize(m_);
    point.z.resize(n_);
    return point;
}

Point SlackProblem::capped(Point point) const {
    for (std::size_t t = 0; t < sides_.size(); ++t) {
        const std::size_t j = n_ + t;
        const double curvature = data.quadratic ? data.columnOfH(j)[j] : 0.0;
        const double most = data.c[j] + curvature * std::max(0.0, point.x[j]);
        double& y = point.y[rowOf_[t]];
        y = sides_[t].side == Side::Upper ? std::min(y, most) : std::max(y, -most);
    }
    return point;
}

WorkingSet SlackProblem::restricted(const WorkingSet& set, const Vector& slacks) const {
    std::vector<bool> isViolated(data.m, false);
    WorkingSet result;
    for (std::size_t t = 0; t < sides_.size(); ++t) {
        const std::size_t k = sides_[t].constraint;
        // A point that is no optimum may have slacks at both sides.
        const bool isUpperOne =
            t + 1 < sides_.size() && sides_[t + 1].constraint == k && slacks[t + 1] > slacks[t];
        const bool isLowerOne =
            t > 0 && sides_[t - 1].constraint == k && slacks[t - 1] >= slacks[t];
        if (slacks[t] > 0.0 && !isUpperOne && !isLowerOne) {
            isViolated[rowOf_[t]] = true;
            listOf(result.softViolated, k < m_, sides_[t].side).push_back(k < m_ ? k : k - m_);
        }
    }
    const auto takeRows = [&](const std::vector<std::size_t>& rows,
                              std::vector<std::size_t>& ofRows,
                              std::vector<std::size_t>& ofBounds) {
        for (const std::size_t i : rows) {
            if (!isViolated[i]) {
                i < m_ ? ofRows.push_back(i) : ofBounds.push_back(variable_[i - m_]);
            }
        }
    };
    const auto takeBounds = [&](const std::vector<std::size_t>& variables,
                                std::vector<std::size_t>& target) {
        std::copy_if(variables.begin(), variables.end(), std::back_inserter(target),
                     [&](std::size_t j) { return j < n_; });
        std::sort(target.begin(), target.end());
    };
    takeRows(set.equalities, result.equalities, result.fixed);
    takeRows(set.rowsAtLower, result.rowsAtLower, result.atLower);
    takeRows(set.rowsAtUpper, result.rowsAtUpper, result.atUpper);
    takeBounds(set.fixed, result.fixed);
    takeBounds(set.atLower, result.atLower);
    takeBounds(set.atUpper, result.atUpper);
    return result;
}

}  // namespace activeset::frontend
