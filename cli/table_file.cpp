// Reads back what csvLine has written.
#include "cli/table_file.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>

#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"

namespace activeset::cli {

namespace {

struct StoredRow {
    std::string file;
    int status = 0;
    std::string_view text;  ///< line end included
};

/// The fields of the first line of `rest`, which loses that line. Nothing if the line has no end.
std::optional<std::vector<std::string>> takeLine(std::string_view& rest) {
    std::vector<std::string> fields(1);
    bool isQuoted = false;
    for (std::size_t k = 0; k < rest.size(); ++k) {
        const char character = rest[k];
        if (character == '"') {
            isQuoted = !isQuoted;
            if (isQuoted && k > 0 && rest[k - 1] == '"') {
                fields.back() += '"';
            }
        } else if (isQuoted || (character != ',' && character != '\n')) {
            fields.back() += character;
        } else if (character == ',') {
            fields.emplace_back();
        } else {
            rest.remove_prefix(k + 1);
            return fields;
        }
    }
    return std::nullopt;
}

/// The rows of a table. A line without an end is left out.
std::vector<StoredRow> rowsOf(const std::string& text, const std::string& path) {
    constexpr std::size_t Status = 2;
    const std::string heading = csvHeading();
    std::vector<StoredRow> rows;
    if (heading.starts_with(text)) {
        return rows;
    }
    if (!text.starts_with(heading)) {
        throw io::ReadError(path, 1, "not a table that activeset solve -o has written");
    }
    const auto columns =
        static_cast<std::size_t>(std::count(heading.begin(), heading.end(), ',')) + 1;
    std::string_view rest = std::string_view(text).substr(heading.size());
    for (std::string_view before = rest; const auto fields = takeLine(rest); before = rest) {
        StoredRow row{fields->front(), 0, before.substr(0, before.size() - rest.size())};
        bool isRow = fields->size() == columns;
        if (isRow) {
            const std::string& digits = (*fields)[Status];
            const char* const end = digits.data() + digits.size();
            const auto [behind, error] = std::from_chars(digits.data(), end, row.status);
            isRow = error == std::errc() && behind == end;
        }
        if (!isRow) {
            const auto lines = std::count(text.data(), row.text.data(), '\n') + 1;
            throw io::ReadError(path, static_cast<std::size_t>(lines),
                                "not a row that activeset solve -o has written");
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

bool isAnswer(int status) {
    return status == Solved || (status >= IsInfeasible && status <= IsInaccurate);
}

/// Replaces the contents of a file at once: whenever the process ends, the file has the old or the
/// new ones.
void replaceFile(const std::string& path, const std::string& text) {
    std::error_code error;
    const std::filesystem::path file = std::filesystem::weakly_canonical(path, error);
    const std::string part = (error ? path : file.string()) + ".part";
    writeFile(part, text);
    std::filesystem::rename(part, error ? std::filesystem::path(path) : file, error);
    if (error) {
        refuseToWrite(path, error.value());
    }
}

}  // namespace

void TableFile::begin(const std::string& path) {
    path_ = path;
    open(std::ios::trunc);
    stream_ << csvHeading() << std::flush;
}

Skipped TableFile::resume(const std::string& path, std::vector<std::string>& files) {
    std::error_code absent;
    if (!std::filesystem::exists(path, absent)) {
        begin(path);
        return {};
    }
    path_ = path;
    open(std::ios::app);
    std::ifstream old(path, std::ios::binary);
    if (!old) {
        throw io::ReadError(path, 0, "cannot be read: " + std::generic_category().message(errno));
    }
    const std::string text{std::istreambuf_iterator<char>(old), {}};
    const std::set<std::string> asked(files.begin(), files.end());
    std::map<std::string, int> answers;
    std::string kept = csvHeading();
    for (const StoredRow& row : rowsOf(text, path)) {
        const bool hasAnswer = isAnswer(row.status);
        if (hasAnswer) {
            answers.emplace(row.file, row.status);
        }
        if (hasAnswer || !asked.contains(row.file)) {
            kept += row.text;
        }
    }
    if (kept != text) {
        stream_.close();
        replaceFile(path, kept);
        open(std::ios::app);
    }
    Skipped skipped;
    skipped.count = std::erase_if(files, [&](const std::string& file) {
        const auto answer = answers.find(file);
        if (answer == answers.end()) {
            return false;
        }
        skipped.worst = std::max(skipped.worst, answer->second);
        return true;
    });
    return skipped;
}

void TableFile::add(const TableRow& row) {
    if (!stream_.is_open()) {
        return;
    }
    errno = 0;
    stream_ << csvLine(row) << std::flush;
    if (!stream_ && reason_ == 0) {
        reason_ = errno;
    }
}

void TableFile::check() const {
    if (stream_.is_open() && !stream_) {
        refuseToWrite(path_, reason_);
    }
}

void TableFile::open(std::ios::openmode mode) {
    errno = 0;
    stream_.open(path_, std::ios::out | std::ios::binary | mode);
    if (!stream_) {
        refuseToWrite(path_, errno);
    }
}

}  // namespace activeset::cli
