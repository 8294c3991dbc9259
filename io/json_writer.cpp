// Problems as JSON, member by member.
#include <cmath>

#include "io/writer.hpp"

namespace activeset::io {

namespace {

std::string quotedText(const std::string& text) {
    constexpr std::string_view Hex = "0123456789abcdef";
    std::string result = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            result += '\\';
        }
        if (byte < 0x20) {
            result += std::string("\\u00") + Hex[byte >> 4U] + Hex[byte & 0xFU];
        } else {
            result += character;
        }
    }
    return result + "\"";
}

std::string numberText(double value) {
    return std::isinf(value) ? (value > 0.0 ? "\"inf\"" : "\"-inf\"") : exactNumber(value);
}

template <class Value, class Text>
std::string arrayText(const std::vector<Value>& values, Text text) {
    std::string result = "[";
    for (const Value& value : values) {
        result += (result.size() == 1 ? "" : ", ") + text(value);
    }
    return result + "]";
}

/// Row by row, one a line.
std::string matrixText(const std::vector<double>& matrix,
                       std::size_t rows,
                       std::size_t columns,
                       double sign) {
    std::string result = "[";
    for (std::size_t i = 0; i < rows; ++i) {
        result += i == 0 ? "\n    [" : ",\n    [";
        for (std::size_t j = 0; j < columns; ++j) {
            result += (j == 0 ? "" : ", ") + exactNumber(sign * matrix[j * rows + i]);
        }
        result += "]";
    }
    return result + "]";
}

/// An object with the parts that there are.
std::string penaltyText(const Penalties& penalty) {
    std::string result = "{";
    for (const PenaltyPart& part : PenaltyParts) {
        const std::vector<double>& values = penalty.*(part.values);
        if (!values.empty()) {
            result += std::string(result.size() == 1 ? "\n    \"" : ",\n    \"") + part.name +
                      "\": " + arrayText(values, numberText);
        }
    }
    return result + "}";
}

}  // namespace

std::string jsonText(const Model& model) {
    const double sign = model.maximise ? -1.0 : 1.0;
    const bool hasPenalties = !model.rowPenalty.empty() || !model.boundPenalty.empty();
    std::string text = "{\n  \"schema\": \"activeset-problem/";
    text += hasPenalties ? "2\"" : "1\"";
    const auto member = [&](const char* key, const std::string& value) {
        text += std::string(",\n  \"") + key + "\": " + value;
    };
    std::vector<double> c = model.c;
    for (double& value : c) {
        value *= sign;
    }
    member("name", quotedText(model.name));
    member("sense", model.maximise ? "\"max\"" : "\"min\"");
    member("variables", arrayText(model.variables, quotedText));
    member("rows", arrayText(model.rows, quotedText));
    member("constant", exactNumber(sign * model.constant));
    member("H", matrixText(model.H, model.n(), model.n(), sign));
    member("c", arrayText(c, numberText));
    member("A", matrixText(model.A, model.m(), model.n(), 1.0));
    member("row_lower", arrayText(model.rowLower, numberText));
    member("row_upper", arrayText(model.rowUpper, numberText));
    member("lower", arrayText(model.lower, numberText));
    member("upper", arrayText(model.upper, numberText));
    if (!model.rowPenalty.empty()) {
        member("row_penalty", penaltyText(model.rowPenalty));
    }
    if (!model.boundPenalty.empty()) {
        member("bound_penalty", penaltyText(model.boundPenalty));
    }
    return text + "\n}\n";
}

}  // namespace activeset::io
