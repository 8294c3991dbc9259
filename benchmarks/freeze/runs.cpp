#include "benchmarks/freeze/runs.hpp"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <initializer_list>
#include <utility>
#include <vector>

#include "benchmarks/freeze/judge.hpp"
#include "benchmarks/freeze/kinds.hpp"

namespace activeset::bench {

namespace {

constexpr double Accepted = 2e-9;  // relative residual: twice the tolerance of a solve

/// The hash FNV-1a, word by word.
class Digest {
public:
    void add(std::uint64_t word) { value_ = 0x100000001b3U * (value_ ^ word ^ (value_ >> 29U)); }
    void add(const std::vector<double>& values) {
        add(values.size());
        for (const double value : values) {
            add(std::bit_cast<std::uint64_t>(value));
        }
    }
    void add(const WorkingSet& set) {
        for (const auto* list : {&set.equalities, &set.rowsAtLower, &set.rowsAtUpper, &set.atLower,
                                 &set.atUpper, &set.fixed}) {
            add(list->size());
            std::ranges::for_each(*list, [this](std::size_t member) { add(member); });
        }
    }
    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xcbf29ce484222325U;
};

Record recordOf(std::string kind, std::string seed, const Program& program, const Result& result) {
    Record record{std::move(kind), std::move(seed), textOf(result.status)};
    if (result.status == Status::Optimal) {
        record.objective = result.objective;
        record.scale = objectiveScale(program, result.x);
    }
    const Iterations& count = result.iterations;
    for (const std::size_t number : {count.phaseOne, count.main, count.prediction, count.dual,
                                     count.proximal, count.refinement}) {
        record.iterations += (record.iterations.empty() ? "" : "+") + std::to_string(number);
    }
    Digest digest;
    digest.add(result.x);
    digest.add(result.y);
    digest.add(result.z);
    digest.add(std::bit_cast<std::uint64_t>(result.objective));
    digest.add(result.workingSet);
    digest.add(result.direction);
    if (result.farkas) {
        digest.add(result.farkas->y);
        digest.add(result.farkas->z);
    }
    record.digest = digest.value();
    record.objection = objectionTo(program, result, Accepted);
    return record;
}

/// Moves c, or the sides, or both, by up to 5 per cent.
void move(Program& program, RandomNumbers& random) {
    const std::size_t which = random.pick(0, 2);
    const auto moveAll = [&](std::vector<double>& values) {
        std::ranges::for_each(values, [&](double& value) { value *= 1.0 + random(-0.05, 0.05); });
    };
    if (which != 1) {
        moveAll(program.c);
    }
    if (which != 0) {
        for (std::size_t i = 0; i < program.m; ++i) {  // outward, so it stays feasible
            program.rowLower[i] -= program.rowLower[i] < program.rowUpper[i] ? random(0.0, 0.1) : 0;
            program.rowUpper[i] += program.rowLower[i] < program.rowUpper[i] ? random(0.0, 0.1) : 0;
        }
    }
}

/// A working set that has nothing to do with the problem and may name constraints that do not
/// exist.
WorkingSet straySet(const Program& program, RandomNumbers& random) {
    WorkingSet set;
    for (std::size_t i = 0; i < program.m + 2; ++i) {
        if (random.chance(0.2)) {
            (random.chance(0.5) ? set.rowsAtLower : set.rowsAtUpper).push_back(i);
        }
    }
    for (std::size_t j = 0; j < program.n; ++j) {
        if (random.chance(0.3)) {
            (random.chance(0.5) ? set.atLower : set.atUpper).push_back(j);
        }
    }
    return set;
}

void runSequence(const Kind& kind, std::uint64_t seed, const Receiver& receive) {
    constexpr std::size_t Steps = 8;
    RandomNumbers random(seed);
    Program program = problemOf(kind, seed);
    Solver solver(program.view());
    for (std::size_t step = 0; step < Steps; ++step) {
        receive(recordOf(kind.name + std::string(":sequence"),
                         std::to_string(seed) + "." + std::to_string(step), program,
                         solver.solve()));
        move(program, random);
        if (step == Steps / 2) {  // another matrix of the same shape
            std::ranges::for_each(program.H, [](double& entry) { entry *= 1.5; });
            std::ranges::for_each(program.A, [](double& entry) { entry *= 0.75; });
            solver.setHessian(program.view().H);
            solver.setRows(program.view().A);
        }
        solver.setLinear(program.c, program.constant);
        solver.setRowSides(program.rowLower, program.rowUpper);
        solver.setBounds(program.lower, program.upper);
    }
}

/// Starts from the solution of a similar problem, or from an arbitrary working set.
void runWarm(const Kind& kind, std::uint64_t seed, const Receiver& receive) {
    RandomNumbers random(seed);
    Program program = problemOf(kind, seed);
    WarmStart start = solve(program.view()).warmStart();
    move(program, random);
    const auto solveFrom = [&](const char* way) {
        activeset::Problem problem = program.view();
        problem.warmStart = &start;
        receive(
            recordOf(kind.name + std::string(way), std::to_string(seed), program, solve(problem)));
    };
    solveFrom(":warm");
    start = {random.spread(program.n), straySet(program, random)};
    solveFrom(":astray");
}

void runCold(const Kind& kind, std::uint64_t seed, const Receiver& receive) {
    const Program program = problemOf(kind, seed);
    Settings settings{.startMode = Start::Cold};
    receive(recordOf(kind.name + std::string(":cold"), std::to_string(seed), program,
                     solve(program.view(), settings)));
    settings.maxIterations = 3;
    receive(recordOf(kind.name + std::string(":limited"), std::to_string(seed), program,
                     solve(program.view(), settings)));
}

/// Solves all of them at once on two threads, every second time in chains.
void runMany(const Kind& kind, std::uint64_t count, const Receiver& receive) {
    std::vector<Program> programs;
    for (std::uint64_t seed = 0; seed < count; ++seed) {
        programs.push_back(problemOf(kind, seed));
    }
    std::vector<activeset::Problem> problems;
    for (const Program& program : programs) {
        problems.push_back(program.view());
    }
    for (const std::size_t chain : {std::size_t{0}, std::size_t{5}}) {
        const std::vector<Result> results = solveMany(problems, {.threads = 2, .chain = chain});
        for (std::size_t k = 0; k < results.size(); ++k) {
            receive(recordOf(kind.name + std::string(chain == 0 ? ":many" : ":chain"),
                             std::to_string(k), programs[k], results[k]));
        }
    }
}

void runKind(const Kind& kind, const Receiver& receive) {
    for (std::uint64_t seed = 0; seed < kind.count; ++seed) {
        const Program program = problemOf(kind, seed);
        receive(recordOf(kind.name, std::to_string(seed), program, solve(program.view())));
    }
    for (std::uint64_t seed = 0; seed < kind.count / 20; ++seed) {
        runCold(kind, seed, receive);
        runWarm(kind, seed, receive);
    }
    for (std::uint64_t seed = 0; seed < kind.count / 60; ++seed) {
        runSequence(kind, seed, receive);
    }
    runMany(kind, kind.count / 30, receive);
}

void runFiles(const std::string& folder, const Receiver& receive) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".QPS") {
            paths.push_back(entry.path());
        }
    }
    std::ranges::sort(paths);
    for (const std::filesystem::path& path : paths) {
        const Program program = programOfFile(path.string());
        receive(recordOf("files", path.stem().string(), program, solve(program.view())));
    }
}

}  // namespace

void runAll(const std::string& only, const std::string& folder, const Receiver& receive) {
    for (const Kind& kind : kinds()) {
        if (only.empty() || only == kind.name) {
            runKind(kind, receive);
        }
    }
    if (!folder.empty() && (only.empty() || only == "files")) {
        runFiles(folder, receive);
    }
}

}  // namespace activeset::bench
