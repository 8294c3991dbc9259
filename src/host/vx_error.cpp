// How errors leave the library: one exception with identifier and text.
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "activeset/host.hpp"
#include "host/format.hpp"

namespace activeset {

HostError::HostError(std::string identifier, std::string text)
    : identifier_(std::move(identifier)), text_(std::move(text)) {}

HostError::~HostError() = default;

const std::string& HostError::identifier() const noexcept {
    return identifier_;
}

const char* HostError::what() const noexcept {
    return text_.c_str();
}

}  // namespace activeset

void vxErrMsgIdAndTxt(const char* identifier, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = activeset::formatted(format, arguments);
    va_end(arguments);
    throw activeset::HostError(identifier, std::move(text));
}

void optimAssert(bool condition, const char* message) {
    if (!condition) {
        throw activeset::HostError(activeset::AssertionIdentifier, message);
    }
}
