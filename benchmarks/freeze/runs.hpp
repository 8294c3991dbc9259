// Solves all problems of a freeze, each in the ways in which the front end can be asked.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_RUNS_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_RUNS_HPP

#include <cstdint>
#include <functional>
#include <string>

#include "benchmarks/program.hpp"

namespace activeset::bench {

/// What is kept of an answer.
struct Record {
    std::string kind{};        ///< of the problem, and how it was solved: "strict", "strict:warm"
    std::string seed{};        ///< within its kind: "17", of a sequence "17.3", of a file its name
    std::string status{};      ///< textOf(Status)
    double objective = 0.0;    ///< of an optimum, else 0
    std::string iterations{};  ///< all counts, joined by +
    std::uint64_t digest = 0;  ///< of the bits of x, y, z, objective and working set
    double scale = 1.0;        ///< what the objective is the sum of, at least 1
    std::string objection{};   ///< to the proof; empty if it holds
};

using Receiver = std::function<void(const Record&)>;

/// Hands over the records of all kinds, in an order that is always the same.
///
/// @param only    the only kind of problems, in whatever way they are solved; empty for all
/// @param folder  problem files below it belong to the kind "files"; empty for none
void runAll(const std::string& only, const std::string& folder, const Receiver& receive);

}  // namespace activeset::bench

#endif
