// The explicit law, in C++ and as compiled C, compared with the solver at random parameters.
#include "activeset/regions.hpp"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class ExplicitLaws : public FreshState {};

// Compiles a text of C, with the strictest warnings, and loads it.
class Compiled {
public:
    Compiled(const std::string& code, const std::string& name) {
        std::string folder = std::filesystem::temp_directory_path() / "activeset_XXXXXX";
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        folder_ = folder;
        std::ofstream(folder + "/code.c") << code;
        const std::string command = std::string(ACTIVESET_C_COMPILER) +
                                    " -std=c99 -O2 -ffp-contract=off -Wall -Wextra -Werror "
                                    "-shared -fPIC -o " +
                                    folder + "/code.so " + folder + "/code.c -lm";
        EXPECT_EQ(std::system(command.c_str()), 0);
        library_ = dlopen((folder + "/code.so").c_str(), RTLD_NOW);
        EXPECT_NE(library_, nullptr);
        function_ = library_ == nullptr ? nullptr : dlsym(library_, name.c_str());
    }
    ~Compiled() {
        if (library_ != nullptr) {
            dlclose(library_);
        }
        std::filesystem::remove_all(folder_);
    }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;

    template <class Function>
    [[nodiscard]] Function* as() const {
        return reinterpret_cast<Function*>(function_);
    }

private:
    std::filesystem::path folder_;
    void* library_ = nullptr;
    void* function_ = nullptr;
};

// Model predictive control of a double integrator over five steps. The input and the final speed
// are bounded; the state is the parameter.
struct Control {
    static constexpr std::size_t N = 5;
    Numbers H, c, A, rowLower, rowUpper, lower, upper, F, rows, least{-10, -5}, most{10, 5};

    Control() : H(N * N, 0.0), c(N, 0.0), A(N, 0.0), F(2 * N, 0.0), rows{0.0, -1.0} {
        // Position and speed after k inputs, as functions of inputs and state.
        for (std::size_t k = 1; k <= N; ++k) {
            Numbers position(N, 0.0);
            for (std::size_t i = 0; i < k; ++i) {
                position[i] = static_cast<double>(k - i) - 0.5;
            }
            for (std::size_t i = 0; i < N; ++i) {
                for (std::size_t j = 0; j < N; ++j) {
                    H[j * N + i] += position[i] * position[j];
                }
                F[i] += position[i];
                F[N + i] += position[i] * static_cast<double>(k);
            }
        }
        for (std::size_t i = 0; i < N; ++i) {
            H[i * (N + 1)] += 0.5;
            A[i] = 1.0;
        }
        lower.assign(N, -1.0);
        upper.assign(N, 1.0);
        rowLower = {-2.0};
        rowUpper = {2.0};
    }
    [[nodiscard]] Problem view() const {
        return {.H = {H, N, N},
                .c = c,
                .A = {A, 1, N},
                .rowLower = rowLower,
                .rowUpper = rowUpper,
                .lower = lower,
                .upper = upper};
    }
    [[nodiscard]] Parameters parameters() const {
        return {.c = {F, N, 2}, .rows = {rows, 1, 2}, .least = least, .most = most};
    }
};

TEST_F(ExplicitLaws, AreTheOptimaAtRandomParameters) {
    const Control control;
    const Regions regions(control.view(), control.parameters());
    ASSERT_TRUE(regions.isComplete());
    EXPECT_GT(regions.all().size(), 10U);
    const Compiled law(regions.code("control_law"), "control_law");
    const Compiled solver(solverCode(control.view(), "control_solve"), "control_solve");
    auto* const lawOf = law.as<int(const double*, double*)>();
    auto* const solveC = solver.as<int(const double*, const double*, const double*, const double*,
                                       const double*, double*)>();
    ASSERT_NE(lawOf, nullptr);
    ASSERT_NE(solveC, nullptr);
    Solver sequence(control.view());
    std::mt19937_64 bits(1);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    constexpr std::size_t N = Control::N;
    int feasible = 0;
    for (int k = 0; k < 100000; ++k) {
        const std::array theta{10.0 * unit(bits), 5.0 * unit(bits)};
        Numbers c(N);
        for (std::size_t j = 0; j < N; ++j) {
            c[j] = control.F[j] * theta[0] + control.F[N + j] * theta[1];
        }
        const Numbers low{-2.0 - theta[1]}, high{2.0 - theta[1]};
        sequence.setLinear(c);
        sequence.setRowSides(low, high);
        const Result r = sequence.solve();
        std::array<double, N> x{}, own{};
        const int region = lawOf(theta.data(), x.data());
        const int outcome = solveC(c.data(), low.data(), high.data(), control.lower.data(),
                                   control.upper.data(), own.data());
        ASSERT_EQ(region >= 0, r.status == Status::Optimal) << theta[0] << ' ' << theta[1];
        ASSERT_EQ(outcome, r ? 0 : 1) << theta[0] << ' ' << theta[1];
        if (!r) {
            continue;
        }
        ++feasible;
        const Numbers mine = regions.x(theta);
        for (std::size_t j = 0; j < N; ++j) {
            ASSERT_NEAR(x[j], r.x[j], 1e-8) << theta[0] << ' ' << theta[1];
            ASSERT_NEAR(own[j], r.x[j], 1e-9) << theta[0] << ' ' << theta[1];
            ASSERT_EQ(mine[j], x[j]);
        }
    }
    EXPECT_GT(feasible, 50000);
}

// Strictly convex problems with equalities, two-sided rows and all kinds of bounds.
TEST_F(ExplicitLaws, InCSolveWhatTheSolverSolves) {
    for (unsigned seed = 0; seed < 8; ++seed) {
        const Sample s = randomSample(seed, 7, false);
        const Compiled solver(solverCode(s.view(), "solve_it"), "solve_it");
        auto* const solveC = solver.as<int(const double*, const double*, const double*,
                                           const double*, const double*, double*)>();
        ASSERT_NE(solveC, nullptr);
        const Result r = solve(s.view());
        Numbers x(s.n);
        ASSERT_EQ(solveC(s.c.data(), s.rowLower.data(), s.rowUpper.data(), s.lower.data(),
                         s.upper.data(), x.data()),
                  r ? 0 : 1)
            << "seed " << seed;
        for (std::size_t j = 0; j < s.n && r; ++j) {
            EXPECT_NEAR(x[j], r.x[j], 1e-8 * std::max(1.0, std::abs(r.x[j]))) << "seed " << seed;
        }
    }
}

TEST_F(ExplicitLaws, RefuseWhatDoesNotFit) {
    const Control control;
    Parameters parameters = control.parameters();
    const double one[] = {1.0}, c[] = {1.0};
    parameters.most = one;
    EXPECT_THROW(Regions(control.view(), parameters), std::invalid_argument);
    parameters = control.parameters();
    parameters.c = {c, 1, 1};
    EXPECT_THROW(Regions(control.view(), parameters), std::invalid_argument);
    EXPECT_THROW(Regions({.c = c}, {.least = c, .most = c}), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(solverCode({.c = c}, "f")), std::invalid_argument);
    const Regions law(control.view(), control.parameters());
    // Names that are no identifiers, keywords, from math.h, or used in the file.
    for (const char* name : {"f(); system", "", "9", "while", "double", "bool", "_f", "main", "exp",
                             "powf", "A", "J0", "append", "PROBLEM_N"}) {
        EXPECT_THROW(static_cast<void>(solverCode(control.view(), name)), std::invalid_argument)
            << name;
    }
    for (const char* name : {"while", "least", "gain", "theta"}) {
        EXPECT_THROW(static_cast<void>(law.code(name)), std::invalid_argument) << name;
    }
    EXPECT_THAT(law.code("whiles"), testing::HasSubstr("int whiles("));
    EXPECT_THAT(solverCode(control.view(), "optimum"), testing::HasSubstr("int optimum("));
}

}  // namespace
}  // namespace activeset::test
