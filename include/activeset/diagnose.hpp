// Looks at the data of a problem before it is solved.
#ifndef ACTIVESET_DIAGNOSE_HPP
#define ACTIVESET_DIAGNOSE_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset {

/// Something about the data that a solve will notice.
struct Finding {
    std::string name{};                  ///< "dependent equalities", "duplicate rows", …
    std::vector<std::size_t> members{};  ///< rows or variables, 0-based; empty for the whole
    std::string text{};                  ///< what it does to a solve, one sentence
};

/// What is remarkable about the data of a problem.
struct Diagnosis {
    std::size_t equalities = 0;        ///< rows whose sides are equal, and hard
    std::size_t equalityRank = 0;      ///< of them, numerically
    double smallestEigenvalue[2]{};    ///< of H: not below the first, not above the second
    double largestEigenvalue[2]{};     ///< likewise
    double smallestCoefficient = 0.0;  ///< in magnitude, of H, c and A, zeros left out
    double largestCoefficient = 0.0;   ///< likewise
    std::size_t freeVariables = 0;     ///< without a bound
    std::size_t fixedVariables = 0;    ///< whose bounds are equal, and hard
    std::vector<Finding> findings{};   ///< one for each kind
    std::vector<Fault> faults{};  ///< of data that cannot be solved; nothing else is filled then
};

/// @cost O(m²n + n²)
[[nodiscard]] ACTIVESET_API Diagnosis diagnose(const Problem& problem);

}  // namespace activeset

#endif
