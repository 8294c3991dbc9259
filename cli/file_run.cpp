// Reading and writing files for the verbs.
#include "cli/file_run.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>

#include "activeset/host.hpp"
#include "cli/console.hpp"
#include "cli/crash_message.hpp"
#include "cli/exit_status.hpp"
#include "cli/visible.hpp"

namespace activeset::cli {

namespace {

/// Whether a file cannot be read because of the system, not because of its contents.
bool isAboutAccess(const std::string& message) {
    return message.starts_with("cannot be opened") || message.starts_with("cannot be read") ||
           message.starts_with("cannot be written");
}

/// Whether a file has the text near its beginning.
bool beginsWith(const std::filesystem::path& path, std::string_view text) {
    constexpr std::size_t Beginning = 4096;  // bytes
    std::string bytes(Beginning, '\0');
    std::ifstream(path, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(Beginning));
    return bytes.find(text) != std::string::npos;
}

/// By the name, and where a result may have it, too, by what the file says of itself.
bool isProblemFile(const std::filesystem::path& path) {
    std::string name = path.filename().string();
    std::transform(name.begin(), name.end(), name.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                    : character;
    });
    for (const std::string_view packed : {".gz", ".bz2"}) {
        if (name.ends_with(packed)) {
            name.resize(name.size() - packed.size());
        }
    }
    return name.ends_with(".qps") || name.ends_with(".mps") || name.ends_with(".lp") ||
           (name.ends_with(".npz") && !beginsWith(path, "outcome.npy")) ||
           (name.ends_with(".json") && beginsWith(path, "activeset-problem/"));
}

}  // namespace

FileError attempt(const std::string& file, const std::function<void()>& work) {
    FileError error;
    try {
        work();
    } catch (const io::ReadError& readError) {
        error.hasMemoryEnded = readError.message() == "out of memory";
        error.status = error.hasMemoryEnded                 ? HasFailed
                       : isAboutAccess(readError.message()) ? NoFile
                                                            : BadData;
        error.text = readError.what();
    } catch (const HostError& hostError) {
        error.hasMemoryEnded = std::string_view(hostError.identifier()) == OutOfMemoryIdentifier;
        error.status = HasFailed;
        error.text =
            fmt::format("{}: {}: {}", shownFile(file), hostError.identifier(), hostError.what());
    } catch (const nlohmann::json::exception&) {
        error.status = BadData;
        error.text =
            fmt::format("{}: not the results that activeset solve -o writes", shownFile(file));
    } catch (const std::bad_alloc&) {
        error.hasMemoryEnded = true;
        error.status = HasFailed;
        error.text = fmt::format("{}: out of memory", shownFile(file));
    }
    error.text = visibleLine(error.text);
    return error;
}

io::Model readFile(const std::string& file, io::Format format) {
    static std::mutex oneReading;  // one handler of crashes serves the whole process
    const std::lock_guard lock(oneReading);
    const CrashMessage guard;
    try {
        return io::readModel(file, format);
    } catch (const io::ReadError& error) {
        if (file != "-" || format != io::Format::Automatic || error.line() != 1) {
            throw;
        }
        throw io::ReadError(error.file(), 1,
                            error.message() + "; it is read as MPS, try --format lp, json or npz");
    }
}

std::vector<std::string> notesOf(const io::Model& model, const std::string& file) {
    std::vector<std::string> lines;
    for (const io::Note& note : model.notes) {
        lines.push_back(
            fmt::format("{}:{}: note: {}", shownFile(file), note.line, visibleLine(note.text)));
    }
    return lines;
}

std::vector<std::string> expanded(const std::vector<std::string>& files) {
    std::vector<std::string> result;
    for (const std::string& file : files) {
        std::error_code error;
        if (!std::filesystem::is_directory(file, error)) {
            result.push_back(file);
            continue;
        }
        std::vector<std::string> inside;
        for (std::filesystem::directory_iterator at(file, error), end; !error && at != end;
             at.increment(error)) {
            if (isProblemFile(at->path())) {
                inside.push_back(at->path().string());
            }
        }
        if (error) {
            throw io::ReadError(file, 0, "cannot be read: " + error.message());
        }
        if (inside.empty()) {
            throw io::ReadError(
                file, 0,
                "cannot be read: no problem (.qps, .mps, .lp, .npz or .json) in this folder");
        }
        std::sort(inside.begin(), inside.end());
        result.insert(result.end(), inside.begin(), inside.end());
    }
    return result;
}

void writeFile(const std::string& path, const std::string& text) {
    if (path == "-") {
        std::cout << text;
        return;
    }
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        refuseToWrite(path, errno);
    }
}

void refuseToWrite(const std::string& path, int error) {
    throw io::ReadError(path, 0, "cannot be written: " + std::generic_category().message(error));
}

void requireFolderOf(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    std::error_code error;
    if (!folder.empty() && !std::filesystem::is_directory(folder, error)) {
        refuseToWrite(path, std::filesystem::exists(folder, error) ? ENOTDIR : ENOENT);
    }
}

bool isInput(const std::string& output, const std::vector<std::string>& files) {
    std::error_code error;
    if (output == "-" || !std::filesystem::is_regular_file(output, error)) {
        return false;
    }
    const std::filesystem::path folder = std::filesystem::absolute(output, error).parent_path();
    return std::any_of(files.begin(), files.end(), [&](const std::string& file) {
        return file != "-" &&
               (std::filesystem::equivalent(file, output, error) ||
                (isProblemFile(output) && std::filesystem::equivalent(file, folder, error)));
    });
}

}  // namespace activeset::cli
