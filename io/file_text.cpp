// Reading a whole file through zlib, which passes a file that is not compressed through unchanged.
#include "io/file_text.hpp"

#include <unistd.h>
#include <zlib.h>
#ifdef ACTIVESET_HAS_BZIP2
#include <bzlib.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "io/read_error.hpp"

namespace activeset::io {

namespace {

constexpr const char* Damaged = "the compressed data are damaged or incomplete";

struct CloseGzip {
    void operator()(gzFile file) const noexcept { static_cast<void>(gzclose(file)); }
};

using GzipFile = std::unique_ptr<gzFile_s, CloseGzip>;

std::string systemText(int code) {
    return std::generic_category().message(code);
}

/// Raises unless everything read so far was sound. A file that ends inside the compressed data
/// shows only here: the read itself just comes up short.
void checkStream(gzFile stream, const std::string& path) {
    int status = Z_OK;
    static_cast<void>(gzerror(stream, &status));
    if (status == Z_ERRNO) {
        throw ReadError(path, 0, "cannot be read: " + systemText(errno));
    }
    if (status == Z_MEM_ERROR) {
        throw ReadError(path, 0, "out of memory");
    }
    if (status != Z_OK && status != Z_STREAM_END) {
        throw ReadError(path, 0, Damaged);
    }
}

/// Raises if so many bytes more are too many.
void checkLength(std::size_t length, std::size_t more, const std::string& path, std::size_t limit) {
    if (more > limit - length) {
        throw ReadError(path, 0,
                        "the text is longer than the " + std::to_string(limit) + " bytes allowed");
    }
}

#ifdef ACTIVESET_HAS_BZIP2
/// Bytes in the format of bzip2, and the text that is read from them.
class Bzip2 {
public:
    Bzip2(std::string& packed, const std::string& path, std::size_t limit)
        : path_(path), limit_(limit), left_(packed.size()) {
        state_.next_in = packed.data();
    }

    /// The text of all streams: parallel programs write one behind the other.
    [[nodiscard]] std::string text() {
        while (left_ + state_.avail_in > 0) {
            if (BZ2_bzDecompressInit(&state_, 0, 0) != BZ_OK) {
                throw ReadError(path_, 0, "out of memory");
            }
            const std::unique_ptr<bz_stream, End> stream(&state_);
            readStream();
        }
        return std::move(text_);
    }

private:
    struct End {
        void operator()(bz_stream* stream) const noexcept {
            static_cast<void>(BZ2_bzDecompressEnd(stream));
        }
    };

    /// Appends the text of one stream.
    void readStream() {
        for (int status = BZ_OK; status != BZ_STREAM_END;) {
            if (state_.avail_in == 0) {
                state_.avail_in = static_cast<unsigned>(std::min(left_, block_.size()));
                left_ -= state_.avail_in;
            }
            state_.next_out = block_.data();
            state_.avail_out = static_cast<unsigned>(block_.size());
            const bool isAtEnd = state_.avail_in == 0;
            status = BZ2_bzDecompress(&state_);
            const std::size_t count = block_.size() - state_.avail_out;
            if ((status != BZ_OK && status != BZ_STREAM_END) || (isAtEnd && count == 0)) {
                throw ReadError(path_, 0, status == BZ_MEM_ERROR ? "out of memory" : Damaged);
            }
            checkLength(text_.size(), count, path_, limit_);
            text_.append(block_.data(), count);
        }
    }

    const std::string& path_;
    std::size_t limit_;
    std::size_t left_;  ///< how many bytes the state has not been given
    bz_stream state_{};
    std::array<char, 1U << 16U> block_{};
    std::string text_;
};

/// The text inside `packed`, the bytes of a file in the format of bzip2.
std::string expanded(std::string& packed, const std::string& path, std::size_t limit) {
    return Bzip2(packed, path, limit).text();
}
#else
std::string expanded(const std::string& /*packed*/,
                     const std::string& path,
                     std::size_t /*limit*/) {
    throw ReadError(path, 0, "compressed by bzip2, for which this tool was built without support");
}
#endif

/// Whether the text begins, as far as it goes, like a file in the format of bzip2: with the letters
/// BZh, a digit for the size of blocks, and the mark of a block or of the end.
bool isBzip2(std::string_view text) {
    constexpr std::string_view Block = "1AY&SY";
    constexpr std::string_view End = "\x17rE8P\x90";
    if (text.size() < 4 || !text.starts_with("BZh") || text[3] < '1' || text[3] > '9') {
        return false;
    }
    const std::string_view mark = text.substr(4, Block.size());
    return Block.starts_with(mark) || End.starts_with(mark);
}

/// The rest of `file`. The pointer is null if the file could not be opened.
std::string textOf(const GzipFile& file, const std::string& path, std::size_t limit) {
    if (file == nullptr) {
        throw ReadError(path, 0, "cannot be opened: " + systemText(errno != 0 ? errno : ENOMEM));
    }
    std::string text;
    std::array<char, 1U << 16U> block{};
    while (true) {
        const int count = gzread(file.get(), block.data(), static_cast<unsigned>(block.size()));
        if (count <= 0) {
            break;
        }
        checkLength(text.size(), static_cast<std::size_t>(count), path, limit);
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    checkStream(file.get(), path);
    return isBzip2(text) ? expanded(text, path, limit) : text;
}

}  // namespace

std::string readFileText(const std::string& path, std::size_t limit) {
    errno = 0;
    return textOf(GzipFile(gzopen(path.c_str(), "rb")), path, limit);
}

std::string readStandardInputText(std::size_t limit) {
    errno = 0;
    const int copy = dup(STDIN_FILENO);  // the stream closes what it reads
    GzipFile file(copy < 0 ? nullptr : gzdopen(copy, "rb"));
    if (file == nullptr && copy >= 0) {
        close(copy);
    }
    return textOf(file, StandardInput, limit);
}

}  // namespace activeset::io
