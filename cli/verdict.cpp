// Residuals of the optimality conditions, each with the size of the terms it is the sum of.
#include "cli/verdict.hpp"

#include <algorithm>
#include <cmath>
#include <span>

namespace activeset::cli {

namespace {

/// A sum, and the sum of the magnitudes of its terms, against which its rounding is measured.
struct ScaledSum {
    double value = 0.0;
    double scale = 0.0;

    void add(double term) {
        value += term;
        scale += std::abs(term);
    }
};

/// The largest of many residuals. It supports the outcome unless one of them is larger than allowed
/// or NaN.
class Largest {
public:
    explicit Largest(double tolerance) : tolerance_(tolerance) {}

    void add(double residual, double scale) {
        if (!(residual <= tolerance_ * std::max(1.0, scale))) {
            result_.supports = false;
        }
        if (!(residual <= result_.value)) {
            result_.value = residual;
        }
    }
    [[nodiscard]] JudgedResidual result() const { return result_; }

private:
    double tolerance_;
    JudgedResidual result_;
};

/// matrix·x − rhs, matrix rows × n.
std::vector<ScaledSum> rowResiduals(const std::vector<double>& matrix,
                                    const std::vector<double>& rhs,
                                    const std::vector<double>& x) {
    std::vector<ScaledSum> residuals(rhs.size());
    for (std::size_t i = 0; i < rhs.size(); ++i) {
        for (std::size_t j = 0; j < x.size(); ++j) {
            residuals[i].add(matrix[i + j * rhs.size()] * x[j]);
        }
        residuals[i].add(-rhs[i]);
    }
    return residuals;
}

/// Computes all residuals, in one pass over the data for each kind.
class Judge {
public:
    Judge(const StrictProblem& problem, const SolveResult& result, const SolverSettings& settings)
        : model_(problem.model),
          rows_(problem.rows),
          result_(result),
          primal_(settings.tolCon),
          dual_(std::max(settings.tolX, Accuracy)),
          complementarity_(std::max(settings.tolCon, Accuracy)) {
        const std::span<const double> lambda(result.lambda);
        const std::size_t rows = problem.mEq() + problem.mIneq();
        equalities_ = lambda.subspan(0, problem.mEq());
        inequalities_ = lambda.subspan(problem.mEq(), problem.mIneq());
        lower_ = lambda.subspan(rows, problem.n());
        upper_ = lambda.subspan(rows + problem.n(), problem.n());
    }

    [[nodiscard]] Verdict verdict() {
        const JudgedResidual objectiveOfFile = objective();
        visitConstraints();
        visitStationarity();
        Verdict verdict{objectiveOfFile, primal_.result(), dual_.result(),
                        complementarity_.result()};
        const bool optimal = result_.code == 1;
        const bool infeasible = result_.code == -2 || result_.code == -3;
        verdict.dual.supports = verdict.dual.supports || !optimal;
        verdict.complementarity.supports = verdict.complementarity.supports || !optimal;
        if (infeasible) {
            verdict.primal.supports = !verdict.primal.supports;
        }
        return verdict;
    }

private:
    static constexpr double Accuracy = 1e-6;

    void visitConstraints() {
        for (const ScaledSum& residual : rowResiduals(rows_.Aeq, rows_.beq, result_.x)) {
            primal_.add(std::abs(residual.value), residual.scale);
        }
        const std::vector<ScaledSum> residuals = rowResiduals(rows_.A, rows_.b, result_.x);
        for (std::size_t i = 0; i < rows_.b.size(); ++i) {
            visitInequality(residuals[i].value, residuals[i].scale, inequalities_[i]);
        }
        for (std::size_t j = 0; j < model_.n(); ++j) {
            visitBound(model_.lower[j], result_.x[j], model_.lower[j] - result_.x[j], lower_[j]);
            visitBound(model_.upper[j], result_.x[j], result_.x[j] - model_.upper[j], upper_[j]);
        }
    }

    void visitBound(double bound, double x, double excess, double multiplier) {
        if (std::isinf(bound)) {
            complementarity_.add(std::abs(multiplier), 0.0);
        } else {
            visitInequality(excess, std::abs(bound) + std::abs(x), multiplier);
        }
    }

    /// `excess` is positive where the constraint is violated.
    void visitInequality(double excess, double scale, double multiplier) {
        primal_.add(std::max(excess, 0.0), scale);
        dual_.add(std::max(-multiplier, 0.0), 0.0);
        // The product is a term of the gap between the primal and the dual objective.
        complementarity_.add(std::abs(excess * multiplier),
                             std::max(scale * std::abs(multiplier), objectiveSize_));
    }

    void visitStationarity() {
        const std::size_t n = model_.n();
        for (std::size_t j = 0; j < n; ++j) {
            ScaledSum entry;
            for (std::size_t i = 0; i < n; ++i) {
                entry.add(model_.H[i + j * n] * result_.x[i]);
            }
            entry.add(model_.c[j]);
            for (std::size_t i = 0; i < rows_.beq.size(); ++i) {
                entry.add(rows_.Aeq[i + j * rows_.beq.size()] * equalities_[i]);
            }
            for (std::size_t i = 0; i < rows_.b.size(); ++i) {
                entry.add(rows_.A[i + j * rows_.b.size()] * inequalities_[i]);
            }
            entry.add(-lower_[j]);
            entry.add(upper_[j]);
            dual_.add(std::abs(entry.value), entry.scale);
        }
    }

    [[nodiscard]] JudgedResidual objective() {
        const std::size_t n = model_.n();
        ScaledSum sum;
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = 0; i < n; ++i) {
                sum.add(0.5 * result_.x[i] * model_.H[i + j * n] * result_.x[j]);
            }
            sum.add(model_.c[j] * result_.x[j]);
        }
        objectiveSize_ = std::abs(sum.value);
        Largest difference(Accuracy);
        difference.add(std::abs(sum.value - result_.objective), sum.scale);
        const double value = sum.value + model_.constant;
        return {model_.maximise ? 0.0 - value : value, difference.result().supports};
    }

    const io::Model& model_;
    const OneSidedRows& rows_;
    const SolveResult& result_;
    std::span<const double> equalities_;  // multipliers by kind
    std::span<const double> inequalities_;
    std::span<const double> lower_;
    std::span<const double> upper_;
    double objectiveSize_ = 0.0;  ///< |½xᵀHx + cᵀx|
    Largest primal_;
    Largest dual_;
    Largest complementarity_;
};

}  // namespace

Verdict judge(const StrictProblem& problem,
              const SolveResult& result,
              const SolverSettings& settings) {
    return Judge(problem, result, settings).verdict();
}

}  // namespace activeset::cli
