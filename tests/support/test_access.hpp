// The one friend of the solver classes: reaches their private steps and members.
#ifndef ACTIVESET_TESTS_SUPPORT_TEST_ACCESS_HPP
#define ACTIVESET_TESTS_SUPPORT_TEST_ACCESS_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "activeset/null_space.hpp"
#include "host/handles.hpp"
#include "nullspace/workspace.hpp"

/// Add a forwarding function here for every private step that a test needs.
struct TestAccess {
    static int findBlocking(IsolverAS& solver,
                            OPTMatrix<double>& p,
                            size_t& number,
                            size_t& kindIndex,
                            std::string& kind,
                            double& alpha) {
        return solver._findBlockingConstraintAndAlpha(p, number, kindIndex, kind, alpha);
    }
    static void add(IsolverAS& solver, size_t number, size_t kindIndex, const std::string& kind) {
        solver._addConstraint(number, kindIndex, kind);
    }
    static void update(IsolverAS& solver, bool checkObjectiveLimit) {
        solver._activesetUpdate(checkObjectiveLimit);
    }
    static void display(IsolverAS& solver,
                        OPTMatrix<double>& p,
                        OPTMatrix<double>& gradient,
                        double alpha) {
        solver._iterativeDisplay(p, gradient, alpha);
    }
    static std::string& message(IsolverAS& solver) { return solver.iterMessage; }

    static activeset::ReducedHessian& reducedHessian(NullSpaceAS& solver) {
        return solver._workspace().reducedHessian;
    }
    /// The plain computation: ZᵀHZ is formed and factorised in every direction pass.
    static void forbidUpdates(NullSpaceAS& solver) { solver._workspace().updatesAllowed = false; }
    static std::vector<size_t> workingSet(NullSpaceAS& solver) {
        const size_t* list = solver.getActiveSet().getWset();
        return {list, list + ActiveSet::getmaConstr()};
    }

    static void newQR(NullSpaceAS& solver) { solver._newQR(); }
    static void insertColumn(NullSpaceAS& solver, OPTMatrix<double>& a) {
        solver._QRinsertColumn(a);
    }
    static void deleteColumn(NullSpaceAS& solver, size_t j) { solver._QRdeleteColumn(j); }
    static double planerot(double a, double b, OPTMatrix<double>& G) {
        return NullSpaceAS::_planerot(a, b, G);
    }
    static void getQRE(NullSpaceAS& solver,
                       OPTMatrix<double>& A,
                       OPTMatrix<double>& Q,
                       OPTMatrix<double>& tau,
                       std::int64_t* jpvt,
                       bool wantQ) {
        solver._getQRE(A, Q, tau, jpvt, A.getRows(), A.getCols(), wantQ);
    }
    static int symPosDefSolve(NullSpaceAS& solver, OPTMatrix<double>& A, OPTMatrix<double>& B) {
        double spare = 0.0;
        return solver._symPosDefLinearSolve(A, B, spare);
    }

    static std::int64_t removeDependentEq(NullSpaceAS& solver, IoptConstraint& constraints) {
        return solver._removeDependentEq(constraints);
    }
    static void makeIndependent(NullSpaceAS& solver) { solver._makeWorkingSetIndependent(); }
    static int reportRank(NullSpaceAS& solver) { return solver._isWorkingSetFullRank(); }
    static void createLists(NullSpaceAS& solver, const std::vector<size_t>* removed) {
        const size_t* numbers = removed == nullptr ? nullptr : removed->data();
        const size_t count = removed == nullptr ? 0 : removed->size();
        solver._createWfixed(numbers, count);
        solver._createWeq(numbers, count);
    }
    static void resizeLists(NullSpaceAS& solver) { solver._resizeWorkingSetInfo(); }
    static void createbw(NullSpaceAS& solver, OPTMatrix<double>& bw, IoptConstraint& constraints) {
        solver._createbw(bw, constraints);
    }
    /// The five initial lists: fixed, eq, ineq, lower, upper.
    static std::vector<std::shared_ptr<vxArray>> lists(const NullSpaceAS& solver) {
        return {solver.WfixedArray, solver.WeqArray, solver.WineqArray, solver.WlowerArray,
                solver.WupperArray};
    }
    static void setLists(NullSpaceAS& solver, const std::vector<vxArray*>& five) {
        std::shared_ptr<vxArray>* const members[] = {&solver.WfixedArray, &solver.WeqArray,
                                                     &solver.WineqArray, &solver.WlowerArray,
                                                     &solver.WupperArray};
        for (size_t k = 0; k < five.size(); ++k) {
            *members[k] = activeset::ownedArray(five[k]);
        }
    }
    /// What phase one left: ineq, lower, upper.
    static std::vector<std::shared_ptr<vxArray>> phaseOneLists(const NullSpaceAS& solver) {
        return {solver.WineqPhaseOne, solver.WlowerPhaseOne, solver.WupperPhaseOne};
    }
    static void phaseOne(NullSpaceAS& solver,
                         IoptConstraint& constraints,
                         IoptOption& options,
                         double& violation,
                         OPTMatrix<double>& x) {
        solver._phaseOneSolve(&constraints, &options, violation, x);
    }
};

#endif
