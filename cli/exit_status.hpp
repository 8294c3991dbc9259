// The exit statuses of the tool, one per class, from best to worst. With several files the largest
// status counts.
#ifndef ACTIVESET_CLI_EXIT_STATUS_HPP
#define ACTIVESET_CLI_EXIT_STATUS_HPP

#include "activeset/qp.hpp"

namespace activeset::cli {

enum ExitStatus : int {
    Solved = 0,        ///< and whatever else was asked for was done
    LimitReached = 1,  ///< of iterations or time
    IsInfeasible = 2,
    IsUnbounded = 3,
    IsNotConvex = 4,
    IsInaccurate = 5,
    Differs = 6,     ///< `compare` found another answer
    BadData = 7,     ///< a file whose content cannot be understood or solved
    NoFile = 8,      ///< a file that cannot be read or written, standard output among them
    BadUsage = 9,    ///< of the command line
    HasFailed = 10,  ///< out of memory, or an error inside
    WasInterrupted = 130
};

[[nodiscard]] constexpr int exitStatusOf(Status status) {
    switch (status) {
        case Status::Optimal:
            return Solved;
        case Status::IterationLimit:
        case Status::TimeLimit:
            return LimitReached;
        case Status::Infeasible:
            return IsInfeasible;
        case Status::Unbounded:
            return IsUnbounded;
        case Status::NotConvex:
            return IsNotConvex;
        case Status::Inaccurate:
            return IsInaccurate;
        case Status::Invalid:
            return BadData;
        case Status::Interrupted:
            return WasInterrupted;
        default:
            return HasFailed;
    }
}

}  // namespace activeset::cli

#endif
