// Text for standard output in the default formatting.
#ifndef ACTIVESET_SRC_HOST_CONSOLE_TEXT_HPP
#define ACTIVESET_SRC_HOST_CONSOLE_TEXT_HPP

#include <iostream>
#include <locale>
#include <sstream>

namespace activeset {

/// Collects text and prints it, flushing, when it goes. Numbers have six significant digits and a
/// decimal point, whatever standard output and the program's locale are set to.
class ConsoleText {
public:
    ConsoleText() { text_.imbue(std::locale::classic()); }
    ~ConsoleText() { std::cout << text_.str() << std::flush; }
    ConsoleText(const ConsoleText&) = delete;
    ConsoleText(ConsoleText&&) = delete;
    ConsoleText& operator=(const ConsoleText&) = delete;
    ConsoleText& operator=(ConsoleText&&) = delete;

    template <class Value>
    ConsoleText& operator<<(const Value& value) {
        text_ << value;
        return *this;
    }

private:
    std::ostringstream text_;
};

}  // namespace activeset

#endif
