// Several threads that share many problems, and what ends all of them.
#ifndef ACTIVESET_SRC_FRONTEND_TEAM_HPP
#define ACTIVESET_SRC_FRONTEND_TEAM_HPP

#include <atomic>
#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>

#include "activeset/qp.hpp"

namespace activeset::frontend {

/// Problems are taken in pieces: whole chains, so that what a problem starts from does not depend
/// on the other threads, or a few at once.
class Team {
public:
    /// Keeps a reference to the settings.
    Team(std::size_t problems, const ManySettings& settings);

    /// Calls `work` on as many threads as there is work for and the settings want, the calling one
    /// among them. It takes pieces until there are none.
    /// @raises what `onDone` has raised
    void run(const std::function<void()>& work);

    struct Piece {
        std::size_t first = 0;
        std::size_t count = 0;
    };
    [[nodiscard]] std::optional<Piece> next();
    /// The reason not to begin another problem, if there is one.
    [[nodiscard]] std::optional<Status> endBefore() const;
    /// The settings of every solve, and for the next one the time that is left.
    [[nodiscard]] Settings each() const;
    void limit(Settings& each) const;
    /// Counts `count` more problems as done.
    void report(std::size_t count) noexcept;

private:
    [[nodiscard]] std::size_t pieces() const;
    [[nodiscard]] std::chrono::duration<double> timeLeft() const;

    const ManySettings& settings_;
    std::size_t problems_;
    std::size_t piece_;  ///< how many problems it has
    std::atomic<std::size_t> next_ = 0;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::stop_source stop_;
    std::stop_callback<std::function<void()>> relay_;
    std::mutex reporting_;
    std::size_t done_ = 0;       // with the mutex held
    std::exception_ptr raised_;  // likewise
};

}  // namespace activeset::frontend

#endif
