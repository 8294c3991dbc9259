// Runs a fuzz target on given files, or on all files of a folder, without a fuzzer.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    std::fprintf(stderr, "%s\n", path.c_str());  // before the run: the last one failed
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> paths;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            paths.emplace_back(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    for (const std::filesystem::path& path : paths) {
        replay(path);
    }
    std::fprintf(stderr, "%zu inputs\n", paths.size());
    return paths.empty() ? 1 : 0;  // a missing corpus is a failure
}
