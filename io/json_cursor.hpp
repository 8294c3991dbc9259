// Reads JSON from front to back. An error names the line and column of what was not expected. No
// tree is built: numbers go straight to where they belong.
#ifndef ACTIVESET_IO_JSON_CURSOR_HPP
#define ACTIVESET_IO_JSON_CURSOR_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace activeset::io {

class JsonCursor {
public:
    /// Both must outlive the cursor.
    JsonCursor(std::string_view text, const std::string& file) : text_(text), file_(file) {}

    // Each raises ReadError where something else comes next.

    /// Begins '{' or '['.
    void open(char bracket);
    /// Whether another member comes. If none does, this reads the closing bracket. `isFirst` is
    /// true before the first call.
    [[nodiscard]] bool another(char closing, bool& isFirst);
    /// The key of a member, its colon included.
    std::string key();
    std::string string();
    /// A number, or "inf", "-inf" and the like where `mayBeInfinite`.
    double number(bool mayBeInfinite = false);
    /// Skips a value of any kind.
    void skip(int depth = 0);
    /// Checks that only blanks are left.
    void end();

    /// Where the next value begins.
    [[nodiscard]] std::size_t offset();
    [[noreturn]] void failAt(std::size_t offset, const std::string& message) const;

private:
    void skipBlanks();
    [[nodiscard]] char peek();
    [[noreturn]] void failExpecting(const std::string& what);
    void expect(char character);
    void appendEscaped(std::string& result);
    unsigned hexadecimal();

    std::string_view text_;
    const std::string& file_;
    std::size_t position_ = 0;
};

}  // namespace activeset::io

#endif
