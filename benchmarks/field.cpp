// Times the front end, proofs included, on families on which other solvers of the field were timed.
// Prints a line of JSON; scripts/bench makes a table of them.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "activeset/batch.hpp"
#include "benchmarks/field_families.hpp"
#include "benchmarks/front_end.hpp"
#include "benchmarks/problem_file.hpp"
#include "benchmarks/stopwatch.hpp"

using namespace activeset::bench;  // NOLINT(google-build-using-namespace): the program's own
using Json = nlohmann::ordered_json;

namespace {

constexpr const char* Usage =
    "usage: activeset_field [--seconds S] [--write FOLDER] FAMILY N\n"
    "       activeset_field [--seconds S] [--write FOLDER] NAME FILE...\n"
    "FAMILY: one of field_families.hpp, solved cold; sequence:FAMILY: fifty steps of a Solver, a\n"
    "solve; many1:FAMILY, many2:FAMILY: 2000 problems on one or two threads, a problem; batch1:,\n"
    "batch2:, shared1:, shared2:FAMILY: a batch of 20000, likewise, matrices their own or shared\n";

struct Options {
    double seconds = 1.0;
    std::string folder{};
};

/// Repeats an action for about `seconds` by a clock.
template <class Action>
Stopwatch timesOf(Action action, double seconds, double (*clock)()) {
    constexpr int Most = 101;
    constexpr int Fewest = 3;
    Stopwatch watch(clock);
    const double start = clock();
    for (int round = 0; round < Most && (round < Fewest || clock() - start < seconds); ++round) {
        watch.sample(action);
    }
    return watch;
}

/// The median processor time of an action.
template <class Action>
double timeOf(Action action, double seconds) {
    return timesOf(action, seconds, processorTime).seconds();
}

/// The median over the problems, each solved cold.
Json coldTimes(const std::vector<Problem>& problems, bool isInfeasible, double seconds) {
    std::vector<double> times;
    std::vector<double> values;
    for (const Problem& problem : problems) {
        Program program = programOf(problem);
        program.start.clear();
        const auto solveIt = [&] {
            return solveProved(program, activeset::Start::Automatic, isInfeasible);
        };
        if (!isInfeasible) {
            values.push_back(solveIt().objective);
        }
        times.push_back(timeOf(solveIt, seconds / static_cast<double>(problems.size())));
    }
    return {{"seconds", median(times)}, {"values", values}};
}

/// Time per solve of a Solver whose c and row sides change, from setting them to the result.
double sequenceTime(const Problem& problem, double seconds) {
    constexpr std::size_t Steps = 50;
    const std::vector<field::Step> steps = field::sequence(problem, Steps, problem.n);
    const Program program = programOf(problem);
    std::vector<std::vector<double>> upper;
    for (const field::Step& step : steps) {
        upper.push_back(step.b);
        upper.back().insert(upper.back().end(), problem.beq.begin(), problem.beq.end());
    }
    activeset::Solver solver(program.view());
    if (!solver.solve()) {
        throw std::runtime_error("the first of a sequence has no optimum");
    }
    activeset::Result result;
    const auto solveAll = [&] {
        for (std::size_t k = 0; k < Steps; ++k) {
            solver.setLinear(steps[k].c);
            if (!problem.b.empty()) {
                solver.setRowSides(program.rowLower, upper[k]);
            }
            solver.solve(result);
            if (!result) {
                throw std::runtime_error("a step of a sequence has no optimum");
            }
        }
    };
    return timeOf(solveAll, seconds) / Steps;
}

/// Wall-clock time per problem in solveMany: the shortest of several runs, because the clock also
/// counts what else runs.
double manyTime(const std::string& family, std::size_t n, unsigned threads, double seconds) {
    constexpr std::size_t Count = 2000;
    std::vector<Program> programs;
    std::vector<activeset::Problem> views;
    for (std::size_t seed = 0; seed < Count; ++seed) {
        programs.push_back(programOf(field::make(family, n, seed)));
    }
    for (const Program& program : programs) {
        views.push_back(program.view());
    }
    const auto solveAll = [&] {
        const auto results = activeset::solveMany(views, {.threads = threads});
        if (!std::ranges::all_of(results, [](const auto& result) { return bool{result}; })) {
            throw std::runtime_error("one of many has no optimum");
        }
    };
    return timesOf(solveAll, seconds, wallTime).shortest() / Count;
}

/// The arrays of a batch.
struct Arrays {
    std::vector<double> H{}, c{}, A{}, rowLower{}, rowUpper{}, lower{}, upper{};

    void add(const Program& program) {
        const auto append = [](std::vector<double>& all, const std::vector<double>& values) {
            all.insert(all.end(), values.begin(), values.end());
        };
        append(H, program.H);
        append(c, program.c);
        append(A, program.A);
        append(rowLower, program.rowLower);
        append(rowUpper, program.rowUpper);
        append(lower, program.lower);
        append(upper, program.upper);
    }
};

/// Time per problem of a batch, from memory to memory. The problems are members of the family, or,
/// with `isShared`, steps of a sequence with the matrices of its first problem.
double batchTime(
    const std::string& family, std::size_t n, bool isShared, unsigned threads, double seconds) {
    constexpr std::size_t Count = 20000;
    constexpr std::size_t Different = 500;
    const Problem first = field::make(family, n, 0);
    Arrays arrays;
    arrays.add(programOf(first));
    if (isShared) {
        for (const field::Step& step : field::sequence(first, Count - 1, n)) {
            Problem next = first;
            next.c = step.c;
            next.b = step.b;
            arrays.add(programOf(next));
        }
    } else {
        for (std::size_t k = 1; k < Count; ++k) {
            arrays.add(programOf(field::make(family, n, k % Different)));
        }
    }
    const std::size_t m = programOf(first).m;
    const auto stride = [&](std::size_t size) { return isShared ? 0 : size; };
    const activeset::ProblemBatch problems{
        .count = Count,
        .H = {{arrays.H.data(), n, n}, stride(n * n)},
        .c = {{arrays.c.data(), n}, n},
        .A = {{arrays.A.data(), m, n}, stride(m * n)},
        .rowLower = {{arrays.rowLower.data(), m}, m},
        .rowUpper = {{arrays.rowUpper.data(), m}, m},
        .lower = {{arrays.lower.data(), arrays.lower.size() / Count}, arrays.lower.size() / Count},
        .upper = {{arrays.upper.data(), arrays.upper.size() / Count}, arrays.upper.size() / Count}};
    std::vector<double> x(Count * n);
    std::vector<double> y(Count * m);
    std::vector<double> z(Count * n);
    std::vector<activeset::Certificate> certificates(Count);
    const auto solveAll = [&] {
        const std::size_t optimal = activeset::solveBatch(
            problems,
            {.x = {x.data()}, .y = {y.data()}, .z = {z.data()}, .certificate = certificates.data()},
            {.threads = threads});
        if (optimal != Count) {
            throw std::runtime_error("one of a batch has no optimum");
        }
    };
    return timesOf(solveAll, seconds, wallTime).shortest() / Count;
}

/// Three problems up to n = 100, one beyond.
std::vector<Problem> problemsOf(const std::string& family, std::size_t n) {
    std::vector<Problem> problems;
    for (std::uint64_t seed = 0; seed < (n <= 100 ? 3U : 1U); ++seed) {
        problems.push_back(field::make(family, n, seed));
    }
    return problems;
}

Json measure(const std::string& name,
             const std::vector<std::string>& arguments,
             const Options& options) {
    const std::size_t colon = name.find(':');
    const std::string way = name.substr(0, colon == std::string::npos ? 0 : colon);
    const std::string family = name.substr(colon == std::string::npos ? 0 : colon + 1);
    std::vector<Problem> problems;
    if (std::filesystem::exists(arguments.front())) {
        std::ranges::transform(arguments, std::back_inserter(problems), problemIn);
    } else {
        problems = problemsOf(family, std::stoul(arguments.front()));
    }
    const Problem& first = problems.front();
    Json line{{"family", name},
              {"n", first.n},
              {"rows", first.mIneq},
              {"equalities", first.mEq},
              {"values", Json::array()}};
    if (way == "sequence") {
        std::vector<double> times;
        for (const Problem& problem : problems) {
            times.push_back(
                sequenceTime(problem, options.seconds / static_cast<double>(problems.size())));
        }
        line["seconds"] = median(times);
    } else if (way == "many1" || way == "many2") {
        line["seconds"] = manyTime(family, first.n, way == "many1" ? 1 : 2, options.seconds);
    } else if (way.starts_with("batch") || way.starts_with("shared")) {
        line["seconds"] = batchTime(family, first.n, way.starts_with("shared"),
                                    way.ends_with("1") ? 1 : 2, options.seconds);
    } else {
        line.update(coldTimes(problems, family.starts_with("infeasible"), options.seconds));
    }
    if (!options.folder.empty()) {
        writeProblems(problems, options.folder);
    }
    return line;
}

int run(const std::vector<std::string>& words) {
    Options options;
    std::size_t next = 0;
    for (; next < words.size() && words[next].starts_with("--"); next += 2) {
        if (words[next] == "--seconds") {
            options.seconds = std::stod(words.at(next + 1));
        } else if (words[next] == "--write") {
            options.folder = words.at(next + 1);
        } else {
            throw std::invalid_argument("no option " + words[next]);
        }
    }
    if (words.size() < next + 2) {
        throw std::invalid_argument("nothing to measure");
    }
    const auto rest = words.begin() + static_cast<std::ptrdiff_t>(next);
    std::cout << measure(*rest, {rest + 1, words.end()}, options).dump() << std::endl;
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
