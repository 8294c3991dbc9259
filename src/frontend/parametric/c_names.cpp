// Which names a function of a C file may have.
#include <algorithm>
#include <cctype>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "frontend/parametric/c_text.hpp"

namespace activeset::frontend {

namespace {

// Of C up to C23; what begins with an underscore is not listed.
constexpr std::string_view Keywords =
    "alignas alignof asm auto bool break case char const constexpr continue default do double else "
    "enum extern false float for goto if inline int long nullptr register restrict return short "
    "signed sizeof static static_assert struct switch thread_local true typedef typeof "
    "typeof_unqual union unsigned void volatile while main";

// Macros, and functions in double; those in other types have f or l behind.
constexpr std::string_view OfMath =
    "acos asin atan atan2 cos sin tan acosh asinh atanh cosh sinh tanh exp exp2 expm1 frexp ilogb "
    "ldexp log log10 log1p log2 logb modf scalb scalbn scalbln cbrt fabs hypot pow sqrt erf erfc "
    "lgamma tgamma gamma ceil floor nearbyint rint lrint llrint round lround llround trunc fmod "
    "drem "
    "remainder remquo copysign nan nextafter nexttoward significand fdim fmax fmin fma finite "
    "fpclassify isfinite isinf isnan isnormal signbit signgam isgreater isgreaterequal isless "
    "islessequal islessgreater isunordered j0 j1 jn y0 y1 yn";

bool isLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || letter == '_';
}

bool isWordOf(std::string_view text, std::string_view word) {
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        if ((at == 0 || !isLetter(text[at - 1])) && (end == text.size() || !isLetter(text[end]))) {
            return true;
        }
    }
    return false;
}

bool isOfMath(std::string_view name) {
    const bool hasType = name.ends_with('f') || name.ends_with('l');
    return isWordOf(OfMath, name) || (hasType && isWordOf(OfMath, name.substr(0, name.size() - 1)));
}

// A file may say in a comment what its function is called.
std::string withoutComments(std::string text) {
    for (std::size_t at = text.find("/*"); at != std::string::npos; at = text.find("/*", at)) {
        text.erase(at, text.find("*/", at) + 2 - at);
    }
    return text;
}

void require(bool isRight, const std::string& name, const char* caller, const char* what) {
    if (!isRight) {
        throw std::invalid_argument("activeset: " + std::string(caller) + ": the name '" + name +
                                    "' " + what);
    }
}

}  // namespace

void requireName(const std::string& name, const char* caller) {
    constexpr std::size_t Longest = 31;
    const bool isIdentifier = !name.empty() && name.size() <= Longest &&
                              std::isdigit(static_cast<unsigned char>(name[0])) == 0 &&
                              std::all_of(name.begin(), name.end(), isLetter);
    require(isIdentifier, name, caller, "has to be a C identifier of at most 31 letters");
    require(name[0] != '_' && !isWordOf(Keywords, name) && !isOfMath(name), name, caller,
            "is reserved in C");
}

std::string named(const std::string& name,
                  const std::string& head,
                  const std::string& body,
                  const char* caller) {
    require(!isWordOf(withoutComments(head), name) && !isWordOf(withoutComments(body), name), name,
            caller, "is used in the file for something else");
    return head + "\nint " + name + body;
}

}  // namespace activeset::frontend
