// Options and lists of unusual shape, class or value: the entry function accepts what it can read.
#include <gtest/gtest.h>

#include <climits>
#include <functional>

#include "solve/examples.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class EntryInputs : public FreshState {
protected:
    /// Passes of box(6) with this MaxIter; unlimited, it takes 7.
    static int passesWith(const vxArray* maxIter) {
        Inputs in = inputsOf(box(6));
        in[Input::MaxIter] = maxIter;
        const Result result = solve(in);
        const int passes = lastSolveReport().iterations;
        EXPECT_EQ(result.state, passes < 7 ? ASQP::MaxIterReached : ASQP::Optimal);
        return passes;
    }
};

/// The same numbers in every class and storage that an unchecked input may have.
std::vector<const vxArray*> inEveryClass(const Numbers& numbers) {
    const auto filled = [&](vxClass elementClass, auto zero) {
        vxArray* result =
            vxCreateNumericMatrix(numbers.size(), 1, elementClass, vxComplexity::Real);
        auto* data = static_cast<decltype(zero)*>(vxGetData(result));
        std::transform(numbers.begin(), numbers.end(), data,
                       [](double value) { return static_cast<decltype(zero)>(value); });
        return result;
    };
    vxArray* complex = vxCreateDoubleMatrix(numbers.size(), 1, vxComplexity::Complex);
    std::copy(numbers.begin(), numbers.end(), vxGetDoubles(complex));
    std::fill_n(static_cast<double*>(vxGetImaginaryData(complex)), numbers.size(), 77.0);
    Rows rows;
    for (const double value : numbers) {
        rows.push_back({value});
    }
    return {filled(vxClass::Single, float{}), filled(vxClass::Int32, std::int32_t{}),
            filled(vxClass::Logical, char{}), sparse(rows), complex};
}

TEST_F(EntryInputs, MaxIterIsTruncatedAndSaturates) {
    const auto passes = [](double maxIter) { return passesWith(vxCreateDoubleScalar(maxIter)); };
    EXPECT_EQ(passes(2.9), 3);  // the solve ends when the counter exceeds the limit
    EXPECT_EQ(passes(-0.5), 1);
    EXPECT_EQ(passes(-7.0), 1);
    EXPECT_EQ(passes(NaN), 1);
    EXPECT_EQ(passes(-Inf), 1);
    EXPECT_EQ(passes(7.0), 7);
    EXPECT_EQ(passes(1e300), 7);
    EXPECT_EQ(passes(Inf), 7);
}

TEST_F(EntryInputs, OnlyTheFirstElementOfAnOptionIsReadWhateverItsClass) {
    EXPECT_EQ(passesWith(array({{4, 1}, {1, 1}})), 5);
    for (const vxArray* four : inEveryClass({4, 1})) {
        EXPECT_EQ(passesWith(four), 5);
    }
}

TEST_F(EntryInputs, MissingOptionsTakeTheDefaults) {
    Inputs in = inputsOf(triangleFromOutside(), {100, 1e-6, 1e-6});
    const Result expected = solve(in);
    for (const vxArray* missing : std::initializer_list<const vxArray*>{nullptr, array({}, 3)}) {
        for (size_t place = Input::MaxIter; place <= Input::TolX; ++place) {
            in[place] = missing;
        }
        EXPECT_EQ(solve(in), expected);
    }
    // With a limit of 100 the 101st pass is the last.
    in = inputsOf(box(120));
    in[Input::MaxIter] = nullptr;
    EXPECT_EQ(solve(in).state, ASQP::MaxIterReached);
    EXPECT_EQ(lastSolveReport().iterations, 101);
}

TEST_F(EntryInputs, DisplayThatIsNoTextPrintsTheFinalLineAndUnknownTextNothing) {
    const auto printed = [](const vxArray* display) {
        Inputs in = inputsOf(box(2));
        in[Input::Display] = display;
        const CapturedOutput output;
        static_cast<void>(solve(in));
        return output.text();
    };
    const std::string line = " fstar: -29 Active: 2 Iterations: 3\n";
    EXPECT_EQ(printed(nullptr), line);
    EXPECT_EQ(printed(vxCreateDoubleScalar(1.0)), line);
    EXPECT_EQ(printed(vxCreateCharArray("final")), line);
    EXPECT_EQ(printed(vxCreateCharArray("")), "");
    EXPECT_EQ(printed(vxCreateCharArray("Iter")), "");
}

// The path shows where a solve starts: box(6) from the upper bounds of some variables.
TEST_F(EntryInputs, StartAndListsMayHaveAnyClassAndStorage) {
    Problem problem = box(6);
    problem.A = {{1, 1, 1, 1, 1, 1}};
    problem.b = {6};
    problem.x0 = {0, 1, 0, 0, 1, 1};
    problem.Wineq = {};
    problem.Wlower = {1, 4};
    problem.Wupper = {6, 5};
    Inputs in = inputsOf(problem);
    const Result expected = solve(in);
    const int passes = lastSolveReport().iterations;
    ASSERT_EQ(expected.lists[3].at(0), 6.0) << "the initial list was not used";
    ASSERT_EQ(expected.lists[3].at(1), 5.0) << "the initial list was not used";
    for (const size_t place : {Input::x0, Input::Wlower, Input::Wupper}) {
        const vxArray* const original = in[place];
        for (const vxArray* variant : inEveryClass(values(original))) {
            if (vxGetClass(variant) != vxClass::Logical || place == Input::x0) {
                in[place] = variant;
                EXPECT_EQ(solve(in), expected) << "input " << place;
                EXPECT_EQ(lastSolveReport().iterations, passes);
            }
        }
        in[place] = original;
    }
}

TEST_F(EntryInputs, AListWithoutElementsIsEmptyWhateverItsShape) {
    Inputs in = inputsOf(triangle());
    const Result expected = solve(in);
    for (const vxArray* empty : std::initializer_list<const vxArray*>{
             nullptr, array({}, 0), array({}, 5), vxCreateDoubleMatrix(5, 0, vxComplexity::Real)}) {
        in[Input::Wineq] = in[Input::Wlower] = in[Input::Wupper] = empty;
        EXPECT_EQ(solve(in), expected);
    }
}

// Counting up to such a dimension would take centuries.
TEST_F(EntryInputs, AStartWithoutElementsIsRefusedWhateverItsShape) {
    Inputs in = inputsOf(triangle());
    constexpr auto Huge = std::numeric_limits<size_t>::max();
    for (const vxArray* empty : {vxCreateDoubleMatrix(0, Huge, vxComplexity::Real),
                                 vxCreateDoubleMatrix(Huge, 0, vxComplexity::Real)}) {
        in[Input::x0] = empty;
        expectRaises(MatrixFault, "Incompatible dimensions for matrix multiplication",
                     [&] { static_cast<void>(solve(in)); });
    }
}

TEST_F(EntryInputs, ARowOfIndicesCountsAsItsFirst) {
    Inputs in = inputsOf(box(4));
    in[Input::Wupper] = column({2});
    const Result expected = solve(in);
    in[Input::Wupper] = array({{2, 1, 4}});
    EXPECT_EQ(solve(in), expected);
}

TEST_F(EntryInputs, FractionalIndicesAreTruncatedAfterSubtractingOne) {
    Inputs in = inputsOf(box(4));
    in[Input::Wupper] = column({1, 3});
    const Result expected = solve(in);
    in[Input::Wupper] = column({0.5, 3.99});
    EXPECT_EQ(solve(in), expected);
}

// An upper bound that does not exist is dropped like a dependent one. Such a lower bound (or upper
// bound 0) gets the number of another kind, and is not found there.
TEST_F(EntryInputs, IndicesThatDoNotExistAreDroppedOrRaised) {
    Problem problem = triangle();
    problem.ub = {9, 9};
    const Result expected = solve(problem);
    for (const double index : {0.0, -3.0, 3.0, 99.0, 1e18, 0x1p63, 1e300, -1e300, Inf, -Inf, NaN}) {
        SCOPED_TRACE(index);
        const auto callWith = [&](size_t place) {
            Inputs in = inputsOf(problem);
            in[place] = column({index});
            return solve(in);
        };
        const auto identifierWith = [&](size_t place) {
            try {
                static_cast<void>(callWith(place));
            } catch (const HostError& error) {
                return error.identifier();
            }
            return std::string();
        };
        const std::string notFound = "optim:src:activesetqp:elementNotFound";
        EXPECT_EQ(identifierWith(Input::Wineq), MatrixFault);
        EXPECT_EQ(identifierWith(Input::Wlower), notFound);
        if (index == 0.0) {
            EXPECT_EQ(identifierWith(Input::Wupper), notFound);
        } else {
            EXPECT_EQ(callWith(Input::Wupper), expected);
        }
        EXPECT_EQ(solve(problem), expected) << "next call";
    }
}

}  // namespace
}  // namespace activeset::test
