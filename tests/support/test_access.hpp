// The one friend of the solver classes: gives access to their private steps and members.
#ifndef ACTIVESET_TESTS_SUPPORT_TEST_ACCESS_HPP
#define ACTIVESET_TESTS_SUPPORT_TEST_ACCESS_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "activeset/null_space.hpp"
#include "host/handles.hpp"
#include "nullspace/workspace.hpp"

/// Every private step that a test needs gets a forwarding function here.
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
    static activeset::PassMessage& note(IsolverAS& solver) { return solver.iterMessage; }
    static std::string message(const IsolverAS& solver) { return solver.iterMessage.text(); }

    /// Residuals are carried if the inequalities have at least this many matrix elements.
    static void carryResidualsFrom(IsolverAS& solver, size_t elements) {
        solver.smallestCarried = elements;
    }
    static const activeset::CarriedResiduals& carriedResiduals(const IsolverAS& solver) {
        return solver.ineqResiduals;
    }
    static activeset::ReducedHessian& reducedHessian(NullSpaceAS& solver) {
        return solver._workspace().reducedHessian;
    }
    /// Without updates every direction forms ZᵀHZ afresh and keeps no factor of it.
    static void allowUpdates(NullSpaceAS& solver, bool isAllowed) {
        solver._workspace().updatesAllowed = isAllowed;
    }
    static void newQR(NullSpaceAS& solver) { solver._newQR(); }
    static void insertColumn(NullSpaceAS& solver, OPTMatrix<double>& a) {
        solver._QRinsertColumn(a);
    }
    static void deleteColumn(NullSpaceAS& solver, size_t j) { solver._QRdeleteColumn(j); }
    static std::int64_t removeDependentEq(NullSpaceAS& solver, IoptConstraint& constraints) {
        return solver._removeDependentEq(constraints);
    }
    static void makeIndependent(NullSpaceAS& solver) { solver._makeWorkingSetIndependent(); }
    static int reportRank(NullSpaceAS& solver) { return solver._isWorkingSetFullRank(); }
    static void resizeLists(NullSpaceAS& solver) { solver._resizeWorkingSetInfo(); }
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
    /// The lists of inequalities, lower and upper bounds that phase one left.
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
