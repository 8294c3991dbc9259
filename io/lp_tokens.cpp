// Cutting an LP file into tokens.
#include "io/lp_tokens.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

#include "io/location.hpp"
#include "io/lp_words.hpp"

namespace activeset::io {

using namespace lp;

LpToken LpTokens::take() {
    const LpToken taken = next_;
    read();
    return taken;
}

bool LpTokens::accept(char sign) {
    const bool isNext = isSign(sign);
    if (isNext) {
        read();
    }
    return isNext;
}

bool LpTokens::isLabel() const {
    const std::size_t colon = text_.find_first_not_of(" \t\r\n", position_);
    return next_.kind == LpKind::Name && colon != std::string_view::npos && text_[colon] == ':';
}

std::size_t LpTokens::lineOf(std::size_t offset) const {
    const std::string_view before = text_.substr(0, offset);
    return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
}

void LpTokens::failAt(std::size_t offset, const std::string& message) const {
    const std::string_view before = text_.substr(0, offset);
    const std::size_t lineEnd = before.rfind('\n');
    const std::size_t column = lineEnd == std::string_view::npos ? offset + 1 : offset - lineEnd;
    throw ReadError(*file_, lineOf(offset), message, column);
}

void LpTokens::failExpecting(const std::string& what) const {
    const std::string found =
        next_.kind == LpKind::End ? "the end of the file" : quoted(next_.text);
    failAt(next_.offset, "expected " + what + ", found " + found);
}

void LpTokens::skipBlanks() {
    next_.beginsLine = position_ == 0;
    while (position_ < text_.size()) {
        const char character = text_[position_];
        if (character == '\\') {
            position_ = std::min(text_.find('\n', position_), text_.size());
        } else if (character == ' ' || character == '\t' || character == '\r' ||
                   character == '\n') {
            next_.beginsLine = next_.beginsLine || character == '\n';
            ++position_;
        } else {
            return;
        }
    }
}

void LpTokens::read() {
    next_ = LpToken{};
    skipBlanks();
    next_.offset = position_;
    if (position_ == text_.size()) {
        return;
    }
    const char first = text_[position_];
    const char second = position_ + 1 < text_.size() ? text_[position_ + 1] : ' ';
    if (isDigit(first) || (first == '.' && isDigit(second))) {
        readNumber();
    } else if (beginsName(first)) {
        std::size_t end = position_;
        while (end < text_.size() && continuesName(text_[end])) {
            ++end;
        }
        next_.kind = LpKind::Name;
        next_.text = text_.substr(position_, end - position_);
        if (next_.text.size() > MaxNameLength) {
            failAt(position_,
                   "a name of more than " + std::to_string(MaxNameLength) + " characters");
        }
        position_ = end;
    } else {
        readSign();
    }
}

void LpTokens::readNumber() {
    const char* const begin = text_.data() + position_;
    const std::from_chars_result result =
        std::from_chars(begin, text_.data() + text_.size(), next_.value);
    next_.kind = LpKind::Number;
    next_.text = text_.substr(position_, static_cast<std::size_t>(result.ptr - begin));
    if (result.ec == std::errc::result_out_of_range) {
        failAt(position_, quoted(next_.text) + " is outside the range of a double");
    }
    position_ += next_.text.size();
}

void LpTokens::readSign() {
    constexpr std::string_view Signs = "+-*^/[]:<>=";
    const char first = text_[position_];
    if (Signs.find(first) == std::string_view::npos) {
        failAt(position_, quoted(text_.substr(position_, 1)) + " means nothing here");
    }
    const auto isRelation = [](char character) {
        return character == '<' || character == '>' || character == '=';
    };
    next_.kind = LpKind::Sign;
    next_.text = text_.substr(position_, 1);
    ++position_;
    if (isRelation(first) && position_ < text_.size() && isRelation(text_[position_]) &&
        (first == '=' || text_[position_] == '=')) {
        if (first == '=') {  // =< and >= are one sign, whichever way round
            next_.text = text_.substr(position_, 1);
        }
        ++position_;
    }
}

}  // namespace activeset::io
