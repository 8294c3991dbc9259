// Solves all problems of a freeze in each of the front end's ways.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_RUNS_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_RUNS_HPP

#include <cstdint>
#include <functional>
#include <string>

#include "benchmarks/program.hpp"

namespace activeset::bench {

/// What a freeze stores of an answer.
struct Record {
    std::string kind{};  ///< kind of problem and way to solve it: "strict", "strict:warm"
    std::string seed{};  ///< number within the kind: "17"; in a sequence "17.3"; of a file its name
    std::string status{};      ///< textOf(Status)
    double objective = 0.0;    ///< of an optimum, otherwise 0
    std::string iterations{};  ///< all counts, joined by +
    std::uint64_t digest = 0;  ///< of the bits of x, y, z, objective and working set
    double scale = 1.0;        ///< sum of the absolute terms of the objective, at least 1
    std::string objection{};   ///< why the judge rejects the proof; empty if it does not
};

using Receiver = std::function<void(const Record&)>;

/// Passes on the records of all kinds, always in the same order.
///
/// @param only    solve only this kind of problem, in all ways; all kinds if empty
/// @param folder  files in it are of the kind "files"; empty: no files
void runAll(const std::string& only, const std::string& folder, const Receiver& receive);

}  // namespace activeset::bench

#endif
