// One fit from the caller's views to the caller's result. The square TᵀT gives a feasible point and
// a guess of the working set, or the proof that there is no feasible point; orthogonal factors give
// the solution; R and s prove it.
#include "activeset/least_squares.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/fit/active_set_fit.hpp"
#include "frontend/fit/fit_data.hpp"
#include "frontend/fit/fit_judgement.hpp"
#include "frontend/solve.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace frontend {

namespace {

/// Added to the diagonal of the square, in proportion to its largest entry, if rounding has made it
/// singular. It serves as a start only.
constexpr double SquareShift = 1e-10;

/// The problem with H = TᵀT.
struct Square {
    explicit Square(const Fit& fit)
        : H(fit.T.cols, fit.T.cols), c(fit.T.cols, 0.0), constant(fit.rest) {
        if (fit.T.rows != 0 && fit.T.cols != 0) {
            H = transposedProduct(fit.T, fit.T);
            c = transposedProduct(fit.T, fit.t);
        }
        for (double& entry : c) {
            entry = -entry;
        }
        constant += 0.5 * dot(fit.t.data(), fit.t.data(), fit.t.size());
    }

    [[nodiscard]] bool isFinite() const {
        return areFinite(H.values) && areFinite(c) && std::isfinite(constant);
    }

    void makeSymmetric() {
        for (std::size_t j = 0; j < H.cols; ++j) {
            for (std::size_t i = 0; i < j; ++i) {
                H(j, i) = H(i, j);
            }
        }
    }

    Dense H;
    Vector c;
    double constant;
};

class FitSolve {
public:
    FitSolve(const LeastSquares& problem, const Settings& settings)
        : problem_(problem),
          settings_(settings),
          control_(settings, automaticLimit(problem.R.cols(), problem.A.rows())),
          zeros_(problem.R.cols(), 0.0),
          constraints_(copyOf(constraintsOf(problem, zeros_))) {}

    Result run() {
        Fit fit;
        if (!takeIn(problem_, fit)) {
            return invalid({{"W", 0, 0, 0.0, "W is not positive definite", 1}});
        }
        reduce(fit, control_);
        const double setup = control_.seconds();
        if (control_.mustEnd()) {
            Result result;
            result.status = *control_.end();
            return result;
        }
        Square square(fit);
        if (!square.isFinite()) {
            return invalid({{"R", 0, 0, 0.0,
                             "R and s are too large: sums of their products are not finite", 1}});
        }
        Result result = startOf(square);
        const bool isStart = result.status == Status::Optimal ||
                             result.status == Status::Inaccurate ||
                             result.status == Status::NotConvex;
        if (isStart && result.x.size() == constraints_.n) {
            improve(fit, result);
        }
        result.times.setup += setup;
        result.times.total = control_.seconds();
        result.times.solve = result.times.total - result.times.setup - result.times.polish;
        return result;
    }

private:
    Result startOf(Square& square) const {
        Settings settings = settings_;
        if (settings.timeLimit < std::chrono::duration<double>::max()) {
            settings.timeLimit =
                std::max(std::chrono::duration<double>(0.0),
                         settings.timeLimit - std::chrono::duration<double>(control_.seconds()));
        }
        settings.convexityTolerance = Settings().convexityTolerance;
        square.makeSymmetric();
        Problem problem = constraintsOf(problem_, square.c);
        problem.H = MatrixView(square.H.values, square.H.rows, square.H.cols);
        problem.constant = square.constant;
        Result result = solve(problem, settings);
        if (result.status == Status::Unbounded || result.status == Status::NotConvex) {
            // A sum of squares is neither: rounding has made it so.
            const double shift = SquareShift * largestDiagonal(square.H);
            for (std::size_t j = 0; j < square.H.cols; ++j) {
                square.H(j, j) += shift;
            }
            result = solve(problem, settings);
        }
        return result;
    }

    /// Replaces the start by the solution from orthogonal factors.
    void improve(const Fit& fit, Result& result) {
        ActiveSetFit method(fit, constraints_, control_, result.x, result.workingSet);
        const bool isEnd = method.run();
        control_.rethrow();
        const Polishing polishing(control_);
        Point point = method.point();
        FitJudgement judgement = judge(fit, constraints_, point);
        WorkingSet set = method.workingSet();
        bool isProved = isEnd && judgement.certificate.holds(settings_.tolerance);
        if (!isProved && !control_.mustEnd()) {
            Point start{std::move(result.x), std::move(result.y), std::move(result.z)};
            const FitJudgement ofStart = judge(fit, constraints_, start);
            if (ofStart.certificate.holds(settings_.tolerance)) {
                isProved = true;
                judgement = ofStart;
                point = std::move(start);
                set = std::move(result.workingSet);
            }
        }
        result.status = isProved             ? Status::Optimal
                        : control_.mustEnd() ? *control_.end()
                                             : Status::Inaccurate;
        result.x = std::move(point.x);
        result.y = std::move(point.y);
        result.z = std::move(point.z);
        result.objective = judgement.objective;
        result.certificate = judgement.certificate;
        result.workingSet = std::move(set);
        result.direction.clear();
        result.directionResidual = {};
        result.hessianShift = 0.0;
        result.message.clear();
        result.iterations.main += control_.mainPasses();
    }

    const LeastSquares& problem_;
    const Settings& settings_;
    Control control_;
    Vector zeros_;
    ProblemData constraints_;
};

std::vector<Fault> faultsOf(const LeastSquares& problem, const Settings& settings) {
    std::vector<Fault> faults = faultsOfFit(problem);
    const Vector zeros(problem.R.cols(), 0.0);
    const Problem constraints = constraintsOf(problem, zeros);
    for (const Part part : {Part::Rows, Part::RowSides, Part::Bounds}) {
        std::ranges::move(faultsIn(constraints, zeros.size(), problem.A.rows(), part),
                          std::back_inserter(faults));
    }
    std::ranges::move(faultsIn(settings), std::back_inserter(faults));
    return faults;
}

}  // namespace

}  // namespace frontend

Result solveLeastSquares(const LeastSquares& problem, const Settings& settings) {
    const FloatingPointGuard environment;
    frontend::requireNoSolve();
    std::vector<Fault> faults = frontend::faultsOf(problem, settings);
    if (!faults.empty()) {
        return frontend::invalid(std::move(faults));
    }
    return frontend::FitSolve(problem, settings).run();
}

}  // namespace activeset
