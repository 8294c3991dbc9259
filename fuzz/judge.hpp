// What all fuzz targets share: reporting a fault, and what they compare.
#ifndef ACTIVESET_FUZZ_JUDGE_HPP
#define ACTIVESET_FUZZ_JUDGE_HPP

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <span>
#include <streambuf>
#include <string>
#include <string_view>

#include "activeset/host.hpp"
#include "activeset/matrix.hpp"

namespace activeset::fuzz {

/// Ends the run with a message; the fuzzer counts it as a crash.
[[noreturn]] inline void condemn(std::string_view what, const std::string& detail = {}) {
    std::fprintf(stderr, "JUDGE: %.*s%s%s\n", static_cast<int>(what.size()), what.data(),
                 detail.empty() ? "" : ": ", detail.c_str());
    std::abort();
}

inline void require(bool holds, std::string_view what) {
    if (!holds) {
        condemn(what);
    }
}

/// The same number; signs of zero and payloads of NaN do not count.
inline bool isSame(double p, double q) {
    return p == q || (std::isnan(p) && std::isnan(q));
}

/// Discards what is printed to a stream while this object lives, and counts the characters.
class SilencedStream : public std::streambuf {
public:
    explicit SilencedStream(std::ostream& stream)
        : stream_(stream), previous_(stream.rdbuf(this)) {}
    ~SilencedStream() override { stream_.rdbuf(previous_); }
    SilencedStream(const SilencedStream&) = delete;
    SilencedStream(SilencedStream&&) = delete;
    SilencedStream& operator=(const SilencedStream&) = delete;
    SilencedStream& operator=(SilencedStream&&) = delete;

    [[nodiscard]] std::size_t count() const { return count_; }

protected:
    int_type overflow(int_type character) override {
        ++count_;
        return traits_type::not_eof(character);
    }
    std::streamsize xsputn(const char* /*text*/, std::streamsize length) override {
        count_ += static_cast<std::size_t>(length);
        return length;
    }

private:
    std::ostream& stream_;
    std::streambuf* previous_;
    std::size_t count_ = 0;
};

/// Requires that as many arrays and blocks are alive at the end as at the beginning.
class LeakCheck {
public:
    LeakCheck() : arrays_(liveArrayCount()), blocks_(liveBlockCount()) {}

    void judge() const {
        require(liveArrayCount() == arrays_, "host arrays left alive, or one destroyed twice");
        require(liveBlockCount() == blocks_, "host memory left alive, or freed twice");
        require(utInterruptMode::depth() == 0, "interrupt mode not left");
        require(utInterruptMode::current() == -1, "interrupt mode not put back");
    }

private:
    std::int64_t arrays_;
    std::int64_t blocks_;
};

/// An error with which an operation may be refused. An empty text stands for any text.
struct KnownError {
    std::string_view identifier;
    std::string_view text;
};

inline bool isAmong(std::span<const KnownError> known, const HostError& error) {
    return std::any_of(known.begin(), known.end(), [&](const KnownError& one) {
        return error.identifier() == one.identifier &&
               (one.text.empty() || one.text == error.what());
    });
}

[[noreturn]] inline void condemnError(const HostError& error) {
    condemn("an error that must not come from here", error.identifier() + ": " + error.what());
}

}  // namespace activeset::fuzz

#endif
