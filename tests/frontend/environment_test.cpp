// Threads whose floating-point environment is not the usual one.
#include <fenv.h>
#include <gtest/gtest.h>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

#include <bit>
#include <stdexcept>

#include "activeset/driver.hpp"
#include "frontend/generator.hpp"
#include "support/build.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

/// An environment to set for a thread; the usual one is restored at the end.
struct Environment {
    const char* name;
    void (*set)();
};

const std::vector<Environment> Environments {
    {"traps", [] { feenableexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW); }},
        {"upward", [] { fesetround(FE_UPWARD); }},
        {"towards zero", [] { fesetround(FE_TOWARDZERO); }},
#if defined(__x86_64__)
        {"subnormals flushed", [] { _mm_setcsr(_mm_getcsr() | 0x8040U); }},
        {"x87 in double precision", [] {
             const unsigned short word = 0x27F;
             asm volatile("fldcw %0" : : "m"(word));
         }},
#endif
};

/// Everything that decides how numbers are computed.
std::vector<unsigned> environment() {
    std::vector<unsigned> result{static_cast<unsigned>(fegetround()),
                                 static_cast<unsigned>(fegetexcept())};
#if defined(__x86_64__)
    unsigned short word = 0;
    asm volatile("fnstcw %0" : "=m"(word));
    result.push_back(_mm_getcsr() & ~0x3FU);
    result.push_back(word);
#endif
    return result;
}

void append(Numbers& numbers, const Result& result) {
    for (const Numbers* part : {&result.x, &result.y, &result.z}) {
        numbers.insert(numbers.end(), part->begin(), part->end());
    }
    numbers.push_back(result.objective);
    numbers.push_back(static_cast<double>(result.status));
}

// Calls every function of the front end, and the entry function: on a problem with rounding
// everywhere, on one with subnormal data, and on one that is infeasible.
std::vector<std::uint64_t> solveEverywhere() {
    const Numbers H{0.3, 0.1, 0.1, 0.7};
    const Numbers c{-0.1, 1.0 / 3.0};
    const Numbers A{1.0 / 7.0, 0.9};
    const Numbers upper{0.01};
    const Numbers impossible{-1.0};
    const Numbers floor{0.0, 0.0};
    const Numbers tiny{0x1p-1060, -0x1.8p-1050};
    const activeset::Problem problem{.H = {H, 2, 2}, .c = c, .A = {A, 1, 2}, .rowUpper = upper};
    const activeset::Problem infeasible{
        .c = c, .A = {A, 1, 2}, .rowUpper = impossible, .lower = floor};
    activeset::Problem subnormal = problem;
    subnormal.c = tiny;
    Numbers numbers;
    for (const activeset::Problem& each : {problem, infeasible, subnormal}) {
        append(numbers, solve(each));
        Solver solver(each);
        solver.setLinear(c);
        append(numbers, solver.solve());
    }
    const std::vector<activeset::Problem> problems(4, problem);
    for (const Result& result : solveMany(problems, {.threads = 2, .chain = 2})) {
        append(numbers, result);
    }
    numbers.push_back(static_cast<double>(explainInfeasibility(infeasible).size()));
    numbers.push_back(static_cast<double>(faultsOf({.c = Numbers(2, std::nan(""))}).size()));
    vxArray* x = nullptr;
    const vxArray* off = vxCreateCharArray("off");
    NullSpaceASdriver(array({{0.3, 0.1}, {0.1, 0.7}}), column(c), array({A}), column(upper),
                      nullptr, nullptr, column({-Inf, -Inf}), column({Inf, Inf}), column({0, 0}),
                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, off, &x,
                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    const Numbers ends = values(x);
    numbers.insert(numbers.end(), ends.begin(), ends.end());
    std::vector<std::uint64_t> bits;
    for (const double number : numbers) {
        bits.push_back(std::bit_cast<std::uint64_t>(number));
    }
    return bits;
}

class FloatingPointEnvironment : public FreshState {
protected:
    void SetUp() override {
        FreshState::SetUp();
        fesetenv(FE_DFL_ENV);  // clear a flag from an earlier test, which would trap
    }
    void TearDown() override {
        fesetenv(FE_DFL_ENV);
        FreshState::TearDown();
    }
};

TEST_F(FloatingPointEnvironment, ChangesNoBitAndIsPutBack) {
    feclearexcept(FE_ALL_EXCEPT);
    const std::vector<std::uint64_t> usual = solveEverywhere();
    EXPECT_EQ(fetestexcept(FE_ALL_EXCEPT & ~FE_INEXACT), 0);
    for (const auto& [name, set] : Environments) {
        set();
        const std::vector<unsigned> before = environment();
        const std::vector<std::uint64_t> found = solveEverywhere();
        const std::vector<unsigned> after = environment();
        fesetenv(FE_DFL_ENV);
        EXPECT_EQ(found, usual) << name;
        EXPECT_EQ(after, before) << name;
    }
}

TEST_F(FloatingPointEnvironment, IsPutBackWhenASolveRaises) {
    const Numbers c{1.0};
    const Numbers lower{0.5};
    Settings settings;
    settings.onPass = [](const Progress&) -> bool { throw std::runtime_error("enough"); };
    for (const auto& [name, set] : Environments) {
        set();
        const std::vector<unsigned> before = environment();
        bool hasRaised = false;
        try {
            static_cast<void>(solve({.c = c, .lower = lower}, settings));
        } catch (const std::runtime_error&) {
            hasRaised = environment() == before;
        }
        vxArray* x = nullptr;
        int raised = 0;
        try {
            NullSpaceASdriver(vxCreateCharArray("x"), column(c), nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr, &x, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr);
        } catch (const HostError&) {
            raised += environment() == before ? 1 : 0;
        }
        fesetenv(FE_DFL_ENV);
        EXPECT_TRUE(hasRaised) << name;
        EXPECT_EQ(raised, 1) << name;
    }
}

}  // namespace
}  // namespace activeset::test
