// Solves many small problems of each style and counts wrong answers with an exact judge.
//
//     exact_judge [--style NAME] [--count N] [--seed LOWEST] [--largest VARIABLES] [--show]
//
// Each problem has a seed of its own: the lowest one, the next, and so on. With --show it prints
// some of those that are solved wrongly.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "support/exact/judge.hpp"
#include "support/styles.hpp"

namespace {

using namespace activeset;
using namespace activeset::test;

struct Options {
    std::string style;
    std::uint64_t count = 1000;
    std::uint64_t seed = 1;
    std::size_t largest = 4;
    bool show = false;
};

struct Counts {
    std::map<std::string, std::uint64_t> statuses;
    std::map<std::string, std::vector<std::uint64_t>> wrong;  // the seeds
    std::vector<std::uint64_t> inaccurate;
    std::uint64_t solves = 0;
    double largestError = 0.0;
};

/// The kind of fault: its text up to the first number.
std::string kindOf(const std::string& wrong) {
    return wrong.substr(0, wrong.find_first_of("-0123456789"));
}

void print(const Result& result) {
    const Certificate& certificate = result.certificate;
    std::printf("residuals: primal %.2e, dual %.2e, gap %.2e\n", certificate.primal.relative,
                certificate.dual.relative, certificate.gap.relative);
    const auto list = [](const char* name, const Numbers& values) {
        std::printf("%s =", name);
        for (const double value : values) {
            std::printf(" %.17g", value);
        }
        std::printf("\n");
    };
    list("x", result.x);
    list("y", result.y);
    list("z", result.z);
    list("direction", result.direction);
}

/// @param shown  the problem, if it is to be printed
void note(Counts& counts,
          std::uint64_t seed,
          const std::string& what,
          const Sample* shown,
          const Result& result) {
    std::vector<std::uint64_t>& seeds = counts.wrong[kindOf(what)];
    if (shown != nullptr && seeds.size() < 3) {
        std::printf("-- seed %llu: %s\n%s", static_cast<unsigned long long>(seed), what.c_str(),
                    exact::textOf(*shown).c_str());
        print(result);
    }
    seeds.push_back(seed);
}

Counts run(Style style, const Options& options) {
    Counts counts;
    for (std::uint64_t seed = options.seed; seed < options.seed + options.count; ++seed) {
        SeededChoices choices(seed);
        const StyledCase styled = caseOf(style, choices, options.largest);
        try {
            styled.solve({}, [&](const Sample& sample, const Result& result) {
                const exact::Verdict verdict = exact::judge(sample, result);
                ++counts.solves;
                ++counts.statuses[textOf(result.status)];
                counts.largestError = std::max(counts.largestError, verdict.objectiveError);
                if (verdict.isInaccurate) {
                    counts.inaccurate.push_back(seed);
                } else if (!verdict.wrong.empty()) {
                    note(counts, seed, verdict.wrong, options.show ? &sample : nullptr, result);
                }
            });
        } catch (const std::exception& error) {
            note(counts, seed, std::string("raised ") + error.what(),
                 options.show ? &styled.sample : nullptr, {});
        }
    }
    return counts;
}

void print(const char* name, const Counts& counts) {
    std::uint64_t wrong = 0;
    for (const auto& [what, seeds] : counts.wrong) {
        wrong += seeds.size();
    }
    std::printf("%-15s %8llu solves %6llu wrong %6zu inaccurate, objective off by %.1e;", name,
                static_cast<unsigned long long>(counts.solves),
                static_cast<unsigned long long>(wrong), counts.inaccurate.size(),
                counts.largestError);
    for (const auto& [status, count] : counts.statuses) {
        std::printf(" %s %llu", status.c_str(), static_cast<unsigned long long>(count));
    }
    std::printf("\n");
    const auto seedsOf = [](const char* what, const std::vector<std::uint64_t>& seeds) {
        std::printf("    %zu %s: seeds", seeds.size(), what);
        for (std::size_t k = 0; k < seeds.size() && k < 6; ++k) {
            std::printf(" %llu", static_cast<unsigned long long>(seeds[k]));
        }
        std::printf("\n");
    };
    for (const auto& [what, seeds] : counts.wrong) {
        seedsOf(what.c_str(), seeds);
    }
    if (!counts.inaccurate.empty()) {
        seedsOf("inaccurate", counts.inaccurate);
    }
    std::fflush(stdout);
}

Options optionsOf(int argc, char** argv) {
    Options options;
    for (int k = 1; k < argc; ++k) {
        const std::string name = argv[k];
        if (name == "--show") {
            options.show = true;
            continue;
        }
        const std::string value = k + 1 < argc ? argv[++k] : "";
        const auto number = std::strtoull(value.c_str(), nullptr, 10);
        if (name == "--style") {
            options.style = value;
        } else if (name == "--count") {
            options.count = number;
        } else if (name == "--seed") {
            options.seed = number;
        } else if (name == "--largest" && number > 0) {
            options.largest = number;
        } else {
            std::fprintf(stderr,
                         "usage: exact_judge [--style NAME] [--count N] [--seed LOWEST]"
                         " [--largest VARIABLES] [--show]\n");
            std::exit(2);
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = optionsOf(argc, argv);
    bool isKnown = false;
    bool isRight = true;
    for (std::size_t k = 0; k < StyleNames.size(); ++k) {
        if (options.style.empty() || options.style == StyleNames.at(k)) {
            isKnown = true;
            const Counts counts = run(static_cast<Style>(k), options);
            print(StyleNames.at(k), counts);
            isRight &= counts.wrong.empty();
        }
    }
    if (!isKnown) {
        std::fprintf(stderr, "exact_judge: no style %s\n", options.style.c_str());
        return 2;
    }
    return isRight ? 0 : 1;
}
