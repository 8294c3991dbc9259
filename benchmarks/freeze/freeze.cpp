// Freezes the answers to some 10 000 problems of all kinds, and compares later answers with them.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "benchmarks/freeze/runs.hpp"

using namespace activeset::bench;  // NOLINT(google-build-using-namespace): the program's own

namespace {

constexpr const char* Usage =
    "usage: activeset_freeze write FILE [OPTION]...    stores the answers\n"
    "       activeset_freeze compare FILE [OPTION]...  compares the answers with those stored\n"
    "       activeset_freeze show KIND SEED            prints one answer\n"
    "--bits        compare x, y, z, working sets and iterations, too, bit for bit\n"
    "--outcomes    status, objective to 1e-9 in proportion, proofs (default)\n"
    "--only KIND   problems of this kind only\n"
    "--files DIR   problem files below DIR, too (default: $ACTIVESET_SHARED/problems)\n"
    "--first N     print at most N differences (default 20)\n"
    "Bits depend on the processor: compare them on the machine that stored them.\n";

struct Options {
    bool bits = false;
    std::string only{};
    std::string files{};
    std::size_t first = 20;
};

std::string lineOf(const Record& record) {
    std::ostringstream line;
    line << record.kind << ' ' << record.seed << " \"" << record.status << "\" " << std::hexfloat
         << record.objective << std::hex << ' ' << record.iterations << ' ' << record.digest;
    return line.str();
}

std::string keyOf(const Record& record) {
    return record.kind + ' ' + record.seed;
}

/// Reads what lineOf has written.
Record recordFrom(const std::string& line) {
    Record record;
    std::istringstream words(line);
    std::string objective;
    words >> record.kind >> record.seed;
    words.ignore(2, '"');
    std::getline(words, record.status, '"');
    words >> objective >> record.iterations >> std::hex >> record.digest;
    if (!words) {
        throw std::runtime_error("not a line of a freeze: " + line);
    }
    record.objective = std::strtod(objective.c_str(), nullptr);
    return record;
}

void write(const std::string& path, const Options& options) {
    std::ofstream file(path);
    std::size_t count = 0;
    runAll(options.only, options.files, [&](const Record& record) {
        file << lineOf(record) << '\n';
        ++count;
        if (!record.objection.empty()) {
            std::cout << keyOf(record) << ": " << record.objection << '\n';
        }
    });
    if (!file.flush()) {
        throw std::runtime_error(path + " cannot be written");
    }
    std::cout << count << " answers\n";
}

/// Whether a status claims something about the problem.
bool isProof(const std::string& status) {
    return status == "optimal" || status == "infeasible" || status == "unbounded" ||
           status == "not convex";
}

/// Counts for one kind of problem, over all ways of solving.
struct Counts {
    std::size_t answers = 0;
    std::size_t invalid = 0;       ///< proofs that the judge rejects
    std::size_t contradicted = 0;  ///< proved before, and now the opposite
    std::size_t lost = 0;          ///< proved before, not now
    std::size_t won = 0;           ///< proved now, not before
    std::size_t objective = 0;
    std::size_t bits = 0;
};

class Comparison {
public:
    Comparison(const std::string& path, const Options& options) : options_(options) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            const Record record = recordFrom(line);
            stored_[keyOf(record)] = record;
        }
        if (stored_.empty()) {
            throw std::runtime_error(path + " holds no answers");
        }
    }

    void add(const Record& now) {
        Counts& counts = counts_[now.kind.substr(0, now.kind.find(':'))];
        ++counts.answers;
        if (!now.objection.empty()) {
            tell(counts.invalid, now, now.objection);
        }
        const auto found = stored_.find(keyOf(now));
        if (found == stored_.end()) {
            ++unknown_;
            return;
        }
        const Record& before = found->second;
        constexpr double Allowed = 1e-9;
        if (now.status != before.status) {
            const std::string change = before.status + " -> " + now.status;
            if (isProof(before.status)) {
                tell(isProof(now.status) ? counts.contradicted : counts.lost, now, change);
            } else if (isProof(now.status)) {
                tell(counts.won, now, change);
            } else if (options_.bits) {
                tell(counts.bits, now, change);
            }
        } else if (!(std::abs(now.objective - before.objective) <= Allowed * now.scale)) {
            std::ostringstream text;
            text.precision(17);
            text << "objective " << before.objective << " -> " << now.objective;
            tell(counts.objective, now, text.str());
        } else if (options_.bits &&
                   (now.digest != before.digest || now.iterations != before.iterations)) {
            tell(counts.bits, now,
                 now.iterations == before.iterations
                     ? "bits"
                     : "iterations " + before.iterations + " -> " + now.iterations);
        }
    }

    /// Prints the counts. Returns whether nothing is worse than before.
    bool report() const {
        std::printf("%-14s %7s %8s %12s %5s %5s %9s %6s\n", "kind", "answers", "invalid",
                    "contradicted", "lost", "won", "objective", "bits");
        Counts total;
        for (const auto& [kind, c] : counts_) {
            print(kind, c);
            total.answers += c.answers;
            total.invalid += c.invalid;
            total.contradicted += c.contradicted;
            total.lost += c.lost;
            total.won += c.won;
            total.objective += c.objective;
            total.bits += c.bits;
        }
        print("all", total);
        if (unknown_ > 0) {
            std::printf("%zu answers had not been stored\n", unknown_);
        }
        return total.invalid + total.contradicted + total.lost + total.objective + total.bits == 0;
    }

private:
    static void print(const std::string& kind, const Counts& c) {
        std::printf("%-14s %7zu %8zu %12zu %5zu %5zu %9zu %6zu\n", kind.c_str(), c.answers,
                    c.invalid, c.contradicted, c.lost, c.won, c.objective, c.bits);
    }

    void tell(std::size_t& count, const Record& record, const std::string& text) {
        ++count;
        if (told_++ < options_.first) {
            std::cout << keyOf(record) << ": " << text << '\n';
        }
    }

    Options options_;
    std::unordered_map<std::string, Record> stored_;
    std::map<std::string, Counts> counts_;
    std::size_t unknown_ = 0;
    std::size_t told_ = 0;
};

void show(const std::string& kind, const std::string& seed) {
    const std::string problems = kind.substr(0, kind.find(':'));
    runAll(problems, "", [&](const Record& record) {
        if (record.kind == kind && record.seed == seed) {
            std::cout << lineOf(record) << "\nobjective " << record.objective << "\nproof "
                      << (record.objection.empty() ? "holds" : record.objection) << '\n';
        }
    });
}

int run(const std::vector<std::string>& words) {
    if (words.size() < 2 || (words[0] == "show" && words.size() != 3)) {
        std::cerr << Usage;
        return 2;
    }
    if (words[0] == "show") {
        show(words[1], words[2]);
        return 0;
    }
    Options options;
    const char* const shared = std::getenv("ACTIVESET_SHARED");  // NOLINT(concurrency-mt-unsafe)
    options.files = std::string(shared == nullptr ? "../shared" : shared) + "/problems";
    if (!std::filesystem::exists(options.files)) {
        options.files.clear();
    }
    for (std::size_t k = 2; k < words.size(); ++k) {
        if (words[k] == "--bits" || words[k] == "--outcomes") {
            options.bits = words[k] == "--bits";
        } else if (words[k] == "--only") {
            options.only = words.at(++k);
        } else if (words[k] == "--files") {
            options.files = words.at(++k);
        } else if (words[k] == "--first") {
            options.first = std::stoul(words.at(++k));
        } else {
            throw std::runtime_error("unknown option " + words[k]);
        }
    }
    if (words[0] == "write") {
        write(words[1], options);
        return 0;
    }
    if (words[0] != "compare") {
        std::cerr << Usage;
        return 2;
    }
    Comparison comparison(words[1], options);
    runAll(options.only, options.files, [&](const Record& record) { comparison.add(record); });
    return comparison.report() ? 0 : 1;
}

}  // namespace

int main(int count, char** words) try {
    return run({words + 1, words + count});
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 2;
}
