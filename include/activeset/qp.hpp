// The front end: one call that solves a convex quadratic or linear program and proves its answer.
//
//     minimise ½xᵀHx + cᵀx + constant
//     subject to  rowLower ≤ A·x ≤ rowUpper,  lower ≤ x ≤ upper
//
// where any side may be soft: violated at a price that the objective pays.
//
// A program describes its data as views, which copy nothing, and gets a result that owns what it
// holds. While a solve runs, nobody but its own callback may change what the views show. Everything
// that a result claims has been recomputed from the data as they were given.
#ifndef ACTIVESET_QP_HPP
#define ACTIVESET_QP_HPP

#if __cplusplus <= 201703L
#error "activeset/qp.hpp needs C++20: compile with -std=c++20 or later"
#else

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "activeset/export.hpp"

namespace activeset {

/// A side that is absent.
inline constexpr double Infinity = std::numeric_limits<double>::infinity();

/// Sides of this magnitude and more are absent as well: lower ones from −AbsentSide down, upper
/// ones from AbsentSide up.
inline constexpr double AbsentSide = 1e20;

/// The order in which a matrix is stored.
enum class Order { ColumnMajor, RowMajor };

/// A vector of the caller's. Empty where the problem has no such part.
class VectorView {
public:
    constexpr VectorView() noexcept = default;
    /// `size` numbers from `data` on.
    constexpr VectorView(const double* data, std::size_t size) noexcept
        : data_(data), size_(size) {}
    // Contiguous memory is a vector: implicit conversions are wanted.
    // NOLINTBEGIN(google-explicit-constructor,hicpp-explicit-conversions)
    /// The numbers of a span.
    constexpr VectorView(std::span<const double> values) noexcept
        : VectorView(values.data(), values.size()) {}
    /// The numbers of a span.
    constexpr VectorView(std::span<double> values) noexcept
        : VectorView(values.data(), values.size()) {}
    /// The numbers of a vector, which must outlive the view.
    VectorView(const std::vector<double>& values) noexcept
        : VectorView(values.data(), values.size()) {}
    /// The numbers of an array.
    template <std::size_t Size>
    constexpr VectorView(const std::array<double, Size>& values) noexcept
        : VectorView(values.data(), Size) {}
    /// The numbers of an array.
    template <std::size_t Size>
    constexpr VectorView(const double (&values)[Size]) noexcept : VectorView(values, Size) {}
    // NOLINTEND(google-explicit-constructor,hicpp-explicit-conversions)

    /// The first number; null for an absent vector.
    [[nodiscard]] constexpr const double* data() const noexcept { return data_; }
    /// How many numbers there are.
    [[nodiscard]] constexpr std::size_t size() const noexcept { return size_; }
    /// Whether there are none.
    [[nodiscard]] constexpr bool empty() const noexcept { return size_ == 0; }
    /// One number, 0-based. @pre i < size()
    [[nodiscard]] constexpr double operator[](std::size_t i) const noexcept { return data_[i]; }

private:
    const double* data_ = nullptr;
    std::size_t size_ = 0;
};

/// A matrix of the caller's, dense, in columns unless it says otherwise. Empty where the problem
/// has no such part.
class MatrixView {
public:
    constexpr MatrixView() noexcept = default;
    /// `leading` is the distance between neighbouring columns (rows, for Order::RowMajor); 0 stands
    /// for no gaps.
    constexpr MatrixView(const double* data,
                         std::size_t rows,
                         std::size_t cols,
                         std::size_t leading = 0,
                         Order order = Order::ColumnMajor) noexcept
        : data_(data),
          rows_(rows),
          cols_(cols),
          leading_(leading != 0 ? leading : (order == Order::ColumnMajor ? rows : cols)),
          order_(order) {}
    /// The checks of a solve find a view that has too few elements.
    constexpr MatrixView(VectorView values,
                         std::size_t rows,
                         std::size_t cols,
                         Order order = Order::ColumnMajor) noexcept
        : MatrixView(values.data(), rows, cols, 0, order) {
        available_ = values.size();
    }

    /// The first element; null for an absent matrix.
    [[nodiscard]] constexpr const double* data() const noexcept { return data_; }
    /// How many rows there are.
    [[nodiscard]] constexpr std::size_t rows() const noexcept { return rows_; }
    /// How many columns there are.
    [[nodiscard]] constexpr std::size_t cols() const noexcept { return cols_; }
    /// The distance between neighbouring columns, or rows, in numbers.
    [[nodiscard]] constexpr std::size_t leading() const noexcept { return leading_; }
    /// How the elements lie in memory.
    [[nodiscard]] constexpr Order order() const noexcept { return order_; }
    /// Whether there are no elements.
    [[nodiscard]] constexpr bool empty() const noexcept { return rows_ == 0 || cols_ == 0; }
    /// How many elements the memory holds; the largest number if that is not known.
    [[nodiscard]] constexpr std::size_t available() const noexcept { return available_; }
    /// The same view of the memory `numbers` numbers further on.
    [[nodiscard]] constexpr MatrixView movedBy(std::size_t numbers) const noexcept {
        MatrixView moved = *this;
        moved.data_ += numbers;
        return moved;
    }
    /// One element, 0-based. @pre row < rows() and col < cols()
    [[nodiscard]] constexpr double operator()(std::size_t row, std::size_t col) const noexcept {
        return order_ == Order::ColumnMajor ? data_[col * leading_ + row]
                                            : data_[row * leading_ + col];
    }

private:
    const double* data_ = nullptr;
    std::size_t rows_ = 0;
    std::size_t cols_ = 0;
    std::size_t leading_ = 0;
    std::size_t available_ = std::numeric_limits<std::size_t>::max();
    Order order_ = Order::ColumnMajor;
};

/// What it costs to violate sides, one entry for each row, or for each variable. A side that is
/// missed by v ≥ 0 costs linear·v + ½·quadratic·v²; it is soft then. A linear penalty that is
/// infinite leaves the side hard, whatever the quadratic one. Without linear penalties the sides
/// with a positive quadratic one are soft, and the others are hard. Entries of sides that are
/// infinite are checked, but not used; where a problem has no such sides at all, they are a fault.
struct Penalty {
    VectorView lowerLinear{};     ///< from 0 up, infinite for a hard side
    VectorView upperLinear{};     ///< likewise
    VectorView lowerQuadratic{};  ///< from 0 up, finite; more than 0 where the linear one is 0
    VectorView upperQuadratic{};  ///< likewise

    /// Whether no side has a penalty.
    [[nodiscard]] constexpr bool empty() const noexcept {
        return lowerLinear.empty() && upperLinear.empty() && lowerQuadratic.empty() &&
               upperQuadratic.empty();
    }
};

/// Soft sides beyond which a point lies; 0-based, ascending.
struct ViolatedSides {
    std::vector<std::size_t> rowsAtLower{};  ///< rows below their lower side
    std::vector<std::size_t> rowsAtUpper{};  ///< rows above their upper side
    std::vector<std::size_t> atLower{};      ///< variables below their lower bound
    std::vector<std::size_t> atUpper{};      ///< variables above their upper bound

    /// How many sides are violated.
    [[nodiscard]] std::size_t size() const noexcept {
        return rowsAtLower.size() + rowsAtUpper.size() + atLower.size() + atUpper.size();
    }
    /// Leaves no members, and their memory for others.
    void clear() noexcept {
        for (auto* members : {&rowsAtLower, &rowsAtUpper, &atLower, &atUpper}) {
            members->clear();
        }
    }
    friend bool operator==(const ViolatedSides&, const ViolatedSides&) = default;
};

/// Constraints that hold with equality, by kind; 0-based, ascending. Soft sides that are violated
/// do not hold: they are listed by themselves, and size() leaves them out.
struct WorkingSet {
    std::vector<std::size_t> equalities{};   ///< rows whose sides are equal
    std::vector<std::size_t> rowsAtLower{};  ///< rows at their lower side
    std::vector<std::size_t> rowsAtUpper{};  ///< rows at their upper side
    std::vector<std::size_t> atLower{};      ///< variables
    std::vector<std::size_t> atUpper{};      ///< variables at their upper bound
    std::vector<std::size_t> fixed{};        ///< variables whose bounds are equal
    ViolatedSides softViolated{};            ///< soft sides that do not hold

    /// How many constraints hold.
    [[nodiscard]] std::size_t size() const noexcept {
        return equalities.size() + rowsAtLower.size() + rowsAtUpper.size() + atLower.size() +
               atUpper.size() + fixed.size();
    }
    /// Removes all members; the lists keep their memory.
    void clear() noexcept {
        for (auto* members :
             {&equalities, &rowsAtLower, &rowsAtUpper, &atLower, &atUpper, &fixed}) {
            members->clear();
        }
        softViolated.clear();
    }
    friend bool operator==(const WorkingSet&, const WorkingSet&) = default;
};

/// Where a solve of a similar problem may begin. Entries that make no sense for that problem are
/// left out; nothing has to fit exactly.
struct WarmStart {
    std::vector<double> x{};  ///< n
    WorkingSet workingSet{};  ///< constraints that are likely to hold
};

/// The data of one problem, all of it the caller's. n is the length of c, or, without c, the number
/// of columns of H, or, without both, of A; it may be 0. What is empty is absent: no H is a linear
/// program, no c is zero, no side or bound is infinite, no start is zero.
struct Problem {
    MatrixView H{};                        ///< n × n, symmetric, positive semidefinite
    VectorView c{};                        ///< n
    MatrixView A{};                        ///< m × n
    VectorView rowLower{};                 ///< m
    VectorView rowUpper{};                 ///< m
    VectorView lower{};                    ///< n
    VectorView upper{};                    ///< n
    double constant = 0.0;                 ///< added to the objective
    VectorView start{};                    ///< n; need not be feasible
    const WarmStart* warmStart = nullptr;  ///< goes before `start`
    Penalty rowPenalty{};                  ///< m each; sides without one are hard
    Penalty boundPenalty{};                ///< n each
};

/// One mistake in the data of a problem or in the settings of a solve.
struct Fault {
    std::string name{};  ///< as the member of Problem is called; "settings.tolerance", likewise
    /// 0-based position of the entry; of a shape that does not fit, what was given.
    std::size_t row = 0;
    std::size_t col = 0;    ///< 0 for vectors
    double value = 0.0;     ///< of the entry
    std::string text{};     ///< one line: what was given and what is expected, no full stop
    std::size_t count = 1;  ///< of faults it stands for; more than 1 at the end of a long list
};

/// All mistakes in a problem, none for one that can be solved. Of those in a part (H, c and
/// constant, A, the sides of the rows, the bounds, the start, the penalties) the first hundred are
/// listed; one more Fault stands for the rest and says how many they are.
[[nodiscard]] ACTIVESET_API std::vector<Fault> faultsOf(const Problem& problem);

/// How a solve ended.
enum class Status {
    Optimal,         ///< proved: Certificate::holds(Settings::tolerance)
    Infeasible,      ///< proved by Result::farkas, within its radius
    Unbounded,       ///< proved by Result::direction
    NotConvex,       ///< proved by Result::direction: the curvature along it is negative
    IterationLimit,  ///< the point reached so far
    TimeLimit,
    Interrupted,  ///< by the stop token, the callback or the interrupt flag
    Inaccurate,   ///< the best point found, with the residuals that it has
    Invalid,      ///< nothing was solved: Result::faults says why
    Failed        ///< nothing was solved: an exception of which Result::message tells (solveMany)
};

/// "optimal", "infeasible", …
[[nodiscard]] ACTIVESET_API const char* textOf(Status status) noexcept;

/// What the callback gets after every pass.
struct Progress {
    std::size_t iteration = 0;  ///< passes so far, over all phases
    bool phaseOne = false;      ///< looking for a feasible point
    double objective = 0.0;     ///< at the present point, constant included
    double violation = 0.0;     ///< largest violation there, absolute
    std::size_t active = 0;     ///< members of the working set
    double step = 0.0;          ///< Euclidean norm of the last step, in scaled variables
    /// Its members; in phase one without the bound of the variable that phase one adds.
    WorkingSet workingSet{};
};

/// Where a solve begins, unless its warm start already is the solution.
enum class Start {
    Automatic,  ///< Predict, unless a callback or a limit asks for the passes of the core
    Predict,    ///< at a prediction of the working set
    Cold        ///< at Problem::start
};

/// How a problem is solved, and when to give up.
struct Settings {
    /// The largest relative residuals of a point that is optimal, and so the largest relative error
    /// of its objective; more than 0, at most 1.
    double tolerance = 1e-9;
    /// The largest δ, in proportion to ‖H‖_F, with which H + δI is solved in place of an H that is
    /// not convex, as rounded data may be; from 0 to 1. δ is Result::hessianShift. The default is
    /// enough for numbers of 7 digits, or of float; 0 takes H as it is.
    double convexityTolerance = 1e-6;
    Start startMode = Start::Automatic;  ///< where the solve begins
    /// The most passes over all phases; 0 stands for a limit that no sound problem reaches.
    std::size_t maxIterations = 0;
    /// In seconds, from 0 up.
    std::chrono::duration<double> timeLimit = std::chrono::duration<double>::max();
    std::stop_token stop{};  ///< ends the solve when a stop is requested
    /// Whether solve() leaves Result::factors. Nothing else depends on it but last digits.
    bool keepFactors = false;
    /// Called after every pass of the core, so that Start::Automatic leaves predictions out; false
    /// ends the solve. It must not start another solve itself.
    std::function<bool(const Progress&)> onPass{};
};

/// A residual as it is, and in proportion to the terms that it is the sum of.
struct Residual {
    double absolute = 0.0;  ///< in the units of the problem
    double relative = 0.0;  ///< without a unit
};

/// The residuals of a point and its multipliers, formed from the caller's data alone, in extended
/// precision. Soft sides are no constraints here: what they cost is part of both objectives.
struct Certificate {
    /// Largest violation of a row or bound. Terms below 1 are measured by 1, or by the size that
    /// the data give such terms where that is smaller.
    Residual primal{Infinity, Infinity};
    /// Largest entry of gradient + Aᵀy + z, y and z projected on their signs; z takes up what it
    /// can, so that an entry shows in the gap where x_j has a finite bound.
    Residual dual{Infinity, Infinity};
    /// absolute: primal minus dual objective. relative: a bound for the error of the objective in
    /// proportion to the larger of the primal and dual objective without the constant and 1, or
    /// less than 1 where the data are all small; rounding is counted in.
    Residual gap{Infinity, Infinity};

    /// Whether all three relative residuals are at most `tolerance`.
    [[nodiscard]] bool holds(double tolerance) const noexcept {
        return primal.relative <= tolerance && dual.relative <= tolerance &&
               gap.relative <= tolerance;
    }
};

/// Multipliers which show that no point satisfies the constraints: Aᵀy + z = 0, but the sum of the
/// sides, weighted by y and z, is less than 0. Signs as in Result.
struct Farkas {
    std::vector<double> y{};  ///< m
    std::vector<double> z{};  ///< n
    Residual residual{};      ///< of Aᵀy + z = 0
    /// Σ y⁺·rowUpper − y⁻·rowLower + z⁺·upper − z⁻·lower: at most −1, above −2
    double value = 0.0;
    /// No x with Σ |x_j| below it is feasible. Infinite where finite bounds take up the residual.
    double radius = 0.0;
};

/// The work that a solve took.
struct Iterations {
    std::size_t phaseOne = 0;    ///< passes that look for a feasible point
    std::size_t main = 0;        ///< passes from there to the optimum
    std::size_t prediction = 0;  ///< rounds of guessing the working set
    std::size_t dual = 0;        ///< steps of the dual method, where guessing did not end
    std::size_t proximal = 0;    ///< subproblems of the proximal-point loop
    std::size_t refinement = 0;  ///< corrections in extended precision
};

/// Seconds.
struct Times {
    double setup = 0.0;   ///< checks, copies, scaling
    double solve = 0.0;   ///< active-set iterations
    double polish = 0.0;  ///< refinement and certificates
    double total = 0.0;   ///< of the whole call
};

class KeptFactors;

/// gradient + Aᵀy + z = 0, with y (per row) and z (per variable) positive at an upper side,
/// negative at a lower one, of any sign at an equality. For A·x ≤ b alone, y ≥ 0. To first order
/// the optimal value changes by −y_i when the active side of row i grows by one. A soft side that
/// is missed by v ≥ 0 has |y| ≤ linear + quadratic·v, and equality where v > 0.
struct Result {
    Status status = Status::Failed;  ///< how the solve ended
    int exitCode = -5;        ///< of the last run of the core, see docs/states.md; −5 without one
    std::vector<double> x{};  ///< n; empty where there is no point
    /// At x, constant included, and what violated soft sides cost. NaN for Infeasible, NotConvex,
    /// Invalid and Failed, where x, if there is one, is only where the solve ended.
    double objective = std::numeric_limits<double>::quiet_NaN();
    /// δ where H misses convexity and H + δI was solved, 0 otherwise. Multipliers, certificate and
    /// status are of that problem; the objective is of H.
    double hessianShift = 0.0;
    std::vector<double> y{};          ///< m
    std::vector<double> z{};          ///< n
    WorkingSet workingSet{};          ///< constraints that hold with equality at x
    Certificate certificate{};        ///< residuals of x, y and z
    std::optional<Farkas> farkas{};   ///< for Infeasible, else absent
    std::vector<double> direction{};  ///< for Unbounded and NotConvex, else empty
    /// For Unbounded what sides and H·d = A_eqᵀw miss along d; for NotConvex the curvature dᵀHd.
    Residual directionResidual{};
    std::vector<Fault> faults{};  ///< for Invalid: those of the problem and of the settings
    /// For Failed what the exception said, for NotConvex which shift would do. For Invalid the
    /// texts of the first ten faults, a line each, and how many more there are; no last line end.
    std::string message{};
    /// The start was predicted; with no iterations of the core the prediction was the solution.
    bool wasPredicted = false;
    Iterations iterations{};  ///< the work that it took
    Times times{};            ///< and the time
    /// With Settings::keepFactors, of an optimum that solve() has found without a shift: a copy of
    /// the problem, and the factors of the working set if the solve has left any. Derivatives of
    /// this result are computed from them as long as x, y, z, the working set and the problem stay
    /// as they are, and are those of the problem in any case. Copies of the result share them.
    std::shared_ptr<const KeptFactors> factors{};

    /// For the next, similar problem.
    [[nodiscard]] WarmStart warmStart() const { return {x, workingSet}; }
    /// Whether the point is a proved optimum.
    explicit operator bool() const noexcept { return status == Status::Optimal; }
};

/// Solves one problem. Mistakes in the data or the settings are a status, not an exception.
///
/// @raises HostError when the core gets no memory, std::bad_alloc when anything else does;
///         std::logic_error inside a callback of another solve; what the callback raises
[[nodiscard]] ACTIVESET_API Result solve(const Problem& problem, const Settings& settings = {});

/// Gives back the arrays that the calling thread keeps for its next solve: at most 260 MiB, which
/// go with the thread otherwise. Those of a Solver are its own until it is destroyed.
ACTIVESET_API void releaseWorkspaces() noexcept;

/// A sequence of related problems: the same sizes, other numbers. Holds copies of all data. Each
/// solve starts from the last optimum and its working set; scaling, factors and tests of convexity
/// are kept while the matrices stay, and where the working set stays, too, one correction with the
/// factors at hand is the whole solve.
///
/// Mistakes in a part that is set show in the results of solves until the part is set again. What
/// replaces a part, or restarts, raises std::logic_error inside a callback of the Solver's own
/// solve; such a callback must not assign to the Solver or destroy it either. For one thread at a
/// time.
class ACTIVESET_API Solver {
public:
    /// Faults in the problem show when it is solved.
    explicit Solver(const Problem& problem, Settings settings = {});
    /// Takes over the sequence; `other` may only be assigned to or destroyed then.
    Solver(Solver&& other) noexcept;
    /// Likewise.
    Solver& operator=(Solver&& other) noexcept;
    Solver(const Solver&) = delete;
    Solver& operator=(const Solver&) = delete;
    ~Solver();

    /// Replaces H, n × n; what was kept of the matrices goes.
    void setHessian(const MatrixView& H);
    /// Replaces c, n, and the constant.
    void setLinear(const VectorView& c, double constant = 0.0);
    /// Replaces A, m × n; what was kept of the matrices goes.
    void setRows(const MatrixView& A);
    /// Replaces the sides of the rows, m each; empty for infinite ones.
    void setRowSides(const VectorView& lower, const VectorView& upper);
    /// Replaces the bounds, n each; empty for infinite ones.
    void setBounds(const VectorView& lower, const VectorView& upper);
    /// What sides cost that are violated; both replace what there was. Sides may come later.
    void setPenalties(const Penalty& rows, const Penalty& bounds = {});
    /// Where the next solve starts, instead of at the last optimum; by default from zero.
    void restartFrom(WarmStart start = {});
    /// For the solves to come.
    [[nodiscard]] Settings& settings() noexcept;

    /// @raises as activeset::solve
    [[nodiscard]] Result solve();
    /// Writes into a result, new or of any earlier solve, whose memory is used again. If it raises,
    /// parts of `result` may be of this solve and others of that one.
    ///
    /// @raises as activeset::solve
    void solve(Result& result);

private:
    class Kept;
    std::unique_ptr<Kept> kept_;
};

/// How many problems are solved.
struct ManySettings {
    /// Of every solve. Its callback is called from several threads at the same time.
    Settings each{};
    /// 0 stands for as many as there are processors.
    unsigned threads = 0;
    /// How many neighbours form a chain, in which each problem without a warm start of its own
    /// begins where the last optimum of its size was found; neighbours with views of the same H and
    /// A share what a Solver keeps. 0 and 1 stand for no chains. Threads share the chains out
    /// between them; results do not depend on how many there are.
    std::size_t chain = 0;
    /// Called after every problem, one call at a time. What it raises ends the remaining solves and
    /// leaves solveMany.
    std::function<void(std::size_t done, std::size_t of)> onDone{};
    /// From 0 up, for all solves together. After it, a stop or an interrupt the problems that were
    /// not begun have that status and no point.
    std::chrono::duration<double> timeLimit = std::chrono::duration<double>::max();
};

/// Solves problems that have nothing to do with one another, or chains of similar ones. Result k is
/// that of problem k; one that raises has the status Failed and spoils no other.
///
/// @raises std::bad_alloc when there is no memory for the results; std::logic_error inside a
///         callback of another solve; what `onDone` raises
[[nodiscard]] ACTIVESET_API std::vector<Result> solveMany(std::span<const Problem> problems,
                                                          const ManySettings& settings = {});

/// Sides of rows and bounds that contradict one another; 0-based, ascending.
struct Conflict {
    bool isFound = false;    ///< no point satisfies all of them
    bool isMinimal = false;  ///< left without any one of them, the others have a common point
    std::vector<std::size_t> rowsAtLower{};  ///< rows whose lower side takes part
    std::vector<std::size_t> rowsAtUpper{};  ///< rows whose upper side takes part
    std::vector<std::size_t> atLower{};      ///< variables whose lower bound takes part
    std::vector<std::size_t> atUpper{};      ///< variables whose upper bound takes part

    /// How many sides take part.
    [[nodiscard]] std::size_t size() const noexcept {
        return rowsAtLower.size() + rowsAtUpper.size() + atLower.size() + atUpper.size();
    }
};

/// Why a problem is infeasible, among its hard sides; nothing is found for one that is not, or is
/// not proved to be, nor where the data or the settings have faults. The limits in the settings
/// hold for the whole explanation; where one ends it, the conflict is what had been found by then.
///
/// @raises as solve
[[nodiscard]] ACTIVESET_API Conflict explainInfeasibility(const Problem& problem,
                                                          const Settings& settings = {});

}  // namespace activeset

#endif  // C++20
#endif
