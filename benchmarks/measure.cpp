// Measures cases: times relative to the kernels of this machine, exact work counts, memory. Prints
// a line for each case, as text or JSON; scripts/bench makes a table of them.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/cases.hpp"
#include "benchmarks/counted.hpp"
#include "benchmarks/front_end.hpp"
#include "benchmarks/kernels.hpp"
#include "benchmarks/problem_file.hpp"
#include "benchmarks/solve.hpp"
#include "benchmarks/split_solve.hpp"
#include "benchmarks/stopwatch.hpp"

using namespace activeset::bench;  // NOLINT(google-build-using-namespace): the program's own
using Json = nlohmann::ordered_json;

namespace {

struct Settings {
    double seconds = 1.0;  ///< time to spend on one case
    bool json = false;
    bool split = true;
    bool plain = false;
    std::string folder{};  ///< the problems are written there for other programs
};

struct Times {
    Stopwatch cold, warm, vectorProduct, rotations, matrixProduct;
};

// Kernels and solver alternate, so that other load slows both down. A kernel first runs untimed,
// which brings its data into the cache as far as they fit.
void takeTimes(const Settings& settings,
               const std::vector<Call>& cold,
               const std::vector<Call>& warm,
               Kernels& kernels,
               Kernels& block,
               Times& times) {
    constexpr int MostRounds = 25;
    constexpr int FewestRounds = 3;
    constexpr double LongRound = 5.0;
    const auto all = [](const std::vector<Call>& calls) {
        return [&] { std::ranges::for_each(calls, [](const Call& call) { call(); }); };
    };
    const auto takeVectorProduct = [&] {
        kernels.vectorProduct();
        times.vectorProduct.sample([&] { kernels.vectorProduct(); });
    };
    const double start = processorTime();
    for (int round = 0; round < MostRounds; ++round) {
        takeVectorProduct();
        times.cold.sample(all(cold));
        takeVectorProduct();
        times.warm.sample(all(warm));
        kernels.rotationSweep();
        times.rotations.sample([&] { kernels.rotationSweep(); });
        block.matrixProduct();
        times.matrixProduct.sample([&] { block.matrixProduct(); });
        const double spent = processorTime() - start;
        if (spent > LongRound || (round + 1 >= FewestRounds && spent > settings.seconds)) {
            return;
        }
    }
}

/// Solves at least once through the classes, several times while there is time.
std::vector<SplitTimes> splitTimes(const Problem& problem, bool isPlain, double seconds) {
    constexpr size_t Most = 9;
    std::vector<SplitTimes> times;
    const double start = processorTime();
    do {
        times.push_back(splitSolve(problem, isPlain));
    } while (times.size() < Most && processorTime() - start < seconds);
    return times;
}

double medianOf(const std::vector<SplitTimes>& times, double (*seconds)(const SplitTimes&)) {
    std::vector<double> values;
    std::ranges::transform(times, std::back_inserter(values), seconds);
    return median(values);
}

/// Times passes of the two phases separately, and the plain method, on the first problem.
void addSplit(const Settings& settings, const Problem& problem, double product, Json& line) {
    const auto whole = [](const SplitTimes& t) { return t.whole; };
    const std::vector<SplitTimes> times = splitTimes(problem, false, settings.seconds);
    line["main_pass_products"] =
        medianOf(times, [](const SplitTimes& t) { return t.mainLoop / t.mainPasses; }) / product;
    if (times.front().phaseOnePasses > 0) {
        line["phase_one_pass_products"] =
            medianOf(times, [](const SplitTimes& t) { return t.phaseOne / t.phaseOnePasses; }) /
            product;
    }
    if (settings.plain) {
        const std::vector<SplitTimes> plain = splitTimes(problem, true, settings.seconds);
        line["plain"] = medianOf(plain, whole) / medianOf(times, whole);
        line["plain_value"] = plain.front().value;
    }
}

/// Times the front end from predicted and cold starts, and counts the work of predictions.
void addFrontEnd(const std::vector<Problem>& problems,
                 const std::vector<Outcome>& outcomes,
                 double seconds,
                 Json& line) {
    constexpr int Most = 15;
    std::vector<Program> all;
    std::ranges::transform(problems, std::back_inserter(all), programOf);
    double rounds = 0.0;
    double steps = 0.0;
    double predicted = 0.0;
    double corePasses = 0.0;
    for (size_t k = 0; k < all.size(); ++k) {
        const activeset::Result result = solveProved(all[k], activeset::Start::Automatic);
        if (std::abs(result.objective - outcomes[k].value) >
            1e-6 * (1.0 + std::abs(outcomes[k].value))) {
            throw std::runtime_error("the front end's objective differs");
        }
        rounds += static_cast<double>(result.iterations.prediction);
        steps += static_cast<double>(result.iterations.dual);
        predicted += result.wasPredicted ? 1.0 : 0.0;
        corePasses += static_cast<double>(result.iterations.phaseOne + result.iterations.main);
    }
    const auto solveAll = [&all](activeset::Start start) {
        return [&all, start] {
            std::ranges::for_each(all, [start](const Program& p) { solveProved(p, start); });
        };
    };
    Stopwatch predictedTime;
    Stopwatch coldTime;
    const double begin = processorTime();
    int round = 0;
    do {
        predictedTime.sample(solveAll(activeset::Start::Automatic));
        coldTime.sample(solveAll(activeset::Start::Cold));
    } while (++round < Most && processorTime() - begin < seconds);
    line["front_seconds"] = over(predictedTime.seconds(), all.size());
    line["front_cold_seconds"] = over(coldTime.seconds(), all.size());
    line["front_rounds"] = over(rounds, all.size());
    line["front_dual_steps"] = over(steps, all.size());
    line["front_core_passes"] = over(corePasses, all.size());
    line["front_predicted"] = over(predicted, all.size());
}

Json measure(const Case& which, const Settings& settings) {
    constexpr size_t LargestBlock = 512;
    const activeset::CallScope scope;
    const Problem& first = which.problems.front();
    const size_t n = first.n;
    Json line{{"family", which.family},
              {"n", n},
              {"inequalities", first.mIneq},
              {"equalities", first.mEq},
              {"problems", which.problems.size()}};
    const std::vector<Call> cold(which.problems.begin(), which.problems.end());
    const std::vector<Outcome> outcomes = countedOutcomes(cold, which.problems, "", line);
    std::vector<Call> warm;
    const std::vector<Start> starts = warmStarts(which, outcomes);
    for (size_t k = 0; k < starts.size(); ++k) {
        warm.emplace_back(which.problems[k], starts[k]);
    }
    static_cast<void>(countedOutcomes(warm, which.problems, "warm_", line));

    Kernels kernels(n);
    Kernels block(std::min(n, LargestBlock));
    Times times;
    takeTimes(settings, cold, warm, kernels, block, times);
    const double product = times.vectorProduct.seconds();
    const double matrixRate = block.matrixFlops() / times.matrixProduct.seconds();
    const double vectorRate = kernels.vectorFlops() / product;
    const double rotationRate = kernels.rotationFlops() / times.rotations.seconds();
    line["seconds"] = over(times.cold.seconds(), cold.size());
    line["warm_seconds"] = over(times.warm.seconds(), warm.size());
    line["dgemv_seconds"] = product;
    line["dgemm_rate"] = matrixRate;
    line["dgemv_rate"] = vectorRate;
    line["drot_rate"] = rotationRate;
    // The time of the counted operations alone.
    line["kernel_seconds"] = line["matrix_flops"].get<double>() / matrixRate +
                             line["vector_flops"].get<double>() / vectorRate +
                             line["rotation_flops"].get<double>() / rotationRate;
    if (settings.split) {
        addSplit(settings, first, product, line);
    }
    addFrontEnd(which.problems, outcomes, settings.seconds, line);
    if (!settings.folder.empty()) {
        writeProblems(which.problems, settings.folder);
    }
    return line;
}

Case fileCase(const std::string& path) {
    return {std::filesystem::path(path).stem().string(), {problemIn(path)}};
}

void print(const Json& line, bool isJson) {
    if (isJson) {
        std::cout << line.dump() << std::endl;
        return;
    }
    for (const auto& [key, value] : line.items()) {
        if (key != "values") {
            std::cout << key << ' ' << (value.is_string() ? value.get<std::string>() : value.dump())
                      << "  ";
        }
    }
    std::cout << std::endl;
}

constexpr const char* Usage =
    "usage: activeset_measure [--json] [--plain] [--no-split] [--seconds S] [--write FOLDER]\n"
    "                         FAMILY N... | FILE...\n"
    "FAMILY: random10 random30 random60 box svm portfolio mpc; FILE: a problem file\n"
    "--plain     also without updates of the reduced Hessian, which takes long\n"
    "--no-split  without the passes of the two phases apart\n"
    "--write     the problems as numbers, for other programs\n";

int run(std::vector<std::string> arguments) {
    Settings settings;
    size_t next = 0;
    const auto value = [&] { return arguments.at(++next); };
    for (; next < arguments.size() && arguments[next].starts_with("--"); ++next) {
        const std::string& option = arguments[next];
        if (option == "--json") {
            settings.json = true;
        } else if (option == "--plain") {
            settings.plain = true;
        } else if (option == "--no-split") {
            settings.split = false;
        } else if (option == "--seconds") {
            settings.seconds = std::stod(value());
        } else if (option == "--write") {
            settings.folder = value();
        } else {
            throw std::invalid_argument("no option " + option);
        }
    }
    if (next == arguments.size()) {
        throw std::invalid_argument("nothing to measure");
    }
    const bool isFamily = std::ranges::count(familyNames(), arguments[next]) != 0;
    for (size_t k = next + (isFamily ? 1 : 0); k < arguments.size(); ++k) {
        print(measure(isFamily ? makeCase(arguments[next], std::stoul(arguments[k]))
                               : fileCase(arguments[k]),
                      settings),
              settings.json);
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n' << Usage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
