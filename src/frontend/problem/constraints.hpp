// The constraints of a problem in one numbering: its rows, then the bounds by variable.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_CONSTRAINTS_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_CONSTRAINTS_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// Which side of a constraint holds with equality. Both, where they are equal.
enum class Side : std::uint8_t { None, Lower, Upper, Both };

/// Writes the gradient of constraint k, n entries.
void writeRow(const ProblemData& data, std::size_t k, double* target);
/// Writes the gradients of many constraints one behind the other. Of a bound it writes only the
/// entry that is not 0: the target has to be 0 there.
void writeRows(const ProblemData& data,
               const std::vector<std::size_t>& constraints,
               double* target);

/// All constraints of a problem, with the sides at which some of them are held: a working set as
/// the front end works on it. WorkingSet, six lists, is what solves begin with and end with.
class Constraints {
public:
    /// Holds the equalities and nothing else.
    explicit Constraints(const ProblemData& data);
    /// Holds the equalities, and of a working set what exists.
    Constraints(const ProblemData& data, const WorkingSet& set);
    /// Holds what exists of a working set, and no equality that it does not name.
    [[nodiscard]] static Constraints namedBy(const ProblemData& data, const WorkingSet& set);

    [[nodiscard]] std::size_t count() const { return held_.size(); }
    [[nodiscard]] Side operator[](std::size_t k) const { return held_[k]; }
    void hold(std::size_t k, Side side) { held_[k] = side; }
    [[nodiscard]] const std::vector<Side>& all() const { return held_; }

    [[nodiscard]] bool isRow(std::size_t k) const { return k < data_->m; }
    [[nodiscard]] double lower(std::size_t k) const {
        return isRow(k) ? data_->rowLower[k] : data_->lower[k - data_->m];
    }
    [[nodiscard]] double upper(std::size_t k) const {
        return isRow(k) ? data_->rowUpper[k] : data_->upper[k - data_->m];
    }
    /// The value of a constraint that is held.
    [[nodiscard]] double target(std::size_t k) const {
        return held_[k] == Side::Lower ? lower(k) : upper(k);
    }
    /// 1 where the multiplier must not be negative, −1 where it must not be positive, else 0.
    [[nodiscard]] double sign(std::size_t k) const {
        return held_[k] == Side::Upper ? 1.0 : held_[k] == Side::Lower ? -1.0 : 0.0;
    }
    /// The constraints that are held, ascending, and how many they are.
    [[nodiscard]] std::size_t size() const;
    [[nodiscard]] std::vector<std::size_t> members() const;
    /// The values at which they are held.
    [[nodiscard]] Vector targets() const;
    /// The same as lists, by kind.
    [[nodiscard]] WorkingSet workingSet() const;
    /// The gradient of a constraint.
    [[nodiscard]] Vector row(std::size_t k) const;
    /// The values of all constraints at a point.
    [[nodiscard]] Vector values(const Vector& x) const;
    /// The side beyond which a value of constraint k lies, by more than rounding; else None.
    [[nodiscard]] Side beyond(std::size_t k, double value) const {
        constexpr double SideRounding = 1e-11;
        const double slack = SideRounding * (value > 1.0 ? value : value < -1.0 ? -value : 1.0);
        if (value > upper(k) + slack) {
            return Side::Upper;
        }
        return value < lower(k) - slack ? Side::Lower : Side::None;
    }

private:
    void take(const WorkingSet& set);

    const ProblemData* data_;
    std::vector<Side> held_;
};

}  // namespace activeset::frontend

#endif
