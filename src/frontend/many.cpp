// Many problems on several threads. A chain is the unit of work: it is solved in order by one
// thread, so that what a problem starts from does not depend on the other threads.
#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include "frontend/session.hpp"

namespace activeset {

namespace {

class Crowd {
public:
    Crowd(std::span<const Problem> problems, const ManySettings& settings)
        : problems_(problems),
          settings_(settings),
          chain_(std::max<std::size_t>(settings.chain, 1)),
          results_(problems.size()) {}

    std::vector<Result> solveAll() {
        const std::size_t chains =
            problems_.size() / chain_ + (problems_.size() % chain_ != 0 ? 1 : 0);
        const std::size_t wanted =
            settings_.threads != 0 ? settings_.threads
                                   : std::max<std::size_t>(std::thread::hardware_concurrency(), 1);
        {
            // One thread fewer: this one works, too.
            std::vector<std::jthread> helpers;
            for (std::size_t k = 1; k < std::min(wanted, chains); ++k) {
                helpers.emplace_back([this] { work(); });
            }
            work();
        }
        if (raised_) {
            std::rethrow_exception(raised_);
        }
        return std::move(results_);
    }

private:
    void work() noexcept {
        for (;;) {
            const std::size_t first = next_.fetch_add(chain_);
            if (first >= problems_.size() || isOver_) {
                return;
            }
            solveChain(first, std::min(problems_.size() - first, chain_));
        }
    }

    void solveChain(std::size_t first, std::size_t count) noexcept {
        WarmStart last;
        for (std::size_t k = first; k < first + count && !isOver_; ++k) {
            Problem problem = problems_[k];
            if (problem.warmStart == nullptr && !last.x.empty() &&
                last.x.size() == frontend::variablesOf(problem)) {
                problem.warmStart = &last;
            }
            results_[k] = solveOne(problem);
            if (chain_ > 1 && results_[k].status == Status::Optimal) {
                last = results_[k].warmStart();
            }
            report();
        }
    }

    [[nodiscard]] Result solveOne(const Problem& problem) const {
        Result failed;
        try {
            return solve(problem, settings_.each);
        } catch (const std::exception& error) {
            failed.message = error.what();
        } catch (...) {
            failed.message = "an exception that says nothing";
        }
        return failed;
    }

    void report() {
        if (!settings_.onDone) {
            return;
        }
        const std::lock_guard lock(mutex_);
        try {
            if (!raised_) {
                settings_.onDone(++done_, problems_.size());
            }
        } catch (...) {
            raised_ = std::current_exception();
            isOver_ = true;
        }
    }

    std::span<const Problem> problems_;
    const ManySettings& settings_;
    std::size_t chain_;
    std::vector<Result> results_;
    std::atomic<std::size_t> next_ = 0;
    std::atomic<bool> isOver_ = false;
    std::mutex mutex_;
    std::size_t done_ = 0;       // with the mutex held
    std::exception_ptr raised_;  // likewise
};

}  // namespace

std::vector<Result> solveMany(std::span<const Problem> problems, const ManySettings& settings) {
    frontend::requireNoSolve();
    return Crowd(problems, settings).solveAll();
}

}  // namespace activeset
