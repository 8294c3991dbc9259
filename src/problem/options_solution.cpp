// Default settings and the solution record.
#include "activeset/options_solution.hpp"

#include <utility>

#include "matrix/views.hpp"

IoptOption::~IoptOption() = default;

int IoptOption::getMaxIter() const {
    return 100;
}

double IoptOption::getTolCon() const {
    return 1e-6;
}

double IoptOption::getTolFun() const {
    return 1e-6;
}

double IoptOption::getTolX() const {
    return 1e-6;
}

double IoptOption::getObjectiveLimit() const {
    return -0.0 - utGetRealMax();
}

std::string IoptOption::getDisplay() {
    return "final";
}

IoptSolution::IoptSolution(OPTMatrix<double>& x,
                           OPTMatrix<double>& f,
                           OPTMatrix<double>& multipliers,
                           ASQP::SolutionState initial)
    : fvalUpdated(true), state(initial) {
    // Assigned, not copy-constructed, so that the record owns what it holds.
    xstar = x;
    fstar = f;
    lambda = multipliers;
}

IoptSolution::IoptSolution(const IoptSolution& other) : state(other.state) {
    setxstar(other.xstar);
    setfstar(other.fstar);  // the flag is down: taken, and counted as current from now on
    lambda = other.lambda;
}

IoptSolution& IoptSolution::operator=(const IoptSolution& other) {
    if (this != &other) {
        setxstar(other.xstar);
        setfstar(other.fstar);
        lambda = other.lambda;
        state = other.state;
    }
    return *this;
}

void IoptSolution::setxstar(const OPTMatrix<double>& point) {
    xstar = point;
    fvalUpdated = false;
}

void IoptSolution::setfstar(
    OPTMatrix<double> value) {  // NOLINT(performance-unnecessary-value-param)
    if (!fvalUpdated) {
        fstar = value;
        fvalUpdated = true;
    }
}

void IoptSolution::setfstar(double value) {
    if (fvalUpdated) {
        return;
    }
    if (fstar.size() != 1) {
        fstar.reset(1, 1);
    }
    fstar(0, 0) = value;
    fvalUpdated = true;
}

void IoptSolution::step(const OPTMatrix<double>& p, double alpha) {
    if (!activeset::isStoredFull(p) || p.getRows() != xstar.getRows() ||
        p.getCols() != xstar.getCols()) {
        setxstar(xstar + p * alpha);
        return;
    }
    double* point = xstar.getData();
    const double* direction = p.getData();
    for (size_t i = 0; i < xstar.size(); ++i) {
        point[i] += direction[i] * alpha;
    }
    fvalUpdated = false;
}

void IoptSolution::setlambda(const OPTMatrix<double>& multipliers) {
    lambda = multipliers;
}

void IoptSolution::updateSolution(OPTMatrix<double>& point,
                                  OPTMatrix<double>& value,
                                  OPTMatrix<double>& multipliers,
                                  ASQP::SolutionState newState) {
    setxstar(point);
    setfstar(value);
    lambda = multipliers;
    state = newState;
}

void IoptSolution::resetSolution() {
    xstar.clear();
    fstar.clear();
    lambda.clear();
    state = ASQP::Undecided;
}

vxArray* IoptSolution::getSolutoinStateVxArray() const {
    return vxCreateDoubleScalar(static_cast<double>(state));
}
