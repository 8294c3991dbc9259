// printf formatting into a string, shared by the error routine and the console.
#ifndef ACTIVESET_SRC_HOST_FORMAT_HPP
#define ACTIVESET_SRC_HOST_FORMAT_HPP

#include <cstdarg>
#include <cstdio>
#include <string>

namespace activeset {

inline std::string formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

}  // namespace activeset

#endif
