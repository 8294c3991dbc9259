// Finds what is remarkable about the data: rank, ranges, rows and variables without use.
#include "activeset/diagnose.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

#include "frontend/soft/penalties.hpp"

namespace activeset {

namespace {

using frontend::Vector;

double dot(const Vector& a, const Vector& b) {
    double sum = 0.0;
    for (std::size_t j = 0; j < a.size(); ++j) {
        sum += a[j] * b[j];
    }
    return sum;
}

class Examination {
public:
    explicit Examination(const Problem& problem)
        : problem_(problem),
          n_(frontend::variablesOf(problem)),
          m_(problem.A.rows()),
          hard_(frontend::copyOf(problem,
                                 std::array{frontend::Part::RowSides, frontend::Part::Bounds})) {
        lookAtPenalties("row penalties without sides", problem.rowPenalty, hard_.rowLower,
                        hard_.rowUpper);
        lookAtPenalties("bound penalties without bounds", problem.boundPenalty, hard_.lower,
                        hard_.upper);
        frontend::dropSoftSides(problem, hard_);
    }

    Diagnosis run() {
        lookAtRows();
        lookAtEqualities();
        lookAtHessian();
        lookAtVariables();
        lookAtCoefficients();
        return std::move(diagnosis_);
    }

private:
    void find(const char* name, std::vector<std::size_t> members, const char* text) {
        if (!members.empty()) {
            diagnosis_.findings.push_back({name, std::move(members), text});
        }
    }

    /// What is paid for sides that there are not.
    void lookAtPenalties(const char* name,
                         const Penalty& penalty,
                         const Vector& lower,
                         const Vector& upper) {
        std::vector<std::size_t> idle;
        for (std::size_t k = 0; k < lower.size() && !penalty.empty(); ++k) {
            const bool isIdle =
                (lower[k] == -Infinity &&
                 frontend::penaltyOf(penalty.lowerLinear, penalty.lowerQuadratic, k).isSoft()) ||
                (upper[k] == Infinity &&
                 frontend::penaltyOf(penalty.upperLinear, penalty.upperQuadratic, k).isSoft());
            if (isIdle) {
                idle.push_back(k);
            }
        }
        find(name, std::move(idle),
             "they are the price of a side that is absent, and cost nothing");
    }

    /// The row divided by its norm, its first entry other than 0 positive; empty for a row of
    /// zeros.
    [[nodiscard]] Vector unitRow(std::size_t i) const {
        Vector row(n_);
        double largest = 0.0;
        for (std::size_t j = 0; j < n_; ++j) {
            row[j] = problem_.A(i, j);
            largest = std::max(largest, std::abs(row[j]));
        }
        if (largest == 0.0) {
            return {};
        }
        for (double& entry : row) {
            entry /= largest;
        }
        const auto first = std::find_if(row.begin(), row.end(), [](double x) { return x != 0.0; });
        const double norm = std::copysign(std::sqrt(dot(row, row)), *first);
        for (double& entry : row) {
            entry /= norm;
        }
        return row;
    }

    void lookAtRows() {
        std::vector<std::size_t> empty;
        std::vector<std::size_t> sideless;
        std::vector<std::size_t> duplicates;
        std::map<Vector, std::size_t> known;
        for (std::size_t i = 0; i < m_; ++i) {
            const Vector row = unitRow(i);
            if (row.empty()) {
                empty.push_back(i);
            } else if (!known.emplace(row, i).second) {
                duplicates.push_back(i);
            }
            if (frontend::sideAt(problem_.rowLower, i, -Infinity) == -Infinity &&
                frontend::sideAt(problem_.rowUpper, i, Infinity) == Infinity) {
                sideless.push_back(i);
            }
        }
        find(
            "empty rows", std::move(empty),
            "rows without coefficients cost time and decide nothing, unless their sides exclude 0");
        find("rows without sides", std::move(sideless), "they limit nothing and can be left out");
        find("duplicate rows", std::move(duplicates),
             "multiples of earlier rows: constraints tie, and multipliers are not unique");
    }

    void lookAtEqualities() {
        constexpr double DependentRow = 1e-12;
        std::vector<Vector> basis;
        std::vector<std::size_t> dependent;
        for (std::size_t i = 0; i < m_; ++i) {
            if (hard_.rowLower[i] != hard_.rowUpper[i]) {
                continue;
            }
            ++diagnosis_.equalities;
            Vector row = unitRow(i);
            removeShares(basis, row);
            const double norm = std::sqrt(dot(row, row));
            if (!(norm > DependentRow)) {
                dependent.push_back(i);
                continue;
            }
            for (double& entry : row) {
                entry /= norm;
            }
            basis.push_back(std::move(row));
        }
        diagnosis_.equalityRank = basis.size();
        find("dependent equalities", std::move(dependent),
             "combinations of earlier equalities: dropped where consistent, else the problem is "
             "infeasible");
    }

    /// Makes a row orthogonal to an orthonormal basis: Gram and Schmidt, twice.
    static void removeShares(const std::vector<Vector>& basis, Vector& row) {
        constexpr int Sweeps = 2;
        for (int sweep = 0; sweep < Sweeps && !row.empty(); ++sweep) {
            for (const Vector& member : basis) {
                const double share = dot(member, row);
                for (std::size_t j = 0; j < row.size(); ++j) {
                    row[j] -= share * member[j];
                }
            }
        }
    }

    /// Gershgorin's circles, and the diagonal.
    void lookAtHessian() {
        if (problem_.H.empty()) {
            return;
        }
        double low[2]{Infinity, Infinity};
        double high[2]{-Infinity, -Infinity};
        std::vector<std::size_t> flat;
        for (std::size_t j = 0; j < n_; ++j) {
            double radius = 0.0;
            for (std::size_t i = 0; i < n_; ++i) {
                radius += i == j ? 0.0 : std::abs(problem_.H(i, j));
            }
            const double centre = problem_.H(j, j);
            low[0] = std::min(low[0], centre - radius);
            low[1] = std::min(low[1], centre);
            high[0] = std::max(high[0], centre);
            high[1] = std::max(high[1], centre + radius);
            if (centre <= 0.0 && radius > 0.0) {
                flat.push_back(j);
            }
        }
        std::copy(std::begin(low), std::end(low), diagnosis_.smallestEigenvalue);
        std::copy(std::begin(high), std::end(high), diagnosis_.largestEigenvalue);
        find("no curvature of their own", std::move(flat),
             "variables with products but no positive square: H cannot be convex");
    }

    void lookAtVariables() {
        constexpr double BigBound = 1e8;
        std::vector<std::size_t> big;
        std::vector<std::size_t> unused;
        for (std::size_t j = 0; j < n_; ++j) {
            const double lower = frontend::sideAt(problem_.lower, j, -Infinity);
            const double upper = frontend::sideAt(problem_.upper, j, Infinity);
            diagnosis_.freeVariables += lower == -Infinity && upper == Infinity ? 1U : 0U;
            diagnosis_.fixedVariables += hard_.lower[j] == hard_.upper[j] ? 1U : 0U;
            const auto isBig = [&](double side) {
                return std::isfinite(side) && std::abs(side) >= BigBound;
            };
            if (isBig(lower) || isBig(upper)) {
                big.push_back(j);
            }
            if (!isUsed(j)) {
                unused.push_back(j);
            }
        }
        find("big bounds", std::move(big),
             "bounds of 1e8 and more: where none is meant, an infinite one is faster and more "
             "exact");
        find(
            "unused variables", std::move(unused),
            "no row and no term of the objective has them: any value between their bounds will do");
    }
    [[nodiscard]] bool isUsed(std::size_t j) const {
        bool used = !problem_.c.empty() && problem_.c[j] != 0.0;
        for (std::size_t i = 0; i < m_ && !used; ++i) {
            used = problem_.A(i, j) != 0.0;
        }
        for (std::size_t i = 0; !problem_.H.empty() && i < n_ && !used; ++i) {
            used = problem_.H(i, j) != 0.0;
        }
        return used;
    }

    void lookAtCoefficients() {
        double smallest = Infinity;
        double largest = 0.0;
        const auto look = [&](double value) {
            if (value != 0.0) {
                smallest = std::min(smallest, std::abs(value));
                largest = std::max(largest, std::abs(value));
            }
        };
        for (std::size_t j = 0; j < n_; ++j) {
            look(problem_.c.empty() ? 0.0 : problem_.c[j]);
            for (std::size_t i = 0; i < m_; ++i) {
                look(problem_.A(i, j));
            }
            for (std::size_t i = 0; !problem_.H.empty() && i < n_; ++i) {
                look(problem_.H(i, j));
            }
        }
        diagnosis_.smallestCoefficient = largest == 0.0 ? 0.0 : smallest;
        diagnosis_.largestCoefficient = largest;
        constexpr double WideRange = 1e9;
        if (largest > 0.0 && largest / smallest > WideRange) {
            diagnosis_.findings.push_back({"wide range of coefficients",
                                           {},
                                           "they differ by more than 1e9: the solver scales, yet "
                                           "other units make answers more "
                                           "exact"});
        }
    }

    const Problem& problem_;
    std::size_t n_;
    std::size_t m_;
    Diagnosis diagnosis_{};
    frontend::ProblemData hard_;  ///< the sides that are not soft
};

}  // namespace

Diagnosis diagnose(const Problem& problem) {
    Diagnosis diagnosis;
    diagnosis.faults = faultsOf(problem);
    return diagnosis.faults.empty() ? Examination(problem).run() : diagnosis;
}

}  // namespace activeset
