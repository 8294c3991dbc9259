// The one friend of the solver classes: reaches their private steps and members.
#ifndef ACTIVESET_TESTS_SUPPORT_TEST_ACCESS_HPP
#define ACTIVESET_TESTS_SUPPORT_TEST_ACCESS_HPP

#include <string>

#include "activeset/null_space.hpp"

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

    static void newQR(NullSpaceAS& solver) { solver._newQR(); }
    static void insertColumn(NullSpaceAS& solver, OPTMatrix<double>& a) {
        solver._QRinsertColumn(a);
    }
    static void deleteColumn(NullSpaceAS& solver, size_t j) { solver._QRdeleteColumn(j); }
};

#endif
