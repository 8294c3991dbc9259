// Texts of faults.
#include "frontend/problem/fault_list.hpp"

#include <array>
#include <charconv>
#include <cmath>

namespace activeset::frontend {

std::string printed(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string entry(const char* name, std::size_t i) {
    return std::string(name) + "(" + std::to_string(i) + ")";
}

const char* namesIn(Part part) {
    switch (part) {
        case Part::Hessian:
            return "H";
        case Part::Linear:
            return "c and constant";
        case Part::Rows:
            return "A";
        case Part::RowSides:
            return "rowLower and rowUpper";
        case Part::Bounds:
            return "lower and upper";
        case Part::Penalties:
            return "rowPenalty and boundPenalty";
        case Part::Start:
            break;
    }
    return "start";
}

}  // namespace activeset::frontend
