// The contract of the entry function: what it accepts, returns, leaves alone and raises.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "matrix/matrix_pool.hpp"
#include "solve/examples.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class EntryFunction : public FreshState {};

TEST_F(EntryFunction, EveryOutcomeHasItsCodeAndReturnsOne) {
    for (const Example& example : examples()) {
        SCOPED_TRACE(example.name);
        const PendingInterrupt flag(example.isInterrupted);
        Outputs out{};
        EXPECT_EQ(invoke(inputsOf(example.problem, example.limits), out), 1);
        EXPECT_EQ(resultOf(out).state, example.state);
    }
}

TEST_F(EntryFunction, ResultsAreThoseFoundByHand) {
    for (const Problem& problem : {triangle(), triangleFromOutside()}) {
        const Result result = solve(problem);
        EXPECT_NEAR(result.x.at(0), 1.5, 1e-14);
        EXPECT_NEAR(result.x.at(1), 0.5, 1e-14);
        EXPECT_NEAR(result.f, -4.25, 1e-14);
        EXPECT_NEAR(result.lambda.at(0), 1.5, 1e-14);
        EXPECT_EQ(Numbers(result.lambda.begin() + 1, result.lambda.end()), Numbers(4, 0.0));
        EXPECT_EQ(result.lists, (std::array<Numbers, 4>{{{}, {1}, {}, {}}}));
    }
    const Result atBounds = solve(box(4));
    EXPECT_EQ(atBounds.x, Numbers(4, 1.0));
    EXPECT_EQ(atBounds.f, 2.0 - 100.0);
    EXPECT_EQ(atBounds.lambda, (Numbers{0, 0, 0, 0, 9, 19, 29, 39}));
    EXPECT_EQ(atBounds.lists[3], (Numbers{4, 3, 2, 1}));
    const Result withEqualities = solve(dependent());
    EXPECT_NEAR(withEqualities.x.at(0), 2.0, 1e-14);
    EXPECT_NEAR(withEqualities.x.at(1), 0.0, 1e-14);
    EXPECT_EQ(withEqualities.lists[0].size(), 1U);
    EXPECT_EQ(withEqualities.lists[2], Numbers{2});
    EXPECT_NEAR(withEqualities.lambda.at(3), 1.0, 1e-14);  // of the lower bound of x2
}

/// A call that must raise: the triangle's call with one change.
struct Mistake {
    std::string name;
    std::function<void(Inputs&)> make;
    std::string identifier;
    std::string text;
};

using Change = std::function<void(Inputs&)>;

Change toNull(size_t place) {
    return [=](Inputs& in) { in[place] = nullptr; };
}
Change toColumn(size_t place, const Numbers& numbers) {
    return [=](Inputs& in) { in[place] = column(numbers); };
}
Change toArray(size_t place, const Rows& rows) {
    return [=](Inputs& in) { in[place] = array(rows, 0); };
}

std::vector<Mistake> mistakesOfShape() {
    const std::string assertion = AssertionIdentifier;
    const std::string objective = "Size mismatch in QP problem setup.";
    const std::string inequalities = "Size mismatch in inequality constraints.";
    const std::string equalities = "Size mismatch in equality constraints.";
    const std::string fault = MatrixFault;
    const std::string product = "Incompatible dimensions for matrix multiplication";
    const std::string row = "Index exceed number of row.";
    return {{"H empty", toArray(Input::H, {}), assertion, objective},
            {"H null", toNull(Input::H), assertion, objective},
            {"c too long", toColumn(Input::c, {1, 2, 3}), assertion, objective},
            {"H not square", toArray(Input::H, {{1, 0}, {0, 1}, {0, 0}}), fault, product},
            {"b too short", toColumn(Input::b, {}), assertion, inequalities},
            {"A null", toNull(Input::A), assertion, inequalities},
            {"beq without Aeq", toColumn(Input::beq, {1}), assertion, equalities},
            {"lb too short", toColumn(Input::lb, {0}), fault, row},
            {"ub null", toNull(Input::ub), fault, row},
            {"A too wide", toArray(Input::A, {{1, 1, 1}}), fault, product},
            {"x0 too short", toColumn(Input::x0, {1}), fault, product},
            {"x0 a row", toArray(Input::x0, {{0, 0}}), fault, product},
            {"x0 null", toNull(Input::x0), fault, product}};
}

std::vector<Mistake> mistakesInLists() {
    const auto oneBound = [](Inputs& in) {
        in[Input::lb] = column({0, -Inf});
        in[Input::Wlower] = column({1, 1});
    };
    return {{"unknown inequality", toColumn(Input::Wineq, {2}), MatrixFault,
             "Index exceed number of row."},
            {"Wineq too long", toColumn(Input::Wineq, {1, 1}),
             "optim:activesetqp:ActiveInequalitySizeError",
             "Length of active inequality vector must be less than inequality vector."},
            {"Wlower too long", oneBound, "optim:activesetqp:ActiveLowerBoundSizeError",
             "Length of active lower bound vector must be less than lower bound vector."},
            {"Wupper too long", toColumn(Input::Wupper, {1}),
             "optim:activesetqp:ActiveUpperBoundSizeError",
             "Length of active upper bound vector must be less than upper bound vector."}};
}

std::vector<Mistake> mistakes() {
    std::vector<Mistake> all = mistakesOfShape();
    std::ranges::move(mistakesInLists(), std::back_inserter(all));
    return all;
}

TEST_F(EntryFunction, MistakesAreRaisedAndLeaveNoTrace) {
    const Result expected = solve(triangle());
    static_cast<void>(solve(box(3)));  // leaves the counts of another problem
    for (const Mistake& mistake : mistakes()) {
        SCOPED_TRACE(mistake.name);
        const auto countsBefore = counts();
        const CallScope scope;
        Inputs in = inputsOf(triangle());
        mistake.make(in);
        const auto inputsBefore = snapshots(in);
        const auto blocks = liveBlockCount();
        Outputs out{};
        expectRaises(mistake.identifier, mistake.text, [&] { invoke(in, out); });
        EXPECT_EQ(out, Outputs{}) << "out-pointers";
        EXPECT_EQ(snapshots(in), inputsBefore);
        EXPECT_EQ(counts(), countsBefore);
        EXPECT_EQ(matrixPoolSize(), 0U);
        EXPECT_EQ(liveBlockCount(), blocks);
        EXPECT_EQ(lastSolveReport().iterations, 0);
        EXPECT_EQ(solve(triangle()), expected) << "next call";
        static_cast<void>(solve(box(3)));
    }
}

TEST_F(EntryFunction, TheEightProblemArraysMustBeRealDenseDoubles) {
    const auto ofClass = [](vxClass elementClass) {
        return vxCreateNumericMatrix(2, 2, elementClass, vxComplexity::Real);
    };
    const std::array<const vxArray*, 6> unfit{
        sparse({{1, 0}, {0, 1}}), vxCreateDoubleMatrix(2, 2, vxComplexity::Complex),
        ofClass(vxClass::Single), ofClass(vxClass::Logical),
        ofClass(vxClass::Int32),  ofClass(vxClass::Char)};
    const std::string text =
        "Optimization encountered sparse, complex, or non-double data; cannot continue.";
    for (size_t place = Input::H; place <= Input::ub; ++place) {
        for (size_t kind = 0; kind < unfit.size(); ++kind) {
            SCOPED_TRACE("input " + std::to_string(place) + ", kind " + std::to_string(kind));
            Inputs in = inputsOf(triangle());
            in[Input::c] = column({1, 2, 3});  // a size mismatch, which is only noticed later
            in[place] = unfit.at(kind);
            Outputs out{};
            expectRaises("optim:src:DataTypeError", text, [&] { invoke(in, out); });
            EXPECT_EQ(out, Outputs{});
        }
    }
}

TEST_F(EntryFunction, InputsComeBackBitForBit) {
    for (const Example& example : examples()) {
        SCOPED_TRACE(example.name);
        const PendingInterrupt flag(example.isInterrupted);
        Problem problem = example.problem;
        problem.Wlower = {2, 1};  // shortened: too long beside equalities or the row
        problem.Wineq.assign(problem.A.size(), 1);
        const Inputs in = inputsOf(problem, example.limits);
        const auto before = snapshots(in);
        Outputs out{};
        invoke(in, out);
        EXPECT_EQ(snapshots(in), before);
    }
}

TEST_F(EntryFunction, CountsAfterASolveAreThoseOfItsProblemAndResult) {
    for (const Problem& problem : {triangle(), triangleFromOutside()}) {
        static_cast<void>(solve(box(3)));
        const Result result = solve(problem);
        EXPECT_EQ(counts(), (std::vector<size_t>{2, 3, 1, 0, 0, 0, 2, 0, 1, 0, 0, 1, 0, 0}));
        EXPECT_EQ(matrixPoolSize(), 0U);
        EXPECT_EQ(result.lists[1].size(), ActiveSet::getmaIneq());
    }
}

TEST_F(EntryFunction, ResultsAreNewRealColumnsOfTheOpenScope) {
    const auto before = liveArrayCount();
    {
        const CallScope scope;
        const Inputs in = inputsOf(dependent());
        const auto withInputs = liveArrayCount();
        Outputs out{};
        invoke(in, out);
        EXPECT_EQ(liveArrayCount(), withInputs + 8);
        const std::array<size_t, 8> rows{2, 1, 6, 1, 0, 1, 0, 1};
        for (size_t i = 0; i < out.size(); ++i) {
            EXPECT_EQ(vxGetM(out[i]), rows[i]) << "output " << i;
            EXPECT_EQ(vxGetN(out[i]), 1U) << "output " << i;
            EXPECT_TRUE(vxIsDouble(out[i]) && !vxIsComplex(out[i]) && !vxIsSparse(out[i]));
            EXPECT_FALSE(vxIsPersistent(out[i]));
            EXPECT_EQ(std::count(out.begin(), out.end(), out[i]), 1) << "handed out twice";
        }
    }
    EXPECT_EQ(liveArrayCount(), before);
}

// A new thread has no open scope.
TEST_F(EntryFunction, WithoutAScopeTheCallerOwnsTheResultsAndNothingElse) {
    std::int64_t alive = -1;
    std::int64_t left = -1;
    std::thread([&] {
        const Inputs in = inputsOf(dependent());
        Outputs out{};
        invoke(in, out);
        alive = liveArrayCount();
        for (vxArray* array : out) {
            vxDestroyArray(array);
        }
        for (const vxArray* array : in) {
            vxDestroyArray(const_cast<vxArray*>(array));
        }
        left = liveArrayCount() + liveBlockCount();
    }).join();
    EXPECT_EQ(alive, 17 + 8);
    EXPECT_EQ(left, 0);
}

TEST_F(EntryFunction, AnOutPointerThatIsNullIsSkipped) {
    const Inputs in = inputsOf(triangle());
    const Result expected = solve(in);
    const auto call = [&](auto... targets) {
        std::apply([](auto... all) { NullSpaceASdriver(all...); },
                   std::tuple_cat(in, std::tuple<decltype(targets)...>(targets...)));
    };
    vxArray** none = nullptr;
    vxArray* x = nullptr;
    vxArray* exitflag = nullptr;
    call(&x, none, none, none, none, none, none, &exitflag);
    EXPECT_EQ(bits(values(x)), bits(expected.x));
    EXPECT_EQ(values(exitflag), Numbers{1});
    const auto arrays = liveArrayCount();
    call(none, none, none, none, none, none, none, none);
    EXPECT_EQ(liveArrayCount(), arrays);
}

}  // namespace
}  // namespace activeset::test
