// The entry function under any arrays: whatever it is given, it returns or raises as promised,
// leaks nothing, writes to no input, and is as good as new for the next call.
#include <array>
#include <cmath>
#include <cstdint>
#include <list>
#include <optional>
#include <tuple>

#include "activeset/driver.hpp"
#include "activeset/options_solution.hpp"
#include "call_plan.hpp"
#include "judge.hpp"
#include "thread_state.hpp"

namespace activeset::fuzz {
namespace {

constexpr std::string_view MatrixFault = "optim:optimHstError:unhandledError";

constexpr std::array<KnownError, 15> KnownErrors{
    {{"optim:src:DataTypeError", ""},
     {AssertionIdentifier, "Size mismatch in QP problem setup."},
     {AssertionIdentifier, "Size mismatch in equality constraints."},
     {AssertionIdentifier, "Size mismatch in inequality constraints."},
     {AssertionIdentifier, "Error calling DTRTRS from NullSpaceAS::_computeLambda"},
     {MatrixFault, "Index exceed number of row."},
     {MatrixFault, "Index exceed number of columns."},
     {MatrixFault, "Incompatible dimensions for matrix multiplication"},
     {MatrixFault, "Incompatible dimensions for matrix addition"},
     {MatrixFault, "Incompatible dimensions for matrix subtraction"},
     {MatrixFault, "Incompatible dimensions for matrix assignment"},
     {"optim:activesetqp:ActiveInequalitySizeError", ""},
     {"optim:activesetqp:ActiveLowerBoundSizeError", ""},
     {"optim:activesetqp:ActiveUpperBoundSizeError", ""},
     {"optim:src:activesetqp:elementNotFound", ""}}};

using Outputs = std::array<vxArray*, 8>;
/// The bytes of the eight results; one that was not wanted is empty.
using Results = std::array<std::string, 8>;

struct Outcome {
    std::optional<HostError> error;
    Results results;
    std::size_t printed = 0;
};

/// The arrays of a call while they exist.
class Arrays {
public:
    explicit Arrays(const CallPlan& plan) {
        for (std::size_t i = 0; i < Input::Count; ++i) {
            in_.at(i) = live_.emplace_back(plan.in.at(i)).get();
            before_.at(i) = contentOf(in_.at(i));
        }
    }

    [[nodiscard]] const std::array<const vxArray*, Input::Count>& in() const { return in_; }
    void judgeUntouched() const {
        for (std::size_t i = 0; i < Input::Count; ++i) {
            require(contentOf(in_.at(i)) == before_.at(i), "an input was written to");
        }
    }

private:
    std::list<LiveArray> live_;
    std::array<const vxArray*, Input::Count> in_{};
    std::array<std::string, Input::Count> before_;
};

void judgeForm(const Outputs& out) {
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (out.at(i) == nullptr) {
            continue;
        }
        const vxArray* array = out.at(i);
        require(vxIsDouble(array) && !vxIsComplex(array) && !vxIsSparse(array),
                "a result is no full real array of doubles");
        require(!vxIsPersistent(array), "a result is persistent");
        require(vxGetN(array) == 1, "a result is no column");
        require(std::count(out.begin(), out.end(), array) == 1, "an array is handed out twice");
    }
}

Outcome call(const CallPlan& plan, const Arrays& arrays) {
    const Counts counts = countsOfThread();
    const LeakCheck leaks;
    Outcome outcome;
    Outputs out{};
    std::array<vxArray**, 8> targets{};
    for (std::size_t i = 0; i < out.size(); ++i) {
        targets.at(i) = (plan.outMask >> i & 1U) != 0 ? nullptr : &out.at(i);
    }
    try {
        const SilencedStream console(std::cout);
        utInterruptState::flags_pending = plan.interrupt ? 1 : 0;
        const int returned = std::apply([](auto... all) { return NullSpaceASdriver(all...); },
                                        std::tuple_cat(arrays.in(), targets));
        require(returned == 1, "the entry function did not return 1");
        outcome.printed = console.count();
    } catch (const HostError& error) {
        outcome.error = error;
    }
    utInterruptState::flags_pending = 0;
    if (outcome.error) {
        require(out == Outputs{}, "an output pointer was written although the call failed");
        require(countsOfThread() == counts, "a call that failed changed the thread's counts");
        require(lastSolveReport().iterations == 0, "a call that failed left a report");
    } else {
        judgeForm(out);
        for (std::size_t i = 0; i < out.size(); ++i) {
            require((out.at(i) == nullptr) == (targets.at(i) == nullptr),
                    "a wanted result is missing");
            outcome.results.at(i) = out.at(i) == nullptr ? std::string() : contentOf(out.at(i));
            vxDestroyArray(out.at(i));
        }
    }
    leaks.judge();
    require(matrixPoolSize() == 0, "matrices left in the pool");
    arrays.judgeUntouched();
    return outcome;
}

std::vector<double> numbersOf(const std::string& content) {
    constexpr std::size_t Header = 2 * sizeof(std::size_t) + 2;  // see contentOf
    std::vector<double> numbers((content.size() - Header) / sizeof(double));
    if (!numbers.empty()) {
        std::memcpy(numbers.data(), content.data() + Header, numbers.size() * sizeof(double));
    }
    return numbers;
}

/// What a sound problem promises about its results, to tolerances that suit its small numbers.
class SoundResult {
public:
    SoundResult(const CallPlan& plan, const Results& results)
        : plan_(plan),
          x_(numbersOf(results[0])),
          lambda_(numbersOf(results[2])),
          state_(static_cast<int>(numbersOf(results[7]).at(0))) {}

    void judge() const {
        const std::size_t n = plan_.in[Input::H].cols;
        const std::size_t mIneq = plan_.in[Input::A].rows;
        const std::size_t mEq = plan_.in[Input::Aeq].rows;
        require(x_.size() == n, "the point has another length");
        require(lambda_.size() == mIneq + mEq + 2 * n, "lambda has another length");
        constexpr std::array<int, 6> States{1, 0, -1, -2, -3, -4};
        require(std::count(States.begin(), States.end(), state_) == 1, "unknown state");
        const bool wasCutShort =
            lastSolveReport().phaseOneIterations > plan_.in[Input::MaxIter].at(0, 0);
        if (plan_.isFeasible && !plan_.interrupt) {
            require(state_ != ASQP::DependentConstraints, "consistent equalities are refused");
            require(state_ != ASQP::Infeasible || wasCutShort, "a feasible problem is infeasible");
        }
        if (plan_.isStrictlyConvex) {
            require(state_ != ASQP::HessianNotPositiveDefinite, "H is positive definite");
        }
        if (plan_.isStrictlyConvex && state_ == ASQP::Optimal) {
            judgeOptimal(n, mIneq, mEq);
        }
    }

private:
    static constexpr double Tolerance = 1e-5;

    void judgeOptimal(std::size_t n, std::size_t mIneq, std::size_t mEq) const {
        const auto& in = plan_.in;
        for (std::size_t i = 0; i < mEq; ++i) {
            judgeRow(in[Input::Aeq], i, in[Input::beq].values[i], true, 0.0);
        }
        for (std::size_t i = 0; i < mIneq; ++i) {
            judgeRow(in[Input::A], i, in[Input::b].values[i], false, lambda_[mEq + i]);
        }
        for (std::size_t j = 0; j < n; ++j) {
            const std::size_t lower = mEq + mIneq + j;
            judgeSlack(x_[j] - in[Input::lb].values[j], 1.0 + std::abs(x_[j]), lambda_[lower]);
            judgeSlack(in[Input::ub].values[j] - x_[j], 1.0 + std::abs(x_[j]), lambda_[lower + n]);
            judgeGradient(j, n, mIneq, mEq);
        }
    }

    void judgeRow(
        const ArrayPlan& rows, std::size_t i, double rhs, bool isEq, double lambda) const {
        double slack = rhs;
        double scale = 1.0 + std::abs(rhs);
        for (std::size_t j = 0; j < x_.size(); ++j) {
            slack -= rows.at(i, j) * x_[j];
            scale += std::abs(rows.at(i, j) * x_[j]);
        }
        require(!isEq || std::abs(slack) <= Tolerance * scale, "an equality is violated");
        if (!isEq) {
            judgeSlack(slack, scale, lambda);
        }
    }

    static void judgeSlack(double slack, double scale, double lambda) {
        require(slack >= -Tolerance * scale, "a constraint is violated");
        require(lambda >= 0.0, "a multiplier is negative");
        require(lambda == 0.0 || slack <= Tolerance * scale,
                "a constraint that is not active has a multiplier");
    }

    // Component j of H·x + c + Aeqᵀλeq + Aᵀλineq − λlower + λupper.
    void judgeGradient(std::size_t j, std::size_t n, std::size_t mIneq, std::size_t mEq) const {
        const auto& in = plan_.in;
        double sum = 0.0;
        double scale = 1.0;
        const auto add = [&](double term) {
            sum += term;
            scale += std::abs(term);
        };
        add(in[Input::c].values[j]);
        for (std::size_t k = 0; k < n; ++k) {
            add(in[Input::H].at(j, k) * x_[k]);
        }
        for (std::size_t i = 0; i < mEq; ++i) {
            add(in[Input::Aeq].at(i, j) * lambda_[i]);
        }
        for (std::size_t i = 0; i < mIneq; ++i) {
            add(in[Input::A].at(i, j) * lambda_[mEq + i]);
        }
        add(-lambda_[mEq + mIneq + j]);
        add(lambda_[mEq + mIneq + n + j]);
        require(std::abs(sum) <= Tolerance * scale, "the gradient of the Lagrangian is not zero");
    }

    const CallPlan& plan_;
    std::vector<double> x_;
    std::vector<double> lambda_;
    int state_;
};

bool isOutOfMemory(const HostError& error) {
    return error.identifier() == OutOfMemoryIdentifier;
}

/// An array of impossible height asks for memory that does not exist.
bool mayRunOut(const CallPlan& plan) {
    return std::any_of(plan.in.begin(), plan.in.end(), isImmense);
}

void judgeOutcome(const CallPlan& plan, const Outcome& outcome) {
    if (outcome.error) {
        const bool isKnown = isAmong(KnownErrors, *outcome.error) ||
                             (isOutOfMemory(*outcome.error) && mayRunOut(plan));
        if (!isKnown || plan.isSound) {
            condemnError(*outcome.error);
        }
        return;
    }
    const ArrayPlan& display = plan.in[Input::Display];
    if (plan.isSound) {
        require(outcome.printed == 0 || display.values.size() > 3, "display off printed something");
        if (plan.outMask == 0) {
            SoundResult(plan, outcome.results).judge();
        }
    }
}

/// The same call once more with memory running out: it raises just that, or what it raised before,
/// or gives the same results.
void judgeFaults(const CallPlan& plan, const Arrays& arrays, const Outcome& expected) {
    Outcome outcome;
    {
        const AllocationFaults faults(plan.failAt, plan.failures);
        outcome = call(plan, arrays);
    }
    if (outcome.error && isOutOfMemory(*outcome.error)) {
        return;
    }
    require(outcome.error.has_value() == expected.error.has_value(),
            "refused memory changed how the call ended");
    require(!outcome.error || std::string(outcome.error->what()) == expected.error->what(),
            "refused memory changed the error");
    require(outcome.results == expected.results, "refused memory changed the results");
}

/// A small problem that needs phase one, multipliers of every sign and a departing constraint.
const CallPlan& fixedCall() {
    static const CallPlan plan = [] {
        CallPlan fixed;
        auto& in = fixed.in;
        in[Input::H] = {.rows = 3, .cols = 3, .values = {4, 1, 0, 1, 3, 1, 0, 1, 2}};
        in[Input::c] = columnPlan({-8, -6, 3});
        in[Input::A] = {.rows = 2, .cols = 3, .values = {1, -1, 2, 1, 1, 0}};
        in[Input::b] = columnPlan({4, 0.5});
        in[Input::Aeq] = {.rows = 1, .cols = 3, .values = {1, 1, 1}};
        in[Input::beq] = columnPlan({2.5});
        in[Input::lb] = columnPlan({0, 0, 0.25});
        in[Input::ub] = columnPlan({1.25, 9, 9});
        in[Input::x0] = columnPlan({7, -5, 11});
        in[Input::Wlower] = columnPlan({1});
        for (const std::size_t empty : {Input::Wineq, Input::Wupper}) {
            in.at(empty) = columnPlan({});
        }
        in[Input::MaxIter] = columnPlan({100});
        in[Input::TolCon] = in[Input::TolFun] = in[Input::TolX] = columnPlan({1e-8});
        in[Input::Display] = textPlan("off");
        fixed.isSound = fixed.isFeasible = fixed.isStrictlyConvex = true;
        return fixed;
    }();
    return plan;
}

Outcome callFixed() {
    Outcome outcome = call(fixedCall(), Arrays(fixedCall()));
    judgeOutcome(fixedCall(), outcome);
    require(lastSolveReport().phaseOneRan, "the fixed problem does not need phase one");
    return outcome;
}

/// What a found input stands for: to be read by whoever looks into it.
void print(const CallPlan& plan, const Arrays& arrays) {
    constexpr std::array<const char*, Input::Count> Names{
        "H",     "c",      "A",      "b",       "Aeq",    "beq",    "lb",   "ub",     "x0",
        "Wineq", "Wlower", "Wupper", "MaxIter", "TolCon", "TolFun", "TolX", "Display"};
    for (std::size_t i = 0; i < Input::Count; ++i) {
        const std::string text = arrays.in().at(i) == nullptr ? "null\n"
                                 : isImmense(plan.in.at(i))   ? "empty, with an immense dimension\n"
                                                              : vxDescribe(arrays.in().at(i));
        std::fprintf(stderr, "%s: %s", Names.at(i), text.c_str());
    }
    std::fprintf(stderr, "sound %d feasible %d strictly convex %d interrupt %d fails at %d\n",
                 static_cast<int>(plan.isSound), static_cast<int>(plan.isFeasible),
                 static_cast<int>(plan.isStrictlyConvex), static_cast<int>(plan.interrupt),
                 static_cast<int>(plan.failAt));
}

void run(const CallPlan& plan) {
    const Arrays arrays(plan);
    if (std::getenv("ACTIVESET_FUZZ_PRINT") != nullptr) {
        print(plan, arrays);
    }
    const Outcome outcome = call(plan, arrays);
    judgeOutcome(plan, outcome);
    if (plan.repeat) {
        const Outcome again = call(plan, arrays);
        require(again.results == outcome.results, "the same call gave other results");
        require(again.printed == outcome.printed, "the same call printed something else");
    }
    if (plan.failAt != 0) {
        judgeFaults(plan, arrays, outcome);
    }
}

}  // namespace
}  // namespace activeset::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace activeset::fuzz;
    static const Results expected = callFixed().results;
    Bytes bytes(data, size);
    const CallPlan plan = decodeCall(bytes);
    const LeakCheck leaks;
    {
        std::optional<activeset::CallScope> scope;
        if (plan.hasScope) {
            scope.emplace();
        }
        run(plan);
    }
    leaks.judge();
    require(callFixed().results == expected, "the fixed problem has other results than before");
    return 0;
}
