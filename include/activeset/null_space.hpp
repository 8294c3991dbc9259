// The null-space active-set solver.
#ifndef ACTIVESET_NULL_SPACE_HPP
#define ACTIVESET_NULL_SPACE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "activeset/export.hpp"
#include "activeset/matrix.hpp"
#include "activeset/solver.hpp"

namespace activeset {
struct NullSpaceWorkspace;
}

/// Solves one problem by the primal null-space active-set method: a full QR factorisation of the
/// working-set matrix, Aw = Q·R, kept up to date with plane rotations; the trailing columns of Q
/// are the null-space basis Z in which the search direction is computed.
///
/// n stands for OPTsizes::nVar, m for ActiveSet::maConstr. Between passes the first m columns of
/// Q times the leading m × m triangle of QRwset are the first m columns of Aw.
class ACTIVESET_API NullSpaceAS : public IsolverAS {
public:
    NullSpaceAS();
    /// Copies share the host lists and the working-set lists.
    NullSpaceAS(const NullSpaceAS&) = default;
    NullSpaceAS& operator=(const NullSpaceAS& other);
    ~NullSpaceAS() override;

    /// One whole solve: prepares the working set and a feasible start, runs phase one if the start
    /// violates the constraints by more than TolCon, then iterates. The objective must have been
    /// built before the constraint set. x0 and the lists are read only; null lists are empty.
    /// Temporary arrays that the steps hand to the host are reclaimed before it returns.
    ///
    /// @return a copy of the solution record; its state says how the solve ended
    /// @raises what the steps raise. The counts, the options and the bound problem of this object
    ///         are then as before the failing phase one, and the object may be used again.
    ASsolution operator()(IoptObjective& objective,
                          IoptConstraint& constraint,
                          const vxArray* x0,
                          IoptOption& options,
                          const vxArray* Wineq,
                          const vxArray* Wlower,
                          const vxArray* Wupper) override;
    /// p = −Z(ZᵀHZ)⁻¹Zᵀg for a quadratic objective, −ZZᵀg for a linear one or when ZᵀHZ is not
    /// positive definite; the state is then HessianNotPositiveDefinite.
    void getSearchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p) override;
    /// Solves R·u = Qᵀg; lambda = −u. Raises the assertion "Error calling DTRTRS from
    /// NullSpaceAS::_computeLambda" when R has a zero on its diagonal.
    void computeLambda(OPTMatrix<double>& g, OPTMatrix<double>& lambda) override;
    /// x + d, d the minimum-norm solution of Awᵀd = bw − Awᵀx, or the minimum-norm solution of
    /// Awᵀx = bw where that violates the constraints less; ties go to x + d. The factors of the
    /// working set are left alone. False, x unchanged, when the least-squares solve fails.
    bool feasibleWorkingSetX0(OPTMatrix<double>& x, IoptConstraint& constraints) override;

    /// Allocates Q, QRwset and tau for the sizes in force unless they fit.
    void initializeFactorization();
    /// Releases them.
    void resetFactorization();
    /// Prints rows and columns of QRwset and whether the factors are allocated.
    void PrintSizes();

    /// n × n, n × min(n, mConstr), n × 1.
    [[nodiscard]] OPTMatrix<double>& getQ() noexcept { return Q; }
    [[nodiscard]] OPTMatrix<double>& getQRwset() noexcept { return QRwset; }
    [[nodiscard]] OPTMatrix<double>& getTau() noexcept { return tau; }
    [[nodiscard]] bool isInitialized() const noexcept { return initialized; }

    /// How phase one of the last solve ended. The solve itself reports Infeasible whenever phase
    /// one left a violation, whatever stopped it: only this tells a proof from a limit.
    struct PhaseOneOutcome {
        bool hasRun = false;
        ASQP::SolutionState state = ASQP::Undecided;
        int iterations = 0;
        int repairs = 0;         ///< as getRepairCount()
        double violation = 0.0;  ///< the artificial variable at the end
    };
    [[nodiscard]] const PhaseOneOutcome& getPhaseOneOutcome() const noexcept {
        return phaseOneOutcome;
    }
    /// The equalities (0-based rows of Aeq) that the last solve left out because they depend on
    /// others and agree with them; behind them, counted on from mEq, fixed variables. Empty when
    /// they are inconsistent, which is the state DependentConstraints.
    [[nodiscard]] const std::vector<size_t>& getDroppedEqualities() const noexcept {
        return droppedEqualities;
    }

private:
    friend struct TestAccess;
    using HostList = std::shared_ptr<vxArray>;  // column of 1-based indices, persistent

    // Factorisation.
    void _copyAw(OPTMatrix<double>& target) const;
    void _getQR();
    void _getNull();
    void _newQR();
    static void _getQRE(OPTMatrix<double>& A,
                        OPTMatrix<double>& Qout,
                        OPTMatrix<double>& tauOut,
                        std::int64_t* jpvt,
                        size_t m,
                        size_t n,
                        bool wantQ);
    void _QRinsertColumn(OPTMatrix<double>& a);
    void _QRdeleteColumn(size_t j);
    [[nodiscard]] static double _planerot(double a, double b, OPTMatrix<double>& G);
    void _rotateRowsAndQ(size_t row, size_t pivotColumn, size_t columns);
    void _followDeletion();
    [[nodiscard]] activeset::NullSpaceWorkspace& _workspace();

    // Direction and multipliers.
    int _solveSubProblem(OPTMatrix<double>& g, OPTMatrix<double>& p);
    [[nodiscard]] QPobjective* _quadraticObjective() const;
    [[nodiscard]] bool _followKeptFactor(OPTMatrix<double>& H,
                                         size_t nz,
                                         const double* reduced,
                                         OPTMatrix<double>& p);
    int _solveReduced(OPTMatrix<double>& H, size_t nz, double* reduced);
    int _solveReducedPlainly(OPTMatrix<double>& H, size_t nz, double* reduced);
    int _symPosDefLinearSolve(OPTMatrix<double>& A, OPTMatrix<double>& B, double& spare);
    void _computeLambda(OPTMatrix<double>& g, OPTMatrix<double>& lambda);

    // Working-set lists and dependent constraints.
    void _createWeq(const size_t* removed, size_t nRemoved);
    void _createWfixed(const size_t* removed, size_t nRemoved);
    void _resizeWorkingSetInfo();
    void _restoreWorkingSetInfo();
    void _createbw(OPTMatrix<double>& bw, IoptConstraint& constraints);
    [[nodiscard]] std::int64_t _removeDependentEq(IoptConstraint& constraints);
    [[nodiscard]] static std::int64_t _numberOfDependentEq(OPTMatrix<double>& M,
                                                           OPTMatrix<double>& rhs);
    static void _indexOfDependentEq(OPTMatrix<double>& Mt, size_t* idx, std::int64_t count);
    void _makeWorkingSetIndependent();
    void _pivotWorkingSet(std::int64_t* jpvt);
    void _removeDependentIneq(size_t* list, size_t n);
    int _isWorkingSetFullRank();

    // Start.
    bool _preSolveWorkingSet(IoptObjective& objective,
                             IoptConstraint& constraint,
                             IoptOption& options,
                             OPTMatrix<double>& x,
                             const vxArray* Wineq,
                             const vxArray* Wlower,
                             const vxArray* Wupper);
    void _phaseOneSolve(IoptConstraint* constraints,
                        IoptOption* options,
                        double& maxViolation,
                        OPTMatrix<double>& x);
    void _getWindexFromPhaseOne();
    [[nodiscard]] ASsolution _infeasibleSolution(IoptObjective& objective, OPTMatrix<double>& x);

    OPTMatrix<double> Q;
    OPTMatrix<double> QRwset;
    OPTMatrix<double> tau;
    bool initialized = false;
    HostList WeqArray;
    HostList WfixedArray;
    HostList WineqArray;
    HostList WlowerArray;
    HostList WupperArray;
    size_t nWlowerSaved = 0;  // row counts before _resizeWorkingSetInfo shortened the lists
    size_t nWupperSaved = 0;
    size_t nWineqSaved = 0;
    HostList WineqPhaseOne;
    HostList WlowerPhaseOne;
    HostList WupperPhaseOne;
    PhaseOneOutcome phaseOneOutcome;
    std::vector<size_t> droppedEqualities;
    std::shared_ptr<activeset::NullSpaceWorkspace> workspace;  // a copy makes one of its own
};

#endif
