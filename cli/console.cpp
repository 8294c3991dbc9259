// Streams, colours and names.
#include "cli/console.hpp"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "cli/exit_status.hpp"
#include "cli/visible.hpp"

namespace activeset::cli {

void printError(const std::string& line) {
    std::cout.flush();
    std::cerr << line << std::endl;
}

int written(int status) {
    std::cout.flush();
    if (std::cout) {
        return status;
    }
    printError("standard output could not be written");
    return NoFile;
}

bool isTerminal(int descriptor) {
    const char* const kind = std::getenv("TERM");
    return isatty(descriptor) == 1 && kind != nullptr && std::string(kind) != "dumb";
}

std::string shownFile(const std::string& file) {
    return file == "-" ? "standard input" : visibleLine(file);
}

bool wantsColours(const std::string& word) {
    return word == "always" ||
           (word == "auto" && isTerminal(STDOUT_FILENO) && std::getenv("NO_COLOR") == nullptr);
}

std::string coloured(std::string text, Status status) {
    const char* const colour = status == Status::Optimal      ? "\x1b[32m"
                               : status == Status::Infeasible ? "\x1b[31m"
                                                              : "\x1b[33m";
    const std::string word = textOf(status);
    const std::size_t position = text.find(word);
    if (position != std::string::npos) {
        text.replace(position, word.size(), colour + word + "\x1b[0m");
    }
    return text;
}

}  // namespace activeset::cli
