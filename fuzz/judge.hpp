// How a fuzz target says that something is wrong, and what several of them look at.
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

/// Ends the run with a message, in the way that a fuzzer takes for a crash.
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

/// The same number, whatever the sign of a zero or the payload of a NaN.
inline bool isSame(double p, double q) {
    return p == q || (std::isnan(p) && std::isnan(q));
}

/// Swallows what is printed through a stream while it lives, and counts it.
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

/// What must be alive after a piece of work as it was before.
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

/// One way in which an operation may be refused. An empty text stands for any.
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
