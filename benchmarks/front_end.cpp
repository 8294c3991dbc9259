#include "benchmarks/front_end.hpp"

#include <stdexcept>
#include <string>

namespace activeset::bench {

Result solveProved(const Program& program, activeset::Start start, bool isInfeasible) {
    Settings settings;
    settings.startMode = start;
    Result result = activeset::solve(program.view(), settings);
    if (result.status != (isInfeasible ? Status::Infeasible : Status::Optimal)) {
        throw std::runtime_error(std::string("front end: ") + textOf(result.status));
    }
    return result;
}

}  // namespace activeset::bench
