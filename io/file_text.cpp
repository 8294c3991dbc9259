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
#include <system_error>

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

#ifdef ACTIVESET_HAS_BZIP2
struct CloseBzip2 {
    void operator()(bz_stream* stream) const noexcept {
        static_cast<void>(BZ2_bzDecompressEnd(stream));
    }
};

/// The text inside `packed`, the bytes of a file in the format of bzip2.
std::string expanded(std::string& packed, const std::string& path, std::size_t limit) {
    bz_stream state{};
    if (BZ2_bzDecompressInit(&state, 0, 0) != BZ_OK) {
        throw ReadError(path, 0, "out of memory");
    }
    const std::unique_ptr<bz_stream, CloseBzip2> stream(&state);
    state.next_in = packed.data();
    std::size_t left = packed.size();
    std::string text;
    std::array<char, 1U << 16U> block{};
    for (int status = BZ_OK; status != BZ_STREAM_END;) {
        if (state.avail_in == 0) {
            state.avail_in = static_cast<unsigned>(std::min(left, block.size()));
            left -= state.avail_in;
        }
        state.next_out = block.data();
        state.avail_out = static_cast<unsigned>(block.size());
        const bool isAtEnd = state.avail_in == 0;
        status = BZ2_bzDecompress(&state);
        const std::size_t count = block.size() - state.avail_out;
        if ((status != BZ_OK && status != BZ_STREAM_END) || (isAtEnd && count == 0)) {
            throw ReadError(path, 0, status == BZ_MEM_ERROR ? "out of memory" : Damaged);
        }
        if (count > limit - text.size()) {
            throw ReadError(
                path, 0, "the text is longer than the " + std::to_string(limit) + " bytes allowed");
        }
        text.append(block.data(), count);
    }
    return text;
}
#else
std::string expanded(const std::string& /*packed*/,
                     const std::string& path,
                     std::size_t /*limit*/) {
    throw ReadError(path, 0, "compressed by bzip2, for which this tool was built without support");
}
#endif

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
        if (static_cast<std::size_t>(count) > limit - text.size()) {
            throw ReadError(
                path, 0, "the text is longer than the " + std::to_string(limit) + " bytes allowed");
        }
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    checkStream(file.get(), path);
    return text.starts_with("BZh") ? expanded(text, path, limit) : text;
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
