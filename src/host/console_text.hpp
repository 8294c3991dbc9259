// Text for standard output in the default formatting: numbers have six significant digits and a
// decimal point, whatever standard output and the program's locale are set to.
#ifndef ACTIVESET_SRC_HOST_CONSOLE_TEXT_HPP
#define ACTIVESET_SRC_HOST_CONSOLE_TEXT_HPP

#include <iostream>
#include <locale>
#include <sstream>

namespace activeset {

/// Prints, flushing, what `write` puts into the stream that it is given, in one piece.
///
/// @raises what standard output throws, if the program has asked it to throw when it fails
template <class Write>
void printToConsole(Write write) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    write(text);
    std::cout << text.str() << std::flush;
}

/// The same for a row of values.
template <class... Values>
void printValues(const Values&... values) {
    printToConsole([&](std::ostream& text) { (text << ... << values); });
}

}  // namespace activeset

#endif
