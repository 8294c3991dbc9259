// A dictionary in Python's spelling, by descent.
#include "io/npy_header.hpp"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "io/location.hpp"

namespace activeset::io {

namespace {

/// Reads the dictionary {'descr': '<f8', 'fortran_order': False, 'shape': (2, 3), }.
class HeaderReader {
public:
    HeaderReader(std::string_view text, const std::string& place) : text_(text), place_(place) {}

    NpyArray run() {
        expect('{');
        while (!accept('}')) {
            readMember(string());
            if (!accept(',') && peek() != '}') {
                fail("a comma or }");
            }
        }
        if (!hasType_ || !hasOrder_ || !hasShape_) {
            fail("descr, fortran_order and shape");
        }
        return array_;
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw ReadError(place_, 0,
                        "expected " + what + " in the header, found " + quoted(text_.substr(at_)));
    }
    char peek() {
        at_ = std::min(text_.find_first_not_of(" \n", at_), text_.size());
        return at_ < text_.size() ? text_[at_] : '\0';
    }
    bool accept(char character) {
        const bool isThere = peek() == character;
        at_ += isThere ? 1 : 0;
        return isThere;
    }
    void expect(char character) {
        if (!accept(character)) {
            fail(std::string(1, character));
        }
    }
    std::string_view string() {
        const char quote = peek();
        const std::size_t end =
            quote == '\'' || quote == '"' ? text_.find(quote, at_ + 1) : std::string_view::npos;
        if (end == std::string_view::npos) {
            fail("a string");
        }
        const std::string_view content = text_.substr(at_ + 1, end - at_ - 1);
        at_ = end + 1;
        return content;
    }
    void readMember(std::string_view key) {
        expect(':');
        if (key == "descr") {
            readType();
        } else if (key == "fortran_order") {
            const bool isTrue = peek() == 'T';
            const std::string_view word = isTrue ? "True" : "False";
            if (text_.substr(at_, word.size()) != word) {
                fail("True or False");
            }
            at_ += word.size();
            array_.isColumnMajor = isTrue;
            hasOrder_ = true;
        } else if (key == "shape") {
            readShape();
        } else {
            fail("descr, fortran_order and shape");
        }
    }
    void readType() {
        constexpr const char* Known = "an array of numbers or texts (float, int, bool or U)";
        if (peek() != '\'' && peek() != '"') {
            fail(Known);  // a record
        }
        const std::size_t begin = at_;
        const std::string_view type = string();
        std::size_t size = 0;
        const char* const end = type.data() + type.size();
        if (type.size() < 3 || std::from_chars(type.data() + 2, end, size).ptr != end ||
            !isKnown(type[0], type[1], size)) {
            at_ = begin;
            fail(Known);
        }
        array_.isBigEndian = type[0] == '>';
        array_.kind = type[1];
        array_.entrySize = array_.kind == 'U' ? CharacterSize * size : size;
        hasType_ = true;
    }
    static bool isKnown(char order, char kind, std::size_t size) {
        const bool isOrder = order == '<' || order == '>' || order == '=' || order == '|';
        switch (kind) {
            case 'f':
                return isOrder && (size == 4 || size == 8);
            case 'i':
            case 'u':
                return isOrder && (size == 1 || size == 2 || size == 4 || size == 8);
            case 'b':
                return isOrder && size == 1;
            default:
                return kind == 'U' && isOrder && size > 0 && size < (1U << 20U);
        }
    }
    void readShape() {
        expect('(');
        array_.shape.clear();
        while (!accept(')')) {
            std::size_t size = 0;
            static_cast<void>(peek());
            const auto end = std::from_chars(text_.data() + at_, text_.data() + text_.size(), size);
            if (end.ec != std::errc()) {
                fail("a size");
            }
            at_ = static_cast<std::size_t>(end.ptr - text_.data());
            array_.shape.push_back(size);
            if (!accept(',') && peek() != ')') {
                fail("a comma or )");
            }
        }
        hasShape_ = true;
    }

    std::string_view text_;
    const std::string& place_;
    std::size_t at_ = 0;
    NpyArray array_{};
    bool hasType_ = false;
    bool hasOrder_ = false;
    bool hasShape_ = false;
};

}  // namespace

NpyArray parseNpyHeader(std::string_view header, const std::string& place) {
    return HeaderReader(header, place).run();
}

}  // namespace activeset::io
