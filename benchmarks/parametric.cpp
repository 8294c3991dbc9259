// Times what follows a solve: derivatives relative to the solve, and the whole efficient frontier
// relative to a cold solve for each of its pieces.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "activeset/path.hpp"
#include "activeset/ranges.hpp"
#include "activeset/sensitivity.hpp"
#include "benchmarks/field_families.hpp"
#include "benchmarks/program.hpp"
#include "benchmarks/stopwatch.hpp"

using namespace activeset::bench;  // NOLINT(google-build-using-namespace): the program's own

namespace {

template <class Action>
double timeOf(Action action) {
    constexpr int Rounds = 25;
    Stopwatch watch;
    for (int round = 0; round < Rounds; ++round) {
        watch.sample(action);
    }
    return watch.seconds();
}

void measureDerivatives(const std::string& family, std::size_t n) {
    const Program program = programOf(field::make(family, n, 1));
    const activeset::Problem problem = program.view();
    const activeset::Settings keeping{.keepFactors = true};
    const activeset::Result result = activeset::solve(problem, keeping);
    activeset::Result bare = result;
    bare.factors.reset();
    if (!result) {
        std::printf("%-12s %5zu  %s\n", family.c_str(), n, textOf(result.status));
        return;
    }
    const std::vector<double> dx(n, 1.0);
    const double solve = timeOf([&] { return activeset::solve(problem); });
    const double solveKeeping = timeOf([&] { return activeset::solve(problem, keeping); });
    const auto setUpAndBackward = [&](const activeset::Result& from) {
        return timeOf([&] { return activeset::Sensitivity(from, problem).backward(dx); });
    };
    const double kept = setUpAndBackward(result);
    const double anew = setUpAndBackward(bare);
    const activeset::Sensitivity sensitivity(result, problem);
    const double again = timeOf([&] { return sensitivity.backward(dx); });
    const double ranges = timeOf([&] { return activeset::ranges(result, problem); });
    std::printf("%-12s %5zu %10.1f %10.1f %10.1f %7.1f%% %10.1f %7.1f%% %10.1f %10.1f\n",
                family.c_str(), n, 1e6 * solve, 1e6 * solveKeeping, 1e6 * kept,
                100.0 * kept / solve, 1e6 * anew, 100.0 * anew / solve, 1e6 * again, 1e6 * ranges);
}

// The covariance of twenty factors plus a variance for each asset. Shares are at least 0, their sum
// is 1.
void measureFrontier(std::size_t n) {
    constexpr std::size_t Factors = 20;
    std::mt19937_64 bits(1);
    std::normal_distribution<double> normal;
    std::vector<double> loads(n * Factors);
    std::vector<double> H(n * n, 0.0);
    std::vector<double> mean(n);
    const std::vector<double> zero(n, 0.0);
    const std::vector<double> ones(n, 1.0);
    for (double& load : loads) {
        load = normal(bits);
    }
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t k = 0; k < Factors; ++k) {
                H[j * n + i] += loads[k * n + i] * loads[k * n + j] / Factors;
            }
        }
        H[j * (n + 1)] += 0.2 + std::abs(normal(bits));
        mean[j] = -(0.5 + normal(bits));
    }
    const activeset::Problem problem{.H = {H, n, n},
                                     .c = zero,
                                     .A = {ones, 1, n},
                                     .rowLower = {ones.data(), 1},
                                     .rowUpper = {ones.data(), 1},
                                     .lower = zero};
    const activeset::Path path(problem, {.c = mean}, 0.0, 100.0);
    const double seconds =
        timeOf([&] { return activeset::Path(problem, {.c = mean}, 0.0, 100.0); });
    const double cold = timeOf([&] {
        for (const activeset::Piece& piece : path.pieces()) {
            std::vector<double> c(n);
            for (std::size_t j = 0; j < n; ++j) {
                c[j] = 0.5 * (piece.from + piece.to) * mean[j];
            }
            activeset::Problem one = problem;
            one.c = c;
            static_cast<void>(activeset::solve(one));
        }
    });
    std::printf("frontier of %zu assets: %zu pieces, %s, %.1f ms; as cold solves %.1f ms\n", n,
                path.pieces().size(), textOf(path.status()), 1e3 * seconds, 1e3 * cold);
}

}  // namespace

int main(int argc, char** argv) {
    const bool isQuick = argc > 1 && std::string(argv[1]) == "--quick";
    std::printf(
        "family           n   solve/us    keeping  from kept    share  from none    share      "
        "again  "
        "ranges/us\n");
    for (const char* family : {"random30", "box50", "portfolio", "svm-C1"}) {
        for (const std::size_t n : {50U, 100U, 200U, 500U}) {
            if (n <= 100 || !isQuick) {
                measureDerivatives(family, n);
            }
        }
    }
    measureFrontier(isQuick ? 100 : 300);
    return EXIT_SUCCESS;
}
