// The iteration table. Widths of titles and values differ in places: kept, output is compared
// character by character.
#include <iomanip>

#include "activeset/solver.hpp"
#include "host/console_text.hpp"

using Matrix = OPTMatrix<double>;

void IsolverAS::_iterativeDisplay(Matrix& p, Matrix& gradient, double alpha) {
    const std::string display = options->getDisplay();
    const bool isFinal = display == "final";
    const bool isTesting = display == "testing";
    if (!isFinal && !isTesting && display != "iter") {
        return;
    }
    _updateObjectiveValue();
    const double fstar = solution.fstarRef()(0, 0);
    if (isFinal) {
        if (solution.getSolutoinState() != ASQP::Undecided) {
            activeset::printValues(" fstar: ", fstar, " Active: ", ActiveSet::getmaConstr(),
                                   " Iterations: ", currentIter, '\n');
        }
        return;
    }
    activeset::printToConsole([&](std::ostream& text) {
        using std::setw;
        if (currentIter == 0) {
            text << setw(1) << "Iter" << setw(9) << "fstar";
            if (isTesting) {
                text << setw(14) << "constr" << setw(14) << "#Active" << setw(14) << "norm(sVec) "
                     << setw(14) << "alpha " << setw(14) << " norm(grad)";
            } else {
                text << setw(14) << "#Active";
            }
            text << setw(14) << "message" << '\n';
        }
        text << setw(1) << currentIter << setw(14) << fstar;
        if (isTesting) {
            text << setw(14) << _largestViolation(solution.xstarRef()) << setw(9)
                 << ActiveSet::getmaConstr() << setw(14) << p.norm() << setw(14) << alpha
                 << setw(14) << gradient.norm();
        } else {
            text << setw(9) << ActiveSet::getmaConstr();
        }
        text << setw(14) << iterMessage.text() << '\n';
    });
}
