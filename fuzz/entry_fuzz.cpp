// The entry function with any arrays: it returns or raises as promised, leaks nothing, writes to no
// input, and the next call works.
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <tuple>

#include "activeset/driver.hpp"
#include "activeset/options_solution.hpp"
#include "entry_call.hpp"
#include "judge.hpp"
#include "support/plain_problem.hpp"
#include "thread_state.hpp"

namespace activeset::fuzz {
namespace {

constexpr std::array<KnownError, 10> KnownErrors{
    {{"optim:src:DataTypeError", ""},
     {AssertionIdentifier, "Size mismatch in QP problem setup."},
     {AssertionIdentifier, "Size mismatch in equality constraints."},
     {AssertionIdentifier, "Size mismatch in inequality constraints."},
     {AssertionIdentifier, "Error calling DTRTRS from NullSpaceAS::_computeLambda"},
     {"optim:optimHstError:unhandledError", ""},
     {"optim:activesetqp:ActiveInequalitySizeError", ""},
     {"optim:activesetqp:ActiveLowerBoundSizeError", ""},
     {"optim:activesetqp:ActiveUpperBoundSizeError", ""},
     {"optim:src:activesetqp:elementNotFound", ""}}};

struct Outcome {
    std::optional<HostError> error;
    std::optional<test::Result> result;  ///< if all eight arrays were requested
    std::size_t printed = 0;
};

void judgeForm(const test::Outputs& out, std::uint8_t outMask) {
    for (std::size_t i = 0; i < out.size(); ++i) {
        const vxArray* array = out.at(i);
        const bool isWanted = (unsigned{outMask} >> i & 1U) == 0;
        require(isWanted == (array != nullptr), "a wanted result is missing");
        require(array == nullptr || (vxIsDouble(array) && !vxIsComplex(array) &&
                                     !vxIsSparse(array) && vxGetN(array) == 1),
                "a result is no full real column of doubles");
        require(array == nullptr || !vxIsPersistent(array), "a result is persistent");
        require(array == nullptr || std::count(out.begin(), out.end(), array) == 1,
                "an array is handed out twice");
    }
}

Outcome invoke(const EntryCall& call, const EntryArrays& arrays) {
    const std::vector<std::string> before = arrays.contents();
    const std::vector<std::size_t> counts = test::counts();
    const LeakCheck leaks;
    Outcome outcome;
    test::Outputs out{};
    std::array<vxArray**, 8> targets{};
    for (std::size_t i = 0; i < out.size(); ++i) {
        targets.at(i) = (call.outMask >> i & 1U) != 0 ? nullptr : &out.at(i);
    }
    try {
        const SilencedStream console(std::cout);
        utInterruptState::flags_pending = call.interrupt ? 1 : 0;
        const int returned = std::apply([](auto... all) { return NullSpaceASdriver(all...); },
                                        std::tuple_cat(arrays.in, targets));
        require(returned == 1, "the entry function did not return 1");
        outcome.printed = console.count();
    } catch (const HostError& error) {
        outcome.error = error;
    }
    utInterruptState::flags_pending = 0;
    if (outcome.error) {
        require(out == test::Outputs{}, "an output pointer was written although the call failed");
        require(test::counts() == counts, "a call that failed changed the thread's counts");
        require(lastSolveReport().iterations == 0, "a call that failed left a report");
    } else {
        judgeForm(out, call.outMask);
        if (call.outMask == 0) {
            outcome.result = test::resultOf(out);
        }
        std::for_each(out.begin(), out.end(), vxDestroyArray);
    }
    leaks.judge();
    require(matrixPoolSize() == 0, "matrices left in the pool");
    require(arrays.contents() == before, "an input was written to");
    return outcome;
}

/// The point must be feasible, the gradient of the Lagrangian zero, and multipliers zero for
/// inactive constraints, up to a tolerance for small numbers.
void judgeOptimal(const test::Problem& problem, const test::Result& result) {
    constexpr double Tolerance = 1e-5;
    const std::size_t n = problem.n();
    std::vector<double> gradient = problem.c;
    std::vector<double> scales(n, 1.0);
    const auto add = [&](std::size_t j, double term) {
        gradient[j] += term;
        scales[j] += std::abs(term);
    };
    for (std::size_t i = 0; i < n * n; ++i) {
        add(i % n, problem.H[i % n][i / n] * result.x[i / n]);
    }
    for (const test::RowConstraint& constraint : test::constraintsOf(problem)) {
        const double lambda = result.lambda[constraint.number];
        double slack = constraint.rhs;
        double scale = 1.0 + std::abs(slack);
        for (std::size_t j = 0; j < n; ++j) {
            const double term = constraint.row[j] * result.x[j];
            slack -= term;
            scale += std::abs(term);
            add(j, lambda * constraint.row[j]);
        }
        if (constraint.isEquality) {
            require(std::abs(slack) <= Tolerance * scale, "an equality is violated");
            continue;
        }
        require(slack >= -Tolerance * scale, "a constraint is violated");
        require(lambda >= 0.0, "a multiplier is negative");
        require(lambda == 0.0 || slack <= Tolerance * scale,
                "a constraint that is not active has a multiplier");
    }
    for (std::size_t j = 0; j < n; ++j) {
        require(std::abs(gradient[j]) <= Tolerance * (scales[j] + std::abs(problem.c[j])),
                "the gradient of the Lagrangian is not zero");
    }
}

/// Checks what a sound problem promises about its results.
void judgeSound(const EntryCall& call, const test::Result& result) {
    const test::Problem& problem = call.problem;
    const std::size_t n = problem.n();
    require(result.x.size() == n, "the point has another length");
    require(result.lambda.size() == problem.A.size() + problem.Aeq.size() + 2 * n,
            "lambda has another length");
    require(result.state <= 1 && result.state >= -4, "unknown state");
    const bool wasCutShort = lastSolveReport().phaseOneIterations > call.limits.maxIter;
    if (call.isFeasible && !call.interrupt) {
        require(result.state != ASQP::DependentConstraints, "consistent equalities are refused");
        require(result.state != ASQP::Infeasible || wasCutShort,
                "a feasible problem is infeasible");
    }
    if (call.isStrictlyConvex) {
        require(result.state != ASQP::HessianNotPositiveDefinite, "H is positive definite");
        if (result.state == ASQP::Optimal) {
            judgeOptimal(problem, result);
        }
    }
}

bool isOutOfMemory(const HostError& error) {
    return error.identifier() == OutOfMemoryIdentifier;
}

void judge(const EntryCall& call, const EntryArrays& arrays, const Outcome& outcome) {
    if (outcome.error) {
        const bool isKnown = isAmong(KnownErrors, *outcome.error) ||
                             (isOutOfMemory(*outcome.error) && arrays.hasImmense());
        if (!isKnown || call.isSound) {
            condemnError(*outcome.error);
        }
    } else if (call.isSound) {
        require(outcome.printed == 0 || call.display.size() > 3, "display off printed something");
        if (outcome.result) {
            judgeSound(call, *outcome.result);
        }
    }
}

/// Repeats the call, perhaps with requests for memory refused. It must raise the error for that,
/// raise the same error as before, or give the same results.
void judgeAgain(const EntryCall& call, const EntryArrays& arrays, const Outcome& expected) {
    const Outcome outcome = invoke(call, arrays);
    if (outcome.error && isOutOfMemory(*outcome.error)) {
        return;
    }
    require(outcome.error.has_value() == expected.error.has_value(), "another way to end");
    require(!outcome.error || std::string(outcome.error->what()) == expected.error->what(),
            "another error");
    require(outcome.result == expected.result, "the same call gave other results");
    require(outcome.printed == expected.printed, "the same call printed something else");
}

/// A small problem that needs phase one, multipliers of every sign and a departing constraint.
test::Result solveFixed() {
    EntryCall call;
    call.problem = {.H = {{4, 1, 0}, {1, 3, 1}, {0, 1, 2}},
                    .c = {-8, -6, 3},
                    .A = {{1, -1, 2}, {1, 1, 0}},
                    .b = {4, 0.5},
                    .Aeq = {{1, 1, 1}},
                    .beq = {2.5},
                    .lb = {0, 0, 0.25},
                    .ub = {1.25, 9, 9},
                    .x0 = {7, -5, 11},
                    .Wlower = {1}};
    call.isStrictlyConvex = true;
    const EntryArrays arrays(call);
    const Outcome outcome = invoke(call, arrays);
    judge(call, arrays, outcome);
    require(lastSolveReport().phaseOneRan, "the fixed problem does not need phase one");
    return *outcome.result;
}

void run(Bytes& bytes) {
    EntryCall call = decodeCall(bytes);
    std::optional<CallScope> scope;
    if (bytes.oneIn(2)) {
        scope.emplace();
    }
    EntryArrays arrays(call);
    for (std::size_t damages = bytes.below(5); damages > 0; --damages) {
        arrays.damage(bytes);
        call.isSound = false;
    }
    const Outcome outcome = invoke(call, arrays);
    judge(call, arrays, outcome);
    if (call.repeat) {
        judgeAgain(call, arrays, outcome);
    }
    if (call.failAt != 0) {
        const AllocationFaults faults(call.failAt, call.failures);
        judgeAgain(call, arrays, outcome);
    }
}

}  // namespace
}  // namespace activeset::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace activeset::fuzz;
    static const activeset::test::Result expected = solveFixed();
    Bytes bytes(data, size);
    const LeakCheck leaks;
    run(bytes);
    leaks.judge();
    require(solveFixed() == expected, "the fixed problem has other results than before");
    return 0;
}
