// What a verb does with one file, errors included.
#ifndef ACTIVESET_CLI_FILE_RUN_HPP
#define ACTIVESET_CLI_FILE_RUN_HPP

#include <functional>
#include <string>
#include <vector>

#include "io/model.hpp"
#include "io/reader.hpp"

namespace activeset::cli {

/// What is wrong with a file, or was.
struct FileError {
    int status = 0;  ///< Solved: nothing
    std::string text{};
    bool hasMemoryEnded = false;
};

/// Calls `work`; what it raises is an error about the file.
[[nodiscard]] FileError attempt(const std::string& file, const std::function<void()>& work);

/// The model in a file; one reading at a time, crashes of which are reported.
/// @raises io::ReadError
[[nodiscard]] io::Model readFile(const std::string& file, io::Format format);

/// Its notes, one line each.
[[nodiscard]] std::vector<std::string> notesOf(const io::Model& model, const std::string& file);

/// Folders replaced by the problem files in them, in the order of their names.
/// @raises io::ReadError
[[nodiscard]] std::vector<std::string> expanded(const std::vector<std::string>& files);

/// Writes `text` to a file, or standard output for "-".
/// @raises io::ReadError
void writeFile(const std::string& path, const std::string& text);

}  // namespace activeset::cli

#endif
