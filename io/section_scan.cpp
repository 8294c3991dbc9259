// The order of lines and sections in a file, and the choice between its two formats.
#include "io/section_scan.hpp"

#include <algorithm>
#include <utility>

#include "io/hessian_entries.hpp"
#include "io/scan.hpp"

namespace activeset::io {

namespace {

constexpr std::string_view FreeMark = "FREE";

struct Keyword {
    std::string_view word;
    Section section;
};
constexpr std::array<Keyword, 11> Keywords{{{"NAME", Section::Name},
                                            {"OBJSENSE", Section::ObjectiveSense},
                                            {"ROWS", Section::Rows},
                                            {"COLUMNS", Section::Columns},
                                            {"RHS", Section::Rhs},
                                            {"RANGES", Section::Ranges},
                                            {"BOUNDS", Section::Bounds},
                                            {"QUADOBJ", Section::Quadratic},
                                            {"QMATRIX", Section::Quadratic},
                                            {"QSECTION", Section::Quadratic},
                                            {"ENDATA", Section::End}}};

/// Whether the rest of a NAME line says that the file is in free format: a name, then the mark.
bool hasFreeMark(std::string_view rest) {
    const std::vector<std::string_view> words = splitAtBlanks(rest);
    return words.size() > 1 && words.back() == FreeMark;
}

/// Takes the first line off `text`, which is not empty, and returns it without its line end.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

bool isMarkedFree(std::string_view text) {
    constexpr std::string_view Name = "NAME";
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (!trimmed(line).empty() && line.front() != '*') {
            return line.substr(0, Name.size()) == Name && hasFreeMark(line.substr(Name.size()));
        }
    }
    return false;
}

}  // namespace

ScannedFile Scan::run() {
    std::string_view rest = text_;
    while (!rest.empty() && section_ != Section::End) {
        ++here_.line;
        here_.text = takeLine(rest);
        readLine(here_.text);
    }
    if (section_ != Section::End) {
        here_.text = {};
        here_.fail(text_.empty() ? "the file is empty" : "the file ends without ENDATA");
    }
    finish();
    return std::move(result_);
}

void Scan::readLine(std::string_view line) {
    const auto isControl = [](char character) {
        return static_cast<unsigned char>(character) < 0x20 && character != '\t' &&
               character != '\r';
    };
    const auto* const control = std::find_if(line.begin(), line.end(), isControl);
    if (control != line.end()) {
        here_.failAt(line.substr(static_cast<std::size_t>(control - line.begin()), 1),
                     "a control character, which does not belong in a text file");
    }
    if (trimmed(line).empty() || line.front() == '*') {
        return;
    }
    const std::string_view content = line.substr(0, line.find_last_not_of(" \t\r") + 1);
    if (content.front() != ' ' && content.front() != '\t') {
        readHeader(content);
    } else if (section_ == Section::ObjectiveSense) {
        readSense(content);
    } else {
        readCard(content);
    }
}

void Scan::readHeader(std::string_view line) {
    const std::string_view word = splitAtBlanks(line).front();
    const auto* const keyword =
        std::find_if(Keywords.begin(), Keywords.end(),
                     [&](const Keyword& candidate) { return candidate.word == word; });
    if (keyword == Keywords.end()) {
        here_.fail("expected a section from NAME to ENDATA, found " + quoted(word));
    }
    enter(keyword->section, std::string(word));
    const std::string_view rest = trimmed(line.substr(word.size()));
    if (section_ == Section::Name) {
        readName(rest);
    } else if (section_ == Section::ObjectiveSense && !rest.empty()) {
        readSense(rest);
    } else if (word == "QSECTION") {
        if (findRow(rest).kind != RowKind::Objective) {
            here_.failAt(rest, "row " + quoted(rest) + " is quadratic; only the objective may be");
        }
    } else if (!rest.empty()) {
        here_.failAt(rest, "unexpected " + quoted(rest) + " after the section name");
    }
    hessianIsFull_ = hessianIsFull_ || word == "QMATRIX";
}

/// Ends the current section and begins `section`, if that may come now.
void Scan::enter(Section section, const std::string& header) {
    if (lineOf(section) != 0) {
        here_.fail("section " + header + ": the file has it on line " +
                   std::to_string(lineOf(section)) + " already");
    }
    if (section_ == Section::ObjectiveSense && !senseGiven_) {
        here_.fail("OBJSENSE without MAX or MIN");
    }
    if (section == Section::Name && lineOf(Section::Rows) != 0) {
        here_.fail("section " + header + " comes too late");
    }
    for (const auto& [word, needed] : {Keywords[2], Keywords[3]}) {
        if (section > needed && lineOf(needed) == 0) {
            here_.fail("section " + header + " comes before " + std::string(word));
        }
    }
    if (section_ == Section::Columns) {
        finishColumn();
    }
    lineOf(section) = here_.line;
    section_ = section;
    vectorName_ = {};
}

void Scan::readName(std::string_view rest) {
    result_.name =
        trimmed(hasFreeMark(rest) ? rest.substr(0, rest.size() - FreeMark.size()) : rest);
}

void Scan::readSense(std::string_view line) {
    const std::string_view word = trimmed(line);
    const bool maximise = word == "MAX" || word == "MAXIMIZE" || word == "MAXIMISE";
    const bool minimise = word == "MIN" || word == "MINIMIZE" || word == "MINIMISE";
    if (!maximise && !minimise) {
        here_.failAt(word, "objective sense " + quoted(word) + " is neither MAX nor MIN");
    }
    if (senseGiven_) {
        here_.fail("a second objective sense");
    }
    senseGiven_ = true;
    result_.maximise = maximise;
}

void Scan::finish() {
    if (!objectiveGiven_) {
        onLine(lineOf(Section::Rows)).fail("no objective: ROWS has no N row");
    }
    if (bounds_.empty()) {
        onLine(lineOf(Section::Columns)).fail("COLUMNS is empty");
    }
    checkRanges();
    finishBounds();
    result_.hessian = completeHessian(std::move(hessian_), hessianIsFull_, result_.columnNames,
                                      [&](std::size_t line) { return onLine(line); });
    std::stable_sort(result_.notes.begin(), result_.notes.end(),
                     [](const Note& a, const Note& b) { return a.line < b.line; });
}

ScannedFile scanFile(std::string_view text, const std::string& file) {
    if (isMarkedFree(text)) {
        return Scan(text, file, CardFormat::Free).run();
    }
    try {
        return Scan(text, file, CardFormat::Fixed).run();
    } catch (const ReadError& fixedError) {
        try {
            return Scan(text, file, CardFormat::Free).run();
        } catch (const ReadError& freeError) {
            if (freeError.line() >= fixedError.line()) {
                throw;
            }
        }
        throw;
    }
}

}  // namespace activeset::io
