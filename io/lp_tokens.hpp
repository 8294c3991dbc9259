// The words, numbers and signs of an LP file.
#ifndef ACTIVESET_IO_LP_TOKENS_HPP
#define ACTIVESET_IO_LP_TOKENS_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace activeset::io {

enum class LpKind { Number, Name, Sign, End };

struct LpToken {
    LpKind kind = LpKind::End;
    std::string_view
        text{};          ///< of relations only <, > and = remain, whatever they were written as
    double value = 0.0;  ///< of a number
    std::size_t offset = 0;
    bool beginsLine = false;  ///< nothing but blanks stands before it
};

/// A text cut into tokens, one ahead. Comments, from a backslash to the end of the line, are
/// blanks.
class LpTokens {
public:
    /// Both must outlive the tokens.
    LpTokens(std::string_view text, const std::string& file) : text_(text), file_(&file) { read(); }

    [[nodiscard]] const LpToken& next() const { return next_; }
    /// Returns the next token and moves on. @raises ReadError where the token after it is none
    LpToken take();
    [[nodiscard]] bool isSign(char sign) const {
        return next_.kind == LpKind::Sign && next_.text.front() == sign;
    }
    [[nodiscard]] bool isRelation() const { return isSign('<') || isSign('>') || isSign('='); }
    /// Moves past the sign if it comes next, and says whether it did.
    bool accept(char sign);
    /// Whether a colon follows the next token.
    [[nodiscard]] bool isLabel() const;

    /// 1-based.
    [[nodiscard]] std::size_t lineOf(std::size_t offset) const;
    /// @raises ReadError that names line and column of `offset`
    [[noreturn]] void failAt(std::size_t offset, const std::string& message) const;
    /// The same at the next token: "expected …, found …".
    [[noreturn]] void failExpecting(const std::string& what) const;

private:
    void read();
    void skipBlanks();
    void readNumber();
    void readSign();

    std::string_view text_;
    const std::string* file_;
    std::size_t position_ = 0;
    LpToken next_{};
};

}  // namespace activeset::io

#endif
