// Calls the entry function with host arrays over the vectors of a problem, and copies the results.
#include "cli/solve_problem.hpp"

#include <algorithm>
#include <limits>

#include "activeset/driver.hpp"
#include "activeset/host.hpp"
#include "cli/interrupt.hpp"

namespace activeset::cli {

namespace {

std::vector<double> copyOf(const vxArray* array) {
    const double* const values = vxGetDoubles(array);
    return {values, values + vxGetNumberOfElements(array)};
}

int defaultMaxIter(const StrictProblem& problem) {
    constexpr std::size_t AtLeast = 200;
    const std::size_t limit =
        std::max(AtLeast, 10 * (problem.n() + problem.mIneq() + problem.mEq()));
    return static_cast<int>(
        std::min(limit, static_cast<std::size_t>(std::numeric_limits<int>::max())));
}

}  // namespace

SolveResult solveProblem(StrictProblem& problem, const SolverSettings& settings) {
    const CallScope scope;
    SolveResult result;
    result.maxIter = settings.maxIter.value_or(defaultMaxIter(problem));
    auto& [model, rows] = problem;
    const std::size_t n = problem.n();
    const std::size_t mIneq = problem.mIneq();
    const std::size_t mEq = problem.mEq();
    vxArray* x = nullptr;
    vxArray* objective = nullptr;
    vxArray* lambda = nullptr;
    vxArray* equalities = nullptr;
    vxArray* inequalities = nullptr;
    vxArray* lower = nullptr;
    vxArray* upper = nullptr;
    vxArray* code = nullptr;
    const auto matrix = [n](std::vector<double>& values, std::size_t count) {
        return vxWrapDoubleMatrix(values.data(), count, n);
    };
    const auto column = [](std::vector<double>& values) {
        return vxWrapDoubleMatrix(values.data(), values.size(), 1);
    };
    NullSpaceASdriver(matrix(model.H, n), column(model.c), matrix(rows.A, mIneq), column(rows.b),
                      matrix(rows.Aeq, mEq), column(rows.beq), column(model.lower),
                      column(model.upper), vxCreateDoubleMatrix(n, 1, vxComplexity::Real), nullptr,
                      nullptr, nullptr, vxCreateDoubleScalar(result.maxIter),
                      vxCreateDoubleScalar(settings.tolCon), vxCreateDoubleScalar(settings.tolFun),
                      vxCreateDoubleScalar(settings.tolX), vxCreateCharArray(settings.display), &x,
                      &objective, &lambda, &equalities, &inequalities, &lower, &upper, &code);
    result.interrupted = InterruptHandler::isPending();
    result.code = static_cast<int>(vxGetElement(code, 0, 0));
    result.x = copyOf(x);
    result.objective = vxGetElement(objective, 0, 0);
    result.lambda = copyOf(lambda);
    result.activeEqualities = vxGetNumberOfElements(equalities);
    result.activeInequalities = vxGetNumberOfElements(inequalities);
    result.activeLower = vxGetNumberOfElements(lower);
    result.activeUpper = vxGetNumberOfElements(upper);
    const SolveReport report = lastSolveReport();
    result.iterations = report.iterations;
    result.phaseOneIterations = report.phaseOneIterations;
    result.phaseOneRan = report.phaseOneRan;
    return result;
}

}  // namespace activeset::cli
