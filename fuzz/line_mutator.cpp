// How the fuzzer changes a problem file: mostly by lines and fields, so that sections stay
// sections.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Random = std::minstd_rand;
using Lines = std::vector<std::string>;

std::size_t pick(Random& random, std::size_t bound) {
    return bound == 0 ? 0 : random() % bound;
}

Lines split(const std::string& text) {
    Lines lines;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        lines.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    return lines;
}

std::string join(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    return text;
}

// Where each field of a line begins and ends.
std::vector<std::pair<std::size_t, std::size_t>> fieldsOf(const std::string& line) {
    std::vector<std::pair<std::size_t, std::size_t>> fields;
    for (std::size_t at = line.find_first_not_of(" \t"); at != std::string::npos;) {
        const std::size_t end = std::min(line.find_first_of(" \t", at), line.size());
        fields.emplace_back(at, end);
        at = line.find_first_not_of(" \t", end);
    }
    return fields;
}

std::string word(Random& random, const Lines& lines) {
    constexpr std::array<const char*, 52> Words{
        "NAME",     "ROWS",     "COLUMNS",  "RHS",
        "RANGES",   "BOUNDS",   "QUADOBJ",  "QMATRIX",
        "QSECTION", "OBJSENSE", "MAX",      "MIN",
        "MAXIMIZE", "ENDATA",   "FREE",     "N",
        "E",        "L",        "G",        "LO",
        "UP",       "FX",       "FR",       "MI",
        "PL",       "BV",       "LI",       "UI",
        "SC",       "'MARKER'", "'INTORG'", "OBJSENSE MAX",
        "0",        "-0",       "1",        "-1",
        "1e20",     "-1e20",    "1e308",    "1e309",
        "5e-324",   "1e-400",   "inf",      "-Infinity",
        "nan",      "0x1p3",    "1.",       ".5",
        "1e",       "1d2",      "+-1",      "123456789012345678901234567890"};
    if (lines.empty() || random() % 2 == 0) {
        return Words.at(pick(random, Words.size()));
    }
    const std::string& line = lines[pick(random, lines.size())];
    const auto fields = fieldsOf(line);
    if (fields.empty()) {
        return {};
    }
    const auto [from, to] = fields[pick(random, fields.size())];
    return line.substr(from, to - from);
}

void mutateFields(std::string& line, const Lines& lines, Random& random) {
    const auto fields = fieldsOf(line);
    if (fields.empty()) {
        line = " " + word(random, lines);
        return;
    }
    const auto [from, to] = fields[pick(random, fields.size())];
    switch (random() % 5) {
        case 0:
            line.erase(from, to - from);
            break;
        case 1:
            line.insert(from, word(random, lines) + ' ');
            break;
        case 2:
            line.insert(from, random() % 3 + 1, ' ');  // the columns of fixed format shift
            break;
        default:
            line.replace(from, to - from, word(random, lines));
            break;
    }
}

void mutate(Lines& lines, Random& random) {
    if (lines.empty()) {
        lines.push_back(word(random, lines));
        return;
    }
    const std::size_t one = pick(random, lines.size());
    const std::size_t other = pick(random, lines.size());
    const auto at = [&](std::size_t place) {
        return lines.begin() + static_cast<std::ptrdiff_t>(place);
    };
    switch (random() % 8) {
        case 0:
            lines.erase(at(one));
            break;
        case 1:
            lines.insert(at(other), std::string(lines[one]));
            break;
        case 2:
            std::swap(lines[one], lines[other]);
            break;
        case 3:
            lines.insert(at(one), word(random, lines));
            break;
        default:
            mutateFields(lines[one], lines, random);
            break;
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                               std::size_t size,
                                               std::size_t maxSize,
                                               unsigned int seed) {
    Random random(seed);
    if (random() % 4 == 0) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    Lines lines = split(std::string(data, data + size));
    for (std::size_t changes = random() % 3 + 1; changes > 0; --changes) {
        mutate(lines, random);
    }
    const std::string text = join(lines);
    const std::size_t kept = std::min(text.size(), maxSize);
    std::memcpy(data, text.data(), kept);
    return kept;
}
