// The optimum as a piecewise linear function of a parameter: the parametric active-set method (Best
// 1996, An algorithm for the solution of the parametric quadratic programming problem), in finance
// the critical line (Markowitz 1956, The optimization of a quadratic function subject to linear
// constraints).
#ifndef ACTIVESET_PATH_HPP
#define ACTIVESET_PATH_HPP

#include <string>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset {

/// The rates of the data in the parameter t: c(t) = problem.c + t·c, and so on for the sides.
/// What is empty stays. A side that is absent in the problem stays absent.
struct Direction {
    VectorView c{};         ///< n
    VectorView rowLower{};  ///< m
    VectorView rowUpper{};  ///< m
    VectorView lower{};     ///< n
    VectorView upper{};     ///< n
};

/// The optimum from one breakpoint to the next. With s = t − from it is x + s·dx, with the
/// multipliers y + s·dy and z + s·dz and the objective objective + s·slope + ½s²·curvature.
struct Piece {
    double from = 0.0;         ///< first value of the parameter
    double to = 0.0;           ///< last one
    WorkingSet workingSet{};   ///< the same all along
    std::vector<double> x{};   ///< n
    std::vector<double> y{};   ///< m, signs as in Result
    std::vector<double> z{};   ///< n
    std::vector<double> dx{};  ///< n
    std::vector<double> dy{};  ///< m
    std::vector<double> dz{};  ///< n
    double objective = 0.0;    ///< constant included
    double slope = 0.0;        ///< of the objective at `from`
    double curvature = 0.0;    ///< of the objective
};

/// The optimum at one value of the parameter.
struct PathPoint {
    std::vector<double> x{};  ///< n
    std::vector<double> y{};  ///< m, signs as in Result
    std::vector<double> z{};  ///< n
    double objective = 0.0;   ///< constant included
};

/// The optima of a problem over a range of the parameter. Neighbouring pieces meet in x where the
/// optimum is unique; elsewhere, as in linear programs whose costs move, x may jump from one
/// optimum to another at a breakpoint. Multipliers may jump where they are not unique.
class ACTIVESET_API Path {
public:
    /// Follows the optimum from `from` to `to`, from ≤ to.
    ///
    /// @param problem    at the parameter 0
    /// @param direction  what a unit of the parameter adds to its vectors
    /// @param from       first value of the parameter
    /// @param to         last one
    /// @param settings   of the solves at the start and at breakpoints where several things happen
    /// @raises std::invalid_argument for faults of the problem, of the direction and the range, or
    ///         data that overflow within it
    Path(const Problem& problem,
         const Direction& direction,
         double from,
         double to,
         const Settings& settings = {});

    /// Optimal where the whole range has been followed. Infeasible and Unbounded: it ends at
    /// `end()`, and there is no optimum right behind it, as `farkas()` or `direction()` prove.
    /// Anything else: that of the solve which did not succeed.
    [[nodiscard]] Status status() const noexcept { return status_; }
    /// Why a path ends early; else empty.
    [[nodiscard]] const std::string& message() const noexcept { return message_; }
    /// Where it ends.
    [[nodiscard]] double end() const noexcept { return end_; }
    /// Multipliers that prove infeasibility at every t behind the end in whose direction their
    /// value falls; empty vectors where two sides of one row or variable cross.
    [[nodiscard]] const Farkas& farkas() const noexcept { return farkas_; }
    /// Along which the objective falls without end at every t behind the end.
    [[nodiscard]] const std::vector<double>& direction() const noexcept { return direction_; }
    /// As Result::hessianShift.
    [[nodiscard]] double hessianShift() const noexcept { return hessianShift_; }

    /// Ascending, without gaps.
    [[nodiscard]] const std::vector<Piece>& pieces() const noexcept { return pieces_; }
    /// The optimum at t; at a breakpoint that of the piece before it.
    ///
    /// @raises std::invalid_argument outside of the range that has been followed
    [[nodiscard]] PathPoint at(double t) const;

private:
    class Tracer;

    std::vector<Piece> pieces_;
    Status status_ = Status::Failed;
    std::string message_;
    double end_ = 0.0;
    double hessianShift_ = 0.0;
    Farkas farkas_;
    std::vector<double> direction_;
};

}  // namespace activeset

#endif
