// A problem whose vectors are linear functions of a parameter.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_MOVING_PROBLEM_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_MOVING_PROBLEM_HPP

#include <optional>
#include <string>

#include "activeset/path.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The vectors of a problem, or what they gain per unit of the parameter.
struct Vectors {
    Vector c;
    Vector rowLower;
    Vector rowUpper;
    Vector lower;
    Vector upper;
};

class MovingProblem {
public:
    /// @raises std::invalid_argument, see Path
    MovingProblem(const Problem& problem, const Direction& direction);

    [[nodiscard]] const ProblemData& data() const { return data_; }
    [[nodiscard]] const Vectors& rates() const { return rates_; }
    /// The largest magnitude in row i of A.
    [[nodiscard]] double rowSize(std::size_t i) const { return rowSizes_[i]; }
    /// The largest diagonal entry of H.
    [[nodiscard]] double curvature() const { return curvature_; }
    /// The size of x that the vectors tell: sides by their rows, c by the largest entry of H.
    /// Values within the rounding of it count as 0.
    [[nodiscard]] double sizeOfX(const Vectors& vectors) const;
    /// Whether both sides are the same at every t.
    [[nodiscard]] bool isFixedRow(std::size_t i) const {
        return data_.rowLower[i] == data_.rowUpper[i] && rates_.rowLower[i] == rates_.rowUpper[i];
    }
    [[nodiscard]] bool isFixedVariable(std::size_t j) const {
        return data_.lower[j] == data_.upper[j] && rates_.lower[j] == rates_.upper[j];
    }
    /// Replaces H by H + shift·I.
    void shift(double shift);
    /// The vectors at t.
    [[nodiscard]] Vectors at(double t) const;
    /// Whether numbers that are finite in the data are finite at t.
    [[nodiscard]] bool isFiniteAt(double t) const;
    /// @post the view lives as long as `vectors` and this object
    [[nodiscard]] Problem view(const Vectors& vectors) const;
    [[nodiscard]] Result solve(double t, const WarmStart& start, const Settings& settings) const;

    /// The first t from `from` up behind which two sides cross, and which they are.
    struct Crossing {
        double t = Infinity;
        std::string text;
    };
    [[nodiscard]] Crossing crossing(double from) const;

private:
    ProblemData data_;
    Vectors rates_;
    Vector rowSizes_;
    double curvature_ = 0.0;
};

}  // namespace activeset::frontend

#endif
