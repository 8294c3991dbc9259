// Numbers as people read them.
#ifndef ACTIVESET_CLI_NUMBERS_HPP
#define ACTIVESET_CLI_NUMBERS_HPP

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <string>

namespace activeset::cli {

/// Ten digits, no -0.
[[nodiscard]] inline std::string shownNumber(double value) {
    return fmt::format("{:.10g}", value + 0.0);
}

/// The size of an error. Errors below the rounding of 1 are all written as "below 1e-16".
[[nodiscard]] inline std::string shownResidual(double value) {
    constexpr double Negligible = 1e-16;
    if (value == 0.0) {
        return "0";
    }
    return std::abs(value) < Negligible ? "below 1e-16" : fmt::format("{:.1e}", value);
}

[[nodiscard]] inline std::string counted(std::size_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

}  // namespace activeset::cli

#endif
