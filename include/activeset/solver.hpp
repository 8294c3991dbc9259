// The active-set iteration, whatever the way in which directions and multipliers are computed.
#ifndef ACTIVESET_SOLVER_HPP
#define ACTIVESET_SOLVER_HPP

#include <cstddef>
#include <span>
#include <string>

#include "activeset/active_set.hpp"
#include "activeset/constraint.hpp"
#include "activeset/export.hpp"
#include "activeset/internal/carried_residuals.hpp"
#include "activeset/internal/pass_message.hpp"
#include "activeset/matrix.hpp"
#include "activeset/objective.hpp"
#include "activeset/options_solution.hpp"

/// Base of the active-set solvers: problem, working set and its matrix, iteration loop, ratio
/// test, working-set changes, stops and display. A derived class supplies the search direction
/// and the multipliers.
///
/// Position k of the working set is column k of Aw, entry k of the working-set multipliers and
/// entry k of the list Wset. n stands for OPTsizes::nVar, m for ActiveSet::maConstr.
class ACTIVESET_API IsolverAS {
public:
    /// What the last pass did to the working set, which is what the factorisation must follow.
    enum workingSetChange { NoIncrementalChange = 0, ConstraintAdded = 1, ConstraintRemoved = -1 };

    /// 1000·ε, ε = 2⁻⁵²: a constraint is approached only at a rate above this times the norm of
    /// the direction.
    static const double TolDegeneracy;

    /// Stores the pointers; the objects stay the caller's. Null is allowed until init().
    IsolverAS(IoptObjective* objective, IoptConstraint* constraint, IoptOption* options);
    /// Member-wise; the working-set lists are shared (see ActiveSet).
    IsolverAS(const IsolverAS&) = default;
    IsolverAS& operator=(const IsolverAS& other);
    virtual ~IsolverAS();

    /// One whole solve. x0 is n × 1, the lists are host columns of 1-based indices.
    virtual ASsolution operator()(IoptObjective& objective,
                                  IoptConstraint& constraint,
                                  const vxArray* x0,
                                  IoptOption& options,
                                  const vxArray* Wineq,
                                  const vxArray* Wlower,
                                  const vxArray* Wupper) = 0;
    /// p := the direction from the current point for gradient g (both n × 1), after bringing the
    /// factorisation up to date with the last working-set change. The objective's matrices must
    /// not change between two calls.
    /// @raises problemNullPointer without a bound problem; for vectors or factors that do not fit,
    ///         or matrices stored sparse, "optim:optimHstError:unhandledError"; for NullSpaceAS
    ///         "optim:activesetqp:LinearSolveError" when an objective of type "QP" is no
    ///         QPobjective
    virtual void getSearchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p) = 0;
    /// The first m entries of lambda := the multipliers of the working set, with
    /// g + Aw·lambda = 0 in the least-squares sense; the others := 0.
    virtual void computeLambda(OPTMatrix<double>& g, OPTMatrix<double>& lambda) = 0;
    /// Moves x (n × 1) onto the working-set constraints; false when that failed. The base does
    /// nothing and returns true.
    virtual bool feasibleWorkingSetX0(OPTMatrix<double>& x, IoptConstraint& constraints);

    /// Binds a problem, a point and a working set, and builds Aw; the state is then Initialized.
    /// May be called again, also for a problem of another size.
    ///
    /// @raises "optim:src:activesetqp:problemNullPointer" with "objective is a NULL pointer." or
    ///         "constraint is a NULL pointer." when there is neither a stored nor a new one;
    ///         what ActiveSet::setWsetIndices and _createAw raise
    void init(IoptObjective* objective,
              IoptConstraint* constraint,
              IoptOption* options,
              OPTMatrix<double>& x,
              const vxArray* Wfixed,
              const vxArray* Weq,
              const vxArray* Wineq,
              const vxArray* Wlower,
              const vxArray* Wupper);
    /// Releases Aw, x, lambda, newActiveConstraint and the solution record; state Undecided.
    void resetIsolverAS();
    /// Fills the columns of Aw from the working-set lists by kind. A bound whose variable is not
    /// in the index list is skipped without a column. Returns 1.
    /// @raises "optim:src:activesetqp:ActiveConstraintSizeError" when m > n; problemNullPointer and
    ///         setWsetIndicesError as ASiterations; the fault of an element access for a row that
    ///         does not exist or is shorter than n
    int _createAw();

    /// Runs passes until the outcome is decided; see docs/method.md. Needs init() and a feasible
    /// point. The outcome is in getSolution(), the multipliers of all constraints in getLambda().
    /// @raises "optim:src:activesetqp:problemNullPointer" without objective, constraint or options;
    ///         "optim:src:activesetqp:setWsetIndicesError" when this thread's counts are those of
    ///         another working set; what the steps raise
    void ASiterations();
    /// Finds the most negative multiplier among the inequalities and bounds of the working set.
    /// Returns 1 (and no departing constraint) when it is at least 0, else, also for NaN, 0.
    int _isLambdaNonNeg();
    /// For a linear objective: sets the state to Unbounded (norm of p above getErrorNorm()) or
    /// IllPosed and returns true; otherwise false. alpha stays as it is. Raises problemNullPointer
    /// without a bound problem.
    bool _unboundedOrIllPosed(OPTMatrix<double>& p, double& alpha);

    [[nodiscard]] IoptObjective* getObjective() const noexcept { return objective; }
    [[nodiscard]] IoptConstraint* getConstraint() const noexcept { return constraint; }
    [[nodiscard]] IoptOption* getOptions() const noexcept { return options; }
    [[nodiscard]] ASsolution& getSolution() noexcept { return solution; }
    [[nodiscard]] ActiveSet& getActiveSet() noexcept { return activeSet; }
    /// n × n; the first m columns count.
    [[nodiscard]] OPTMatrix<double>& getAw() noexcept { return Aw; }
    /// (mIneq + nEq + 2n) × 1: working-set multipliers during the loop, those of all constraints
    /// by constraint number after it.
    [[nodiscard]] OPTMatrix<double>& getLambda() noexcept { return lambda; }
    /// 1 × n, the row of the constraint that entered last.
    [[nodiscard]] OPTMatrix<double>& getnewActiveConstraint() noexcept {
        return newActiveConstraint;
    }
    /// Working-set position of the departing constraint, all ones when none.
    [[nodiscard]] size_t indexOfDepartingConstraint() const noexcept { return minLambdaIndex; }
    [[nodiscard]] workingSetChange getactivesetChangeIndicator() const noexcept {
        return activesetChangeIndicator;
    }
    void _setactivesetChangeIndicator(workingSetChange change) noexcept {
        activesetChangeIndicator = change;
    }
    void _setindexOfDepartingConstraint(size_t position) noexcept { minLambdaIndex = position; }
    [[nodiscard]] int _getCurrentIter() const noexcept { return currentIter; }
    void _setCurrentIter(int iteration) noexcept { currentIter = iteration; }
    void _incrementCurrentIter() noexcept;
    /// How often since init() the point had drifted off the constraints by more than TolCon and
    /// was moved back, after which Q and R were built anew.
    [[nodiscard]] int getRepairCount() const noexcept { return repairCount; }
    /// 100·n·√ε: a direction of this size or less says nothing about unboundedness.
    [[nodiscard]] double getErrorNorm() const;

    /// Removes the working-set member at `position` (0-based): the last member takes its place.
    /// @raises "optim:src:activesetqp:elementNotFound" when its kind's list does not hold it; so
    ///         it is for every equality and fixed variable. Nothing has changed then.
    ///         setWsetIndicesError as ASiterations
    void removeConstraint(size_t position);
    /// lambda: from working-set order to constraint numbers. `side` decides the side of a fixed
    /// variable's multiplier and is read only there. Raises setWsetIndicesError as ASiterations,
    /// and the fault of an element access for a number beyond lambda.
    void setLambdaForAllConstraints(OPTMatrix<double>& side);
    void setnewActiveConstraint(OPTMatrix<double> row);

protected:
    friend struct TestAccess;

    /// A constraint as the ratio test finds it.
    struct Blocking {
        bool isFound = false;     ///< it blocks the step; otherwise only alpha counts
        bool isRecorded = false;  ///< it would block a step that is longer than allowed
        activeset::ConstraintKind kind = activeset::ConstraintKind::Inequality;
        size_t number = 0;     ///< its place among all constraints
        size_t kindIndex = 0;  ///< its row, or its position in the list of bounds of its kind
        double alpha = 0.0;    ///< the step
    };
    /// Longest step along p, at most 1 for a quadratic objective, that keeps the constraints
    /// outside the working set, and the first constraint that blocks it.
    [[nodiscard]] Blocking _blockingConstraint(const OPTMatrix<double>& p);
    /// The same with the kind as a word, "ineq", "lower" or "upper". Returns 1, or −1 when nothing
    /// blocks.
    int _findBlockingConstraintAndAlpha(OPTMatrix<double>& p,
                                        size_t& constraintNumber,
                                        size_t& kindIndex,
                                        std::string& kind,
                                        double& alpha);
    /// Appends a constraint to the working set, its column to Aw, and says so in iterMessage.
    void _append(const Blocking& blocking);
    /// The same with the kind as a word; any other than "ineq" and "lower" is taken as "upper".
    void _addConstraint(size_t constraintNumber, size_t kindIndex, const std::string& kind);
    /// Column `to` of Aw := column `from`.
    void _moveConstraint(size_t to, size_t from);
    /// Counts the iteration and applies the stops: interrupt, MaxIter, feasibility every 50th
    /// iteration, objective limit.
    void _activesetUpdate(bool checkObjectiveLimit);
    /// Prints what the display option asks for.
    void _iterativeDisplay(OPTMatrix<double>& p, OPTMatrix<double>& gradient, double alpha);

    /// Asked once a pass, when its step has been made and counted; false ends the loop with
    /// MaxIterReached. For those who watch or limit a solve; the base returns true.
    [[nodiscard]] virtual bool _mayGoOn();

    // The passes of the loop, and the steps that they share.
    [[nodiscard]] bool _searchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p);
    void _directionStep(OPTMatrix<double>& p, double& alpha);
    void _multiplierPass(OPTMatrix<double>& g);
    void _findMinLambda();
    [[nodiscard]] bool _isLinear() const;
    void _updateObjectiveValue();
    void _requireProblem() const;
    [[nodiscard]] static bool _findBound(const size_t* index,
                                         size_t count,
                                         const OPTMatrix<double>& rhs,
                                         size_t variable,
                                         size_t& position);
    void _requireWorkingSet() const;

    /// Puts the three problem pointers back as they were, when a step has bound other objects.
    class ProblemGuard {
    public:
        explicit ProblemGuard(IsolverAS& solver) noexcept
            : solver_(solver),
              objective_(solver.objective),
              constraint_(solver.constraint),
              options_(solver.options) {}
        ~ProblemGuard() {
            solver_.objective = objective_;
            solver_.constraint = constraint_;
            solver_.options = options_;
        }
        ProblemGuard(const ProblemGuard&) = delete;
        ProblemGuard(ProblemGuard&&) = delete;
        ProblemGuard& operator=(const ProblemGuard&) = delete;
        ProblemGuard& operator=(ProblemGuard&&) = delete;

    private:
        IsolverAS& solver_;
        IoptObjective* objective_;
        IoptConstraint* constraint_;
        IoptOption* options_;
    };

    struct RatioScan;
    template <class IsActive, class Number>
    void _scanKind(RatioScan& scan,
                   activeset::ConstraintKind kind,
                   size_t count,
                   const OPTMatrix<double>& p,
                   IsActive isActive,
                   Number numberOf);
    void _takeResiduals(activeset::ConstraintKind kind, std::span<double> out);
    void _reservePassVectors();
    [[nodiscard]] bool _carriesResiduals() const;
    void _repairFeasibility();
    [[nodiscard]] double _largestViolation(const OPTMatrix<double>& at) const;

    IoptObjective* objective;
    IoptConstraint* constraint;
    IoptOption* options;
    OPTMatrix<double> x;
    OPTMatrix<double> lambda;
    size_t minLambdaIndex = activeset::NoIndex;
    double minLambda = 0.0;
    activeset::PassMessage iterMessage;
    int currentIter = 0;
    int repairCount = 0;
    OPTMatrix<double> Aw;
    OPTMatrix<double> newActiveConstraint;
    workingSetChange activesetChangeIndicator = NoIncrementalChange;
    ActiveSet activeSet;
    ASsolution solution;
    OPTMatrix<double> rates;      // of one kind, as long as the longest; see _reservePassVectors
    OPTMatrix<double> residuals;  // likewise
    OPTMatrix<double> ineqRates;  // those of the inequalities, until the step is made
    activeset::CarriedResiduals ineqResiduals;
    size_t smallestCarried = activeset::CarriedResiduals::SmallestProduct;  // tests change it
    bool computeDirection = true;  // the next pass computes a direction, not only multipliers
};

#endif
