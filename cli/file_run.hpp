// Reads and writes files for the verbs, and turns what they raise into messages.
#ifndef ACTIVESET_CLI_FILE_RUN_HPP
#define ACTIVESET_CLI_FILE_RUN_HPP

#include <functional>
#include <string>
#include <vector>

#include "io/model.hpp"
#include "io/reader.hpp"

namespace activeset::cli {

/// The error of a file, if there was one.
struct FileError {
    int status = 0;  ///< Solved: nothing
    std::string text{};
    bool hasMemoryEnded = false;
};

/// Calls `work` and turns an exception into an error about the file.
[[nodiscard]] FileError attempt(const std::string& file, const std::function<void()>& work);

/// Reads the model in a file, one at a time; a crash of the reader is reported.
/// @raises io::ReadError
[[nodiscard]] io::Model readFile(const std::string& file, io::Format format);

/// Prints the notes of a model, one line each.
[[nodiscard]] std::vector<std::string> notesOf(const io::Model& model, const std::string& file);

/// The files, with each folder replaced by the problem files in it, in the order of their names.
/// @raises io::ReadError
[[nodiscard]] std::vector<std::string> expanded(const std::vector<std::string>& files);

/// Writes `text` to a file, or standard output for "-".
/// @raises io::ReadError
void writeFile(const std::string& path, const std::string& text);

/// @param error  the reason, a value of errno
/// @raises io::ReadError always
[[noreturn]] void refuseToWrite(const std::string& path, int error);

/// Fails before there is anything to write if the folder of `path` does not exist.
/// @raises io::ReadError
void requireFolderOf(const std::string& path);

/// Whether writing `output` would overwrite one of the `files` that are read, or one in a folder
/// among them.
[[nodiscard]] bool isInput(const std::string& output, const std::vector<std::string>& files);

}  // namespace activeset::cli

#endif
