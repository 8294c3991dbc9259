// Each thread takes the next piece until there is none.
#include "frontend/team.hpp"

#include <algorithm>
#include <thread>
#include <vector>

#include "host/interrupt.hpp"

namespace activeset::frontend {

namespace {

/// How many problems a piece has. Without chains: so many that the shared counter costs nothing,
/// and so few that all threads end at about the same time.
std::size_t pieceOf(std::size_t problems, const ManySettings& settings) {
    constexpr std::size_t Most = 64;
    constexpr std::size_t Shares = 256;
    return settings.chain > 1 ? settings.chain
                              : std::clamp<std::size_t>(problems / Shares, 1, Most);
}

// Fewer threads than wanted do the same work, so a thread that cannot be started is no error.
void start(std::vector<std::jthread>& helpers,
           std::size_t count,
           const std::function<void()>& work) noexcept {
    try {
        while (helpers.size() < count) {
            helpers.emplace_back([&work] { work(); });
        }
    } catch (...) {
        return;
    }
}

}  // namespace

Team::Team(std::size_t problems, const ManySettings& settings)
    : settings_(settings),
      problems_(problems),
      piece_(pieceOf(problems, settings)),
      relay_(settings.each.stop, [this] { stop_.request_stop(); }) {}

std::size_t Team::pieces() const {
    return problems_ / piece_ + (problems_ % piece_ != 0 ? 1 : 0);
}

void Team::run(const std::function<void()>& work) {
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t wanted = settings_.threads != 0 ? settings_.threads : processors;
    {
        std::vector<std::jthread> helpers;
        start(helpers, std::max<std::size_t>(1, std::min(wanted, pieces())) - 1, work);
        work();
    }
    if (raised_) {
        std::rethrow_exception(raised_);
    }
}

std::optional<Team::Piece> Team::next() {
    const std::size_t k = next_++;
    if (k >= pieces()) {
        return std::nullopt;
    }
    return Piece{k * piece_, std::min(problems_ - k * piece_, piece_)};
}

std::optional<Status> Team::endBefore() const {
    if (stop_.stop_requested() || isInterruptPending()) {
        return Status::Interrupted;
    }
    if (settings_.timeLimit.count() >= 0.0 && timeLeft().count() <= 0.0) {
        return Status::TimeLimit;
    }
    return std::nullopt;
}

Settings Team::each() const {
    Settings each = settings_.each;
    each.stop = stop_.get_token();
    return each;
}

// A limit that is not a number from 0 up goes on to the solve, which reports the fault.
void Team::limit(Settings& each) const {
    each.timeLimit = settings_.timeLimit.count() >= 0.0
                         ? std::min(settings_.each.timeLimit, std::max(timeLeft(), {}))
                         : settings_.timeLimit;
}

std::chrono::duration<double> Team::timeLeft() const {
    if (settings_.timeLimit == std::chrono::duration<double>::max()) {
        return settings_.timeLimit;
    }
    return settings_.timeLimit - (std::chrono::steady_clock::now() - begin_);
}

void Team::report(std::size_t count) noexcept {
    if (!settings_.onDone) {
        return;
    }
    const std::lock_guard guard(reporting_);
    if (raised_) {
        return;
    }
    try {
        settings_.onDone(done_ += count, problems_);
    } catch (...) {
        raised_ = std::current_exception();
        stop_.request_stop();
    }
}

}  // namespace activeset::frontend
