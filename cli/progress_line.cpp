// A thread of its own writes the line.
#include "cli/progress_line.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

#include "cli/console.hpp"

namespace activeset::cli {

namespace {

constexpr std::chrono::seconds Patience{1};
constexpr std::chrono::milliseconds Refresh{200};
constexpr const char* Erase = "\r\x1b[K";

/// "#####.....": the share of # is the share of the work that is done.
std::string bar(std::size_t done, std::size_t of) {
    constexpr std::size_t Width = 20;
    const std::size_t full = of == 0 ? 0 : Width * done / of;
    return std::string(full, '#') + std::string(Width - full, '.');
}

}  // namespace

ProgressLine::ProgressLine(bool isWanted, std::size_t files) : files_(files) {
    if (isWanted && isTerminal(STDERR_FILENO)) {
        thread_ = std::jthread([this](const std::stop_token& stop) { show(stop); });
    }
}

ProgressLine::~ProgressLine() {
    if (thread_.joinable()) {
        thread_.request_stop();
        thread_.join();
        erase();
    }
}

void ProgressLine::tell(const Progress& progress) {
    const std::lock_guard lock(mutex_);
    last_ = progress;
}

void ProgressLine::tellDone(std::size_t done) {
    const std::lock_guard lock(mutex_);
    done_ = done;
    last_.reset();
}

void ProgressLine::erase() {
    const std::lock_guard lock(mutex_);
    if (isOnScreen_) {
        fmt::print(stderr, "{}", Erase);
        std::fflush(stderr);
        isOnScreen_ = false;
    }
}

void ProgressLine::show(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    const auto never = [] { return false; };
    wake_.wait_for(lock, stop, Patience, never);
    while (!stop.stop_requested()) {
        fmt::print(stderr, "{}{}", Erase, text());
        std::fflush(stderr);
        isOnScreen_ = true;
        wake_.wait_for(lock, stop, Refresh, never);
    }
}

std::string ProgressLine::text() const {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin_;
    std::string line;
    if (files_ > 1) {
        line = fmt::format("[{}] {} of {} files, ", bar(done_, files_), done_, files_);
    }
    if (last_ && files_ <= 1) {
        line += fmt::format("pass {}, objective {:.6g}, violation {:.1e}, ", last_->iteration,
                            last_->objective, last_->violation);
    }
    return line + fmt::format("{:.1f} s", elapsed.count());
}

}  // namespace activeset::cli
