// The folder with larger problems and reference results, which not every machine has.
#ifndef ACTIVESET_TESTS_SUPPORT_SHARED_HPP
#define ACTIVESET_TESTS_SUPPORT_SHARED_HPP

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "support/folders.hpp"

namespace activeset::test {

/// The path of `part` in the shared folder; empty if it does not exist.
inline std::filesystem::path shared(const std::filesystem::path& part) {
    const char* const named = std::getenv("ACTIVESET_SHARED");
    const std::filesystem::path folder = named != nullptr ? named : sharedFolder();
    return !folder.empty() && exists(folder / part) ? folder / part : std::filesystem::path();
}

inline nlohmann::json sharedJson(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return nlohmann::json::parse(stream);
}

inline constexpr const char* NothingShared =
    "no shared folder: neither ACTIVESET_SHARED nor the build names one";

}  // namespace activeset::test

#endif
