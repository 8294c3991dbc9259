// Derivatives of an optimum in all data of its problem, by implicit differentiation of the
// optimality conditions: Fiacco 1983, Introduction to Sensitivity and Stability Analysis in
// Nonlinear Programming; for the chain rule, Amos and Kolter 2017, OptNet.
#ifndef ACTIVESET_SENSITIVITY_HPP
#define ACTIVESET_SENSITIVITY_HPP

#include <memory>

#include "activeset/qp.hpp"

namespace activeset {

/// Which derivative is given.
enum class Derivative {
    Full,         ///< the solution is differentiable, and this is its derivative
    OneSided,     ///< of the side on which the weak constraints that are held stay held
    LeastSquares  ///< the shortest one: multipliers, or the point, are not unique
};

/// "full", "one-sided", "least-squares"
[[nodiscard]] ACTIVESET_API const char* textOf(Derivative derivative) noexcept;

/// Where an optimum is not differentiable, why.
struct Smoothness {
    Derivative derivative = Derivative::Full;  ///< which derivative is given
    /// Rows and variables on a side whose multiplier is 0 to rounding, held or not; ascending.
    std::vector<std::size_t> weakRows{};
    std::vector<std::size_t> weakBounds{};  ///< variables
    std::size_t dependent = 0;              ///< members of the working set that depend on others
    std::size_t flat = 0;  ///< dimension in which the objective is flat on the working set
};

/// A change of the data. What is empty does not change. The change of H counts by its symmetric
/// part. An equality moves by the side that its multiplier presses on: the upper one from 0 up.
struct Change {
    MatrixView H{};         ///< n × n
    VectorView c{};         ///< n
    MatrixView A{};         ///< m × n
    VectorView rowLower{};  ///< m
    VectorView rowUpper{};  ///< m
    VectorView lower{};     ///< n
    VectorView upper{};     ///< n
};

/// The changes of the solution: a column for each change of the data, one behind the other.
struct SolutionChange {
    std::vector<double> x{};  ///< n × count
    std::vector<double> y{};  ///< m × count
    std::vector<double> z{};  ///< n × count
};

/// Gradients in the data: for each right-hand side a block of the shape named, column-major, one
/// behind the other. Sides that do not hold have 0. Of an equality, the whole gradient is that of
/// the side that its multiplier presses on, so that the two add up to that of moving both.
struct Gradients {
    std::vector<double> H{};         ///< n × n, symmetric
    std::vector<double> c{};         ///< n
    std::vector<double> A{};         ///< m × n
    std::vector<double> rowLower{};  ///< m
    std::vector<double> rowUpper{};  ///< m
    std::vector<double> lower{};     ///< n
    std::vector<double> upper{};     ///< n
};

/// The derivatives of one optimum. Holds copies of all that it needs; its functions may be called
/// from several threads at once.
class ACTIVESET_API Sensitivity {
public:
    /// Factorises the optimality conditions of the working set, O(n³) at most, or shares the
    /// factors that the result has kept (Settings::keepFactors), O(n² + mn).
    ///
    /// @raises std::invalid_argument when the problem has faults, the result is not optimal or its
    ///         point is not that of this problem; std::bad_alloc
    Sensitivity(const Result& result, const Problem& problem);
    /// Takes over the factors; `other` may only be assigned to or destroyed then.
    Sensitivity(Sensitivity&& other) noexcept;
    /// Likewise.
    Sensitivity& operator=(Sensitivity&& other) noexcept;
    Sensitivity(const Sensitivity&) = delete;
    Sensitivity& operator=(const Sensitivity&) = delete;
    ~Sensitivity();

    /// Whether the solution is differentiable here, and if not, why.
    [[nodiscard]] const Smoothness& smoothness() const noexcept;

    /// The gradient of a loss in all data, from its gradients in x, y and z: n, m and n rows, a
    /// column for each right-hand side; an empty one is 0. Only entries of z at bounds count, and
    /// entries of y of rows that hold. O(n²) for each column.
    ///
    /// @raises std::invalid_argument for a shape that does not fit
    [[nodiscard]] Gradients backward(const MatrixView& dx,
                                     const MatrixView& dy = {},
                                     const MatrixView& dz = {}) const;
    /// The same for one right-hand side.
    [[nodiscard]] Gradients backward(const VectorView& dx,
                                     const VectorView& dy = {},
                                     const VectorView& dz = {}) const;

    /// The rates of x, y and z along each change of the data.
    ///
    /// @raises std::invalid_argument for a shape that does not fit
    [[nodiscard]] SolutionChange forward(std::span<const Change> changes) const;
    /// The same for one change.
    [[nodiscard]] SolutionChange forward(const Change& change) const;

private:
    class Factors;
    std::unique_ptr<const Factors> factors_;
};

}  // namespace activeset

#endif
