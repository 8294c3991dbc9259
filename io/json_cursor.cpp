// The grammar of JSON, token by token.
#include "io/json_cursor.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "io/location.hpp"
#include "io/utf8.hpp"

namespace activeset::io {

void JsonCursor::skipBlanks() {
    position_ = std::min(text_.find_first_not_of(" \t\r\n", position_), text_.size());
}

char JsonCursor::peek() {
    skipBlanks();
    return position_ < text_.size() ? text_[position_] : '\0';
}

std::size_t JsonCursor::offset() {
    skipBlanks();
    return position_;
}

void JsonCursor::failAt(std::size_t offset, const std::string& message) const {
    const std::string_view before = text_.substr(0, offset);
    const auto line = 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    const std::size_t lineEnd = before.rfind('\n');
    throw ReadError(file_, line, message,
                    lineEnd == std::string_view::npos ? offset + 1 : offset - lineEnd);
}

void JsonCursor::failExpecting(const std::string& what) {
    skipBlanks();
    const std::size_t stop = text_.find_first_of(" \t\r\n,:]}", position_ + 1);
    const std::string found =
        position_ == text_.size()
            ? "the end of the file"
            : quoted(text_.substr(position_, std::min(stop, text_.size()) - position_));
    failAt(position_, "expected " + what + ", found " + found);
}

void JsonCursor::expect(char character) {
    if (peek() != character) {
        failExpecting(std::string(1, character));
    }
    ++position_;
}

void JsonCursor::open(char bracket) {
    expect(bracket);
}

bool JsonCursor::another(char closing, bool& isFirst) {
    if (peek() == closing) {
        ++position_;
        return false;
    }
    if (!isFirst) {
        if (peek() != ',') {
            failExpecting(std::string(", or ") + closing);
        }
        ++position_;
    }
    isFirst = false;
    return true;
}

std::string JsonCursor::key() {
    std::string name = string();
    expect(':');
    return name;
}

std::string JsonCursor::string() {
    if (peek() != '"') {
        failExpecting("a string");
    }
    const std::size_t begin = position_++;
    std::string result;
    while (position_ < text_.size() && text_[position_] != '"') {
        const char character = text_[position_++];
        if (static_cast<unsigned char>(character) < 0x20) {
            failAt(position_ - 1, "a control character in a string");
        }
        if (character == '\\') {
            appendEscaped(result);
        } else {
            result += character;
        }
    }
    if (position_ == text_.size()) {
        failAt(begin, "a string that does not end");
    }
    ++position_;
    return result;
}

void JsonCursor::appendEscaped(std::string& result) {
    constexpr std::string_view Letters = "\"\\/bfnrt";
    constexpr std::string_view Meanings = "\"\\/\b\f\n\r\t";
    const char letter = position_ < text_.size() ? text_[position_] : '\0';
    const std::size_t known = Letters.find(letter);
    ++position_;
    if (letter != 'u') {
        if (letter == '\0' || known == std::string_view::npos) {
            failAt(position_ - 2, "an escape that JSON does not have");
        }
        result += Meanings[known];
        return;
    }
    unsigned code = hexadecimal();
    const bool isHigh = code >= 0xD800 && code < 0xDC00;
    if (isHigh && text_.substr(std::min(position_, text_.size()), 2) == "\\u") {
        position_ += 2;
        code = 0x10000 + ((code - 0xD800) << 10U) + ((hexadecimal() - 0xDC00) & 0x3FFU);
    }
    appendUtf8(result, code);
}

unsigned JsonCursor::hexadecimal() {
    unsigned code = 0;
    const std::string_view digits = text_.substr(std::min(position_, text_.size()), 4);
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    if (digits.size() != 4 || result.ptr != digits.data() + 4) {
        failAt(std::min(position_, text_.size()), "expected four hexadecimal digits");
    }
    position_ += 4;
    return code;
}

double JsonCursor::number(bool mayBeInfinite) {
    constexpr double Infinite = std::numeric_limits<double>::infinity();
    const char first = peek();
    const std::size_t begin = position_;
    if (mayBeInfinite && first == '"') {
        const std::string word = string();
        if (word == "inf" || word == "+inf" || word == "infinity") {
            return Infinite;
        }
        if (word == "-inf" || word == "-infinity") {
            return -Infinite;
        }
        failAt(begin, R"(expected a number, "inf" or "-inf", found )" + quoted(word));
    }
    double value = 0.0;
    const bool isNumber = first == '-' || (first >= '0' && first <= '9');
    const auto result = std::from_chars(text_.data() + begin, text_.data() + text_.size(), value);
    if (!isNumber || result.ec == std::errc::invalid_argument || std::isnan(value) ||
        std::isinf(value)) {
        failExpecting(mayBeInfinite ? R"(a number, "inf" or "-inf")" : "a number");
    }
    position_ = static_cast<std::size_t>(result.ptr - text_.data());
    if (result.ec == std::errc::result_out_of_range) {
        failAt(begin, "a number outside the range of a double");
    }
    return value;
}

void JsonCursor::skip(int depth) {
    constexpr int Deepest = 64;
    if (depth > Deepest) {
        failAt(position_, "brackets more than " + std::to_string(Deepest) + " deep");
    }
    const char first = peek();
    bool isFirst = true;
    if (first == '"') {
        static_cast<void>(string());
    } else if (first == '{') {
        open('{');
        while (another('}', isFirst)) {
            static_cast<void>(key());
            skip(depth + 1);
        }
    } else if (first == '[') {
        open('[');
        while (another(']', isFirst)) {
            skip(depth + 1);
        }
    } else {
        for (const std::string_view word : {"true", "false", "null"}) {
            if (text_.substr(position_, word.size()) == word) {
                position_ += word.size();
                return;
            }
        }
        static_cast<void>(number());
    }
}

void JsonCursor::end() {
    skipBlanks();
    if (position_ != text_.size()) {
        failExpecting("the end of the file");
    }
}

}  // namespace activeset::io
