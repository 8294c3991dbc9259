// How the fuzzer changes a problem file: mostly by lines and fields, so that sections remain
// sections. The words of the format come from the dictionary, through libFuzzer's own changes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Random = std::minstd_rand;

/// Removes, repeats or shifts one field of the line, or replaces it by a field of `other`.
void mutateField(std::string& line, const std::string& other, Random& random) {
    std::istringstream fields(other);
    std::vector<std::string> words{std::istream_iterator<std::string>(fields), {}};
    const std::string word = words.empty() ? "0" : words[random() % words.size()];
    const std::size_t from = line.find_first_not_of(' ', random() % (line.size() + 1));
    if (from == std::string::npos) {
        line += ' ' + word;
        return;
    }
    const std::size_t length = std::min(line.find(' ', from), line.size()) - from;
    const std::size_t action = random() % 4;
    if (action == 0) {
        line.erase(from, length);
    } else if (action == 1) {
        line.insert(from, random() % 3 + 1, ' ');  // the columns of fixed format shift
    } else {
        line.replace(from, action == 2 ? 0 : length, action == 2 ? word + ' ' : word);
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                               std::size_t size,
                                               std::size_t maxSize,
                                               unsigned int seed) {
    Random random(seed);
    std::vector<std::string> lines;
    std::istringstream input(std::string(data, data + size));
    for (std::string line; std::getline(input, line);) {
        lines.push_back(line);
    }
    if (lines.empty() || random() % 3 == 0) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    std::string& one = lines[random() % lines.size()];
    const std::string other = lines[random() % lines.size()];
    const std::size_t action = random() % 8;
    if (action == 0) {
        one += '\n' + other;
    } else if (action == 1) {
        std::swap(one, lines[random() % lines.size()]);
    } else if (action == 2) {
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(random() % lines.size()));
    } else {
        mutateField(one, other, random);
    }
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    text.resize(std::min(text.size(), maxSize));
    std::copy(text.begin(), text.end(), data);
    return text.size();
}
