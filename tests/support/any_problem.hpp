// A generator of strictly convex programs of every shape, for rapidcheck. It is seeded, and shrinks
// towards few variables, no constraints and zeros.
#ifndef ACTIVESET_TESTS_SUPPORT_ANY_PROBLEM_HPP
#define ACTIVESET_TESTS_SUPPORT_ANY_PROBLEM_HPP

#include <rapidcheck.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/plain_problem.hpp"
#include "support/problem_builder.hpp"

namespace activeset::test {

/// A problem, and what its construction tells about it.
struct AnyProblem {
    Problem problem;
    bool isFeasible = true;        // some point satisfies all constraints
    bool isContradictory = false;  // the equalities contradict each other
    Numbers inside{};              // a point that satisfies all constraints, if isFeasible
    size_t rank = 0;               // rank of the equalities
    size_t tooLong = 0;            // 1, 2, 3: Wineq, Wlower, Wupper names more than exist
    bool namesAbsentBounds = false;
};

/// What the generator may do.
struct Shapes {
    size_t smallest = 1;
    size_t largest = 9;
    bool hasInterior = false;  // feasible; at some point the inequalities and bounds have slack
};

/// Choices that rapidcheck can shrink.
class RapidChoices : public Choices {
public:
    std::size_t upTo(std::size_t last) override { return *rc::gen::inRange<size_t>(0, last + 1); }
};

/// All data are small integers times powers of two, so that floating point is exact: ties are ties,
/// duplicates are equal, a vertex is a vertex.
class AnyProblemBuilder : public ProblemBuilder {
public:
    AnyProblemBuilder(Choices& choices, const Shapes& shapes)
        : ProblemBuilder(choices, shapes.largest, shapes.smallest),
          hasInterior_(shapes.hasInterior),
          vertex_(pick_.integers(n_, 2)) {
        any_.inside = inside_;
        addSquares(n_, 1.0);
        for (size_t j = 0; j < n_; ++j) {
            H_[j][j] += 1.0;
        }
        problem_.H = H_;
        problem_.c = c_;
        isWild_ = !hasInterior_ && pick_.oneIn(6);
        addInequalities();
        addEqualities();
        addSides();
        if (!hasInterior_ && pick_.oneIn(8)) {
            addOpposites();
        }
        any_.isFeasible = any_.isFeasible && !isWild_ && !any_.isContradictory;
        Numbers starts[] = {Numbers(n_, 0.0), inside_, vertex_, start_};
        problem_.x0 = pick_.of(starts);
        if (pick_.oneIn(8)) {
            scale(problem_.x0, 1000.0);
        }
        addLists();
    }
    [[nodiscard]] const AnyProblem& result() const { return any_; }

private:
    static void scale(Numbers& row, double factor) {
        std::ranges::transform(row, row.begin(), [&](double entry) { return factor * entry; });
    }
    /// `count` of the candidates; some may occur several times.
    [[nodiscard]] Numbers outOf(const Numbers& candidates, size_t count) {
        Numbers result(candidates.empty() ? 0 : count);
        std::ranges::generate(result, [&] { return pick_.of(candidates); });
        return result;
    }
    /// The slack of a row at the point inside.
    [[nodiscard]] double room() {
        return static_cast<double>(pick_.upTo(2)) + (hasInterior_ ? 1.0 : 0.0);
    }

    void addInequalities() {
        const size_t count = pick_.upTo(n_ + 4);
        const bool isScaled = !hasInterior_ && pick_.oneIn(3);
        for (size_t k = 0; k < count; ++k) {
            const size_t earlier = pick_.upTo(k);
            const size_t kind = earlier == k ? pick_.upTo(1) : 2 + pick_.upTo(isScaled ? 1 : 2);
            Numbers row = kind < 2 ? anyRow() : problem_.A[earlier];
            double rhs = kind < 2 ? dot(row, inside_) + room() : problem_.b[earlier];
            if (kind == 1) {  // through the common vertex
                if (dot(row, inside_) > dot(row, vertex_)) {
                    scale(row, -1.0);
                }
                rhs = dot(row, vertex_);
                rhs += hasInterior_ && dot(row, inside_) == rhs ? 1.0 : 0.0;
            } else if (kind == 4) {  // nearly parallel to an earlier row, with the same slack
                const size_t j = pick_.upTo(n_ - 1);
                const double change = std::exp2(-6.0 - static_cast<double>(pick_.upTo(6)));
                row[j] += change;
                rhs += change * inside_[j];
            } else if (kind == 3) {  // the opposite side of an earlier row
                scale(row, -1.0);
                rhs = dot(row, inside_) + room();
            }
            problem_.A.push_back(row);
            problem_.b.push_back(isWild_ ? pick_.integer(5) : rhs);
        }
        for (size_t k = 0; k < count && isScaled; ++k) {
            const double factor = pick_.powerOfTwo(20);
            scale(problem_.A[k], factor);
            problem_.b[k] *= factor;
        }
    }

    // Independent ones are [L, L·B], where L is unit lower triangular with ones below its diagonal.
    void addEqualities() {
        any_.rank = pick_.oneIn(2) ? pick_.upTo(n_) : 0;
        const size_t copies = any_.rank > 0 && pick_.oneIn(3) ? 1 + pick_.upTo(2) : 0;
        for (size_t k = 0; k < any_.rank; ++k) {
            Numbers row(n_, 0.0);
            const Numbers tail = pick_.integers(n_ - any_.rank, 2);
            std::ranges::copy(tail, row.begin() + static_cast<std::ptrdiff_t>(any_.rank));
            row[k] = 1.0;
            for (size_t j = 0; j < n_ && k > 0; ++j) {
                row[j] += problem_.Aeq.back()[j] * (j + 1 < k ? 0.0 : 1.0);
            }
            problem_.Aeq.push_back(row);
            problem_.beq.push_back(isWild_ ? pick_.integer(5) : dot(row, inside_));
        }
        for (size_t k = 0; k < copies; ++k) {
            const double factor = pick_.of(Numbers{1.0, -2.0, 0.0});
            Numbers row = problem_.Aeq[0];
            double rhs = problem_.beq[0];
            for (size_t i = 1; i < any_.rank && pick_.oneIn(2); ++i) {
                std::ranges::transform(row, problem_.Aeq[i], row.begin(), std::plus<>());
                rhs += problem_.beq[i];
            }
            scale(row, factor);
            problem_.Aeq.push_back(row);
            problem_.beq.push_back(factor * rhs);
        }
        if (copies > 0) {
            any_.isContradictory = !hasInterior_ && pick_.oneIn(3);
            problem_.beq.back() += any_.isContradictory ? 1.0 : 0.0;
        }
        for (size_t k = 0; k < any_.rank && copies == 0 && pick_.oneIn(2); ++k) {
            const double factor = pick_.powerOfTwo(20);
            scale(problem_.Aeq[k], factor);
            problem_.beq[k] *= factor;
        }
    }

    void addSides() {
        problem_.lb.assign(n_, -Inf);
        problem_.ub.assign(n_, Inf);
        for (size_t i = 0; i < n_; ++i) {
            const size_t kind = pick_.upTo(hasInterior_ ? 4 : 5);  // 2, 4: lower; 3, 4: upper
            if (kind == 2 || kind == 4) {
                problem_.lb[i] = isWild_ ? pick_.integer(4) : inside_[i] - room();
            }
            if (kind == 3 || kind == 4) {
                problem_.ub[i] = isWild_ ? pick_.integer(4) : inside_[i] + room();
            }
            if (kind == 5) {
                problem_.lb[i] = problem_.ub[i] = inside_[i];
            }
        }
    }

    void addOpposites() {
        any_.isFeasible = false;
        Numbers row = anyRow();
        const double limit = pick_.integer(3);
        problem_.A.push_back(row);
        problem_.b.push_back(limit);
        scale(row, -1.0);
        problem_.A.push_back(row);
        problem_.b.push_back(-limit - 1.0 - room());
    }

    // The lists are empty, name what is active at the start, any constraints, more constraints than
    // exist, or bounds that another problem had.
    void addLists() {
        Numbers all[] = {{}, {}, {}};
        Numbers active[] = {{}, {}, {}};
        for (const RowConstraint& constraint : constraintsOf(problem_)) {
            const size_t place = constraint.number - problem_.Aeq.size();
            const size_t m = problem_.A.size();
            if (!constraint.isEquality) {
                const size_t kind = place < m ? 0 : place < m + n_ ? 1 : 2;
                all[kind].push_back(
                    static_cast<double>(1 + (kind == 0 ? place : (place - m) % n_)));
                if (dot(constraint.row, problem_.x0) == constraint.rhs) {
                    active[kind].push_back(all[kind].back());
                }
            }
        }
        const size_t mode = pick_.upTo(4);
        if (mode == 3) {
            any_.tooLong = 1 + pick_.upTo(2);
        }
        Numbers* const lists[] = {&problem_.Wineq, &problem_.Wlower, &problem_.Wupper};
        for (size_t kind = 0; kind < 3 && mode > 0; ++kind) {
            Numbers candidates = mode == 1 ? active[kind] : all[kind];
            if (mode == 4 && kind > 0) {
                candidates.resize(n_);
                std::iota(candidates.begin(), candidates.end(), 1.0);
            }
            *lists[kind] = outOf(candidates, pick_.upTo(all[kind].size()));
            if (any_.tooLong == kind + 1) {
                lists[kind]->resize(all[kind].size() + 1, 1.0);
            }
            any_.namesAbsentBounds |= std::ranges::any_of(*lists[kind], [&](double index) {
                return std::ranges::find(all[kind], index) == all[kind].end();
            });
        }
    }

    bool hasInterior_;
    bool isWild_ = false;
    Numbers vertex_;
    AnyProblem any_;
    Problem& problem_ = any_.problem;
};

inline rc::Gen<AnyProblem> anyProblem(const Shapes& shapes = {}) {
    return rc::gen::resize(rc::kNominalSize, rc::gen::exec([=] {
                               RapidChoices choices;
                               return AnyProblemBuilder(choices, shapes).result();
                           }));
}

/// Prints counterexamples.
inline void showValue(const AnyProblem& any, std::ostream& stream) {
    const Problem& p = any.problem;
    stream << "feasible " << any.isFeasible << ", contradictory " << any.isContradictory
           << ", rank " << any.rank << ", too long " << any.tooLong << ", absent "
           << any.namesAbsentBounds;
    const auto show = [&](const char* name, const auto& value) {
        stream << "\n" << name << " = ";
        rc::show(value, stream);
    };
    show("H", p.H);
    show("A", p.A);
    show("Aeq", p.Aeq);
    const std::pair<const char*, const Numbers&> columns[] = {
        {"c", p.c},   {"b", p.b},     {"beq", p.beq},       {"lb", p.lb},        {"ub", p.ub},
        {"x0", p.x0}, {"W", p.Wineq}, {"Wlower", p.Wlower}, {"Wupper", p.Wupper}};
    for (const auto& [name, value] : columns) {
        show(name, value);
    }
}

}  // namespace activeset::test

#endif
