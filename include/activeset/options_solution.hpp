// The settings of a solve and its result.
#ifndef ACTIVESET_OPTIONS_SOLUTION_HPP
#define ACTIVESET_OPTIONS_SOLUTION_HPP

#include <cstdint>
#include <string>

#include "activeset/export.hpp"
#include "activeset/matrix.hpp"

namespace ASQP {

/// How a solve ended; the code is what the entry function reports. See docs/states.md.
enum SolutionState : std::int32_t {
    /// Optimal point found.
    Optimal = 1,
    /// The iteration counter exceeded MaxIter.
    MaxIterReached = 0,
    /// The interrupt flag was pending.
    Interrupted = -1,
    /// No feasible point was found, or feasibility was lost and not restored.
    Infeasible = -2,
    /// The equalities are dependent and inconsistent, or the test of them failed.
    DependentConstraints = -3,
    /// The reduced Hessian of a quadratic objective was not positive definite.
    HessianNotPositiveDefinite = -4,
    /// The objective is at or below the objective limit.
    ObjectiveLimitReached = 2,
    /// Linear objective, unbounded along a direction of significant size.
    Unbounded = 3,
    /// Linear objective, unbounded along a direction below the error norm.
    IllPosed = 4,
    /// Set up, not yet iterated.
    Initialized = 5,
    /// The loop is running, or the record was reset.
    Undecided = -5
};

}  // namespace ASQP

/// The settings. The base returns defaults; a concrete record stores what its setters are given.
/// Phase one changes the objective limit and TolX and puts them back, also while an error unwinds:
/// setObjectiveLimit and setTolX must not raise then.
class ACTIVESET_API IoptOption {
public:
    IoptOption() = default;
    IoptOption(const IoptOption&) = default;
    IoptOption& operator=(const IoptOption&) = default;
    virtual ~IoptOption();

    /// Limit for the iteration counter of one phase; 100.
    [[nodiscard]] virtual int getMaxIter() const;
    /// Largest constraint violation that counts as feasible, absolute; 1e-6.
    [[nodiscard]] virtual double getTolCon() const;
    /// Stored only; 1e-6.
    [[nodiscard]] virtual double getTolFun() const;
    /// Euclidean norm below which a search direction counts as zero; 1e-6.
    [[nodiscard]] virtual double getTolX() const;
    /// The solve stops once the objective is at or below this; minus the largest double.
    [[nodiscard]] virtual double getObjectiveLimit() const;
    /// "off", "final", "iter" or "testing"; "final".
    [[nodiscard]] virtual std::string getDisplay();

    virtual void setMaxIter(int limit) = 0;
    virtual void setTolCon(double tolerance) = 0;
    virtual void setTolFun(double tolerance) = 0;
    virtual void setTolX(double tolerance) = 0;
    virtual void setObjectiveLimit(double limit) = 0;
    virtual void setDisplay(std::string display) = 0;
};

/// A point with its objective value, multipliers and outcome.
///
/// Set the point first and the value after it: setfstar only takes a value while the stored one
/// does not belong to the point.
class ACTIVESET_API IoptSolution {
public:
    /// Empty matrices; fvalUpdated false, state Undecided.
    IoptSolution() = default;
    /// Copies the matrices; the value counts as that of x.
    IoptSolution(OPTMatrix<double>& x,
                 OPTMatrix<double>& f,
                 OPTMatrix<double>& lambda,
                 ASQP::SolutionState state);
    /// A copy counts its value as current, whatever the source says.
    IoptSolution(const IoptSolution& other);
    IoptSolution& operator=(const IoptSolution& other);
    ~IoptSolution() = default;

    /// Point nVar × 1; marks the value as not current.
    void setxstar(const OPTMatrix<double>& x);
    /// Value 1 × 1; ignored while the stored value is current.
    void setfstar(OPTMatrix<double> f);
    /// The same with a number; the record holds a value from then on.
    void setfstar(double f);
    /// Point := point + alpha·p, p nVar × 1; marks the value as not current. Raises what the sum
    /// of matrices does.
    void step(const OPTMatrix<double>& p, double alpha);
    void setlambda(const OPTMatrix<double>& multipliers);
    void updateSolution(OPTMatrix<double>& x,
                        OPTMatrix<double>& f,
                        OPTMatrix<double>& multipliers,
                        ASQP::SolutionState newState);
    /// Releases the three matrices and sets the state to Undecided.
    void resetSolution();

    /// Copies.
    [[nodiscard]] OPTMatrix<double> getxstar() const { return xstar; }
    [[nodiscard]] OPTMatrix<double> getfstar() const { return fstar; }
    [[nodiscard]] OPTMatrix<double> getlambda() const { return lambda; }
    /// The same without a copy, valid until the record changes.
    [[nodiscard]] const OPTMatrix<double>& xstarRef() const noexcept { return xstar; }
    [[nodiscard]] const OPTMatrix<double>& fstarRef() const noexcept { return fstar; }
    [[nodiscard]] const OPTMatrix<double>& lambdaRef() const noexcept { return lambda; }

    void setSolutionState(ASQP::SolutionState newState) noexcept { state = newState; }
    [[nodiscard]] ASQP::SolutionState getSolutoinState() const noexcept { return state; }
    [[nodiscard]] bool isFvalUpdated() const noexcept { return fvalUpdated; }

    /// New host arrays with the values; the caller (its CallScope) owns them.
    [[nodiscard]] vxArray* getxstarVxArray() const { return xstar.toVxArray(); }
    [[nodiscard]] vxArray* getfstarVxArray() const { return fstar.toVxArray(); }
    [[nodiscard]] vxArray* getlambdaVxArray() const { return lambda.toVxArray(); }
    /// 1 × 1, the code.
    [[nodiscard]] vxArray* getSolutoinStateVxArray() const;

private:
    OPTMatrix<double> xstar;
    OPTMatrix<double> fstar;
    bool fvalUpdated = false;
    OPTMatrix<double> lambda;
    ASQP::SolutionState state = ASQP::Undecided;
};

/// What the solvers return.
class ACTIVESET_API ASsolution : public IoptSolution {
public:
    using IoptSolution::IoptSolution;
};

#endif
