// The nearest feasible point, as a linear or quadratic program over x and slacks.
#include "activeset/relax.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "frontend/soft/penalties.hpp"

namespace activeset {

namespace {

using frontend::Vector;

/// A row of the problem, or a bound, seen as a row with one entry.
struct Limit {
    bool isBound = false;
    std::size_t index = 0;
    double lower = -Infinity;
    double upper = Infinity;
    double weight = 1.0;
    std::size_t slack = 0;  ///< column, if it gives way

    [[nodiscard]] bool givesWay() const { return weight < Infinity && isLimiting(); }
    [[nodiscard]] bool isLimiting() const { return lower > -Infinity || upper < Infinity; }
};

/// min ‖s‖ over (x, s). Norms differ in their slacks and rows.
class Program {
public:
    Program(const Problem& problem, const RelaxSettings& settings, std::size_t n, std::size_t m)
        : problem_(problem), settings_(settings), n_(n) {
        frontend::ProblemData sides =
            frontend::copyOf(problem, std::array{frontend::Part::RowSides, frontend::Part::Bounds});
        frontend::dropSoftSides(problem, sides);
        for (std::size_t i = 0; i < m; ++i) {
            const VectorView& weights = settings.rowWeights;
            limits_.push_back({false, i, sides.rowLower[i], sides.rowUpper[i],
                               weights.empty() ? 1.0 : weights[i]});
        }
        for (std::size_t j = 0; j < n; ++j) {
            const VectorView& weights = settings.boundWeights;
            limits_.push_back(
                {true, j, sides.lower[j], sides.upper[j], weights.empty() ? Infinity : weights[j]});
        }
        double largest = 0.0;
        for (const Limit& limit : limits_) {
            largest = limit.givesWay() ? std::max(largest, limit.weight) : largest;
        }
        unit_ = largest > 0.0 ? largest : 1.0;
    }

    Relaxation solve() {
        placeSlacks();
        const std::size_t m = countRows();
        A_.assign(m * columns_, 0.0);
        rows_ = m;
        for (const Limit& limit : limits_) {
            addLimit(limit);
        }
        const activeset::Problem program{
            .H = H_.empty() ? MatrixView{} : MatrixView{H_, columns_, columns_},
            .c = c_,
            .A = {A_, m, m == 0 ? 0 : columns_},
            .rowLower = rowLower_,
            .rowUpper = rowUpper_,
            .lower = lower_,
            .upper = upper_};
        return relaxationOf(activeset::solve(program, settings_.solve));
    }

private:
    /// L1 has a slack for each side, L2 one of any sign for each row, L∞ one for all.
    void placeSlacks() {
        columns_ = n_ + (settings_.norm == Norm::LInf ? 1U : 0U);
        for (Limit& limit : limits_) {
            if (!limit.givesWay()) {
                continue;
            }
            limit.slack = settings_.norm == Norm::LInf ? n_ : columns_;
            columns_ += settings_.norm == Norm::L1 ? 2U : settings_.norm == Norm::L2 ? 1U : 0U;
        }
        c_.assign(columns_, 0.0);
        lower_.assign(columns_, -Infinity);
        upper_.assign(columns_, Infinity);
        if (settings_.norm == Norm::L2) {
            H_.assign(columns_ * columns_, 0.0);
        }
        if (settings_.norm == Norm::LInf) {
            c_[n_] = 1.0;
            lower_[n_] = 0.0;
        }
    }
    [[nodiscard]] std::size_t countRows() const {
        std::size_t rows = 0;
        for (const Limit& limit : limits_) {
            const bool isRow = limit.isLimiting() && (!limit.isBound || limit.givesWay());
            rows += !isRow ? 0U : isSplit(limit) ? 2U : 1U;
        }
        return rows;
    }
    [[nodiscard]] bool isSplit(const Limit& limit) const {
        return settings_.norm == Norm::LInf && limit.givesWay();
    }

    void addLimit(const Limit& limit) {
        if (limit.isBound && !limit.givesWay()) {
            lower_[limit.index] = limit.lower;
            upper_[limit.index] = limit.upper;
            return;
        }
        if (!limit.isLimiting()) {
            return;
        }
        if (!isSplit(limit)) {
            const std::size_t row = addRow(limit, limit.lower, limit.upper);
            if (limit.givesWay()) {
                addOwnSlacks(limit, row);
            }
            return;
        }
        // w·v ≤ t as a·x − t/w ≤ upper; a row of weight 0 gives way for nothing.
        if (const double give = unit_ / limit.weight; give < Infinity) {
            entry(addRow(limit, -Infinity, limit.upper), n_) = -give;
            entry(addRow(limit, limit.lower, Infinity), n_) = give;
        } else {
            addRow(limit, -Infinity, Infinity);
            addRow(limit, -Infinity, Infinity);
        }
    }
    void addOwnSlacks(const Limit& limit, std::size_t row) {
        entry(row, limit.slack) = -1.0;
        if (settings_.norm == Norm::L2) {
            H_[limit.slack * columns_ + limit.slack] = limit.weight / unit_;
            return;
        }
        entry(row, limit.slack + 1) = 1.0;
        const bool hasSide[] = {limit.upper<Infinity, limit.lower> - Infinity};
        for (const std::size_t k : {0U, 1U}) {
            c_[limit.slack + k] = limit.weight / unit_;
            lower_[limit.slack + k] = 0.0;
            upper_[limit.slack + k] = hasSide[k] ? Infinity : 0.0;
        }
    }
    std::size_t addRow(const Limit& limit, double lower, double upper) {
        const std::size_t row = rowLower_.size();
        for (std::size_t j = 0; j < n_; ++j) {
            entry(row, j) =
                limit.isBound ? (j == limit.index ? 1.0 : 0.0) : problem_.A(limit.index, j);
        }
        rowLower_.push_back(lower);
        rowUpper_.push_back(upper);
        return row;
    }
    [[nodiscard]] double& entry(std::size_t row, std::size_t column) {
        return A_[column * rows_ + row];
    }

    /// Forms violations from x: they are those of the point that is returned.
    [[nodiscard]] Relaxation relaxationOf(const Result& result) const {
        Relaxation relaxation;
        relaxation.status = result.status;
        relaxation.faults = result.faults;
        if (result.x.size() < n_) {
            return relaxation;
        }
        relaxation.x.assign(result.x.begin(), result.x.begin() + static_cast<std::ptrdiff_t>(n_));
        double distance = 0.0;
        for (const Limit& limit : limits_) {
            const double violation = violationOf(limit, result.x);
            (limit.isBound ? relaxation.boundViolation : relaxation.rowViolation)
                .push_back(violation);
            const double size = std::abs(violation);
            if (!limit.givesWay()) {
                continue;
            }
            switch (settings_.norm) {
                case Norm::L1:
                    distance += limit.weight * size;
                    break;
                case Norm::L2:
                    distance += 0.5 * limit.weight * size * size;
                    break;
                case Norm::LInf:
                    distance = std::max(distance, limit.weight * size);
                    break;
            }
        }
        relaxation.distance = distance;
        return relaxation;
    }
    /// A violation within rounding counts as none.
    [[nodiscard]] double violationOf(const Limit& limit, const Vector& x) const {
        double value = limit.isBound ? x[limit.index] : 0.0;
        double scale = std::abs(value);
        for (std::size_t j = 0; !limit.isBound && j < n_; ++j) {
            const double term = problem_.A(limit.index, j) * x[j];
            value += term;
            scale += std::abs(term);
        }
        const double above = value - limit.upper;
        const double below = value - limit.lower;
        const double violation = above > 0.0 ? above : below < 0.0 ? below : 0.0;
        const double rounding = settings_.solve.tolerance * std::max(1.0, scale);
        return std::abs(violation) > rounding ? violation : 0.0;
    }

    const activeset::Problem& problem_;
    const RelaxSettings& settings_;
    std::size_t n_;
    double unit_ = 1.0;  ///< of weights in the program: the largest one
    std::vector<Limit> limits_{};
    std::size_t columns_ = 0;
    std::size_t rows_ = 0;
    Vector H_{}, c_{}, A_{}, rowLower_{}, rowUpper_{}, lower_{}, upper_{};
};

/// Weights are from 0 up, as many as there are rows or variables.
void checkWeights(const VectorView& weights,
                  std::size_t count,
                  const char* name,
                  std::vector<Fault>& faults) {
    if (!weights.empty() && weights.size() != count) {
        faults.push_back({name, weights.size(), 0, 0.0,
                          std::string(name) + " has " + std::to_string(weights.size()) +
                              " entries, expected " + std::to_string(count)});
        return;
    }
    for (std::size_t i = 0; i < weights.size(); ++i) {
        if (!(weights[i] >= 0.0)) {
            faults.push_back(
                {name, i, 0, weights[i],
                 std::string(name) + "[" + std::to_string(i) + "] is not a number from 0 up"});
            return;
        }
    }
}

}  // namespace

Relaxation relax(const Problem& problem, const RelaxSettings& settings) {
    Relaxation relaxation;
    relaxation.faults = faultsOf(problem);
    const std::size_t n = frontend::variablesOf(problem);
    const std::size_t m = problem.A.rows();
    checkWeights(settings.rowWeights, m, "settings.rowWeights", relaxation.faults);
    checkWeights(settings.boundWeights, n, "settings.boundWeights", relaxation.faults);
    if (!relaxation.faults.empty()) {
        relaxation.status = Status::Invalid;
        return relaxation;
    }
    return Program(problem, settings, n, m).solve();
}

}  // namespace activeset
