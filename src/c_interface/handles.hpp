// The objects behind the handles of the C interface.
#ifndef ACTIVESET_SRC_C_INTERFACE_HANDLES_HPP
#define ACTIVESET_SRC_C_INTERFACE_HANDLES_HPP

#include <cstddef>
#include <optional>
#include <stop_token>
#include <vector>

#include "activeset/activeset.h"
#include "activeset/qp.hpp"

struct activeset_problem {
    std::size_t n = 0;
    std::size_t m = 0;
    /// n zeros. They take the place of an absent c and tell the front end the number of variables.
    std::vector<double> zeros{};
    activeset::Problem views{};  ///< its warm start is `warmStart`, if there is one
    std::optional<activeset::WarmStart> warmStart{};

    [[nodiscard]] activeset::Problem problem() const {
        activeset::Problem problem = views;
        problem.warmStart = warmStart ? &*warmStart : nullptr;
        return problem;
    }
};

struct activeset_stop {
    std::stop_source source{};
};

struct activeset_solver {
    std::size_t n = 0;
    std::size_t m = 0;
    activeset::Solver solver;
    activeset::Result result{};  ///< of the last solve, whose memory the next one uses
};

#endif
