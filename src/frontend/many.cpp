// Many problems on several threads. A chain is the unit of work: it is solved in order by one
// thread, so that what a problem starts from does not depend on the other threads.
#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>

#include "activeset/host.hpp"
#include "frontend/solve.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

bool isSame(const MatrixView& a, const MatrixView& b) {
    return a.data() == b.data() && a.rows() == b.rows() && a.cols() == b.cols() &&
           a.leading() == b.leading() && a.order() == b.order() && a.available() == b.available();
}

/// Problems that are solved one after the other, each from the optimum before it.
class Chain {
public:
    Result solve(Problem problem, const Settings& settings) {
        if (problem.warmStart == nullptr && !optimum_.x.empty() &&
            optimum_.x.size() == frontend::variablesOf(problem)) {
            problem.warmStart = &optimum_;
        }
        if (sharesMatrices(problem)) {
            change(problem);
        } else {
            solver_.emplace(problem, settings);
        }
        matrices_ = problem;
        solver_->settings() = settings;
        Result result = solver_->solve();
        if (result.status == Status::Invalid) {
            solver_.reset();  // it would keep the faults
        } else if (result.status == Status::Optimal) {
            optimum_ = result.warmStart();
        }
        return result;
    }

    /// After an error.
    void forgetSolver() noexcept { solver_.reset(); }

private:
    // The caller's data stay as they are meanwhile, so the same views have the same entries.
    [[nodiscard]] bool sharesMatrices(const Problem& problem) const {
        const std::size_t n = frontend::variablesOf(problem);
        return solver_ && n == frontend::variablesOf(matrices_) && isSame(problem.H, matrices_.H) &&
               isSame(problem.A, matrices_.A) &&
               frontend::faultsIn(problem, n, problem.A.rows(), frontend::Part::Start).empty();
    }

    void change(const Problem& problem) {
        solver_->setLinear(problem.c, problem.constant);
        solver_->setRowSides(problem.rowLower, problem.rowUpper);
        solver_->setBounds(problem.lower, problem.upper);
        WarmStart start;
        if (problem.warmStart != nullptr) {
            start = *problem.warmStart;
        } else if (!problem.start.empty()) {
            start.x.assign(problem.start.data(), problem.start.data() + problem.start.size());
        }
        solver_->restartFrom(std::move(start));
    }

    std::optional<Solver> solver_;
    Problem matrices_;  ///< the last one; its warm start is not looked at
    WarmStart optimum_;
};

/// The work of all threads. Each takes the next chain until there is none.
class Batch {
public:
    Batch(std::span<const Problem> problems, const ManySettings& settings)
        : problems_(problems),
          settings_(settings),
          chain_(std::max<std::size_t>(settings.chain, 1)),
          results_(problems.size()) {}

    [[nodiscard]] std::size_t chains() const {
        return problems_.size() / chain_ + (problems_.size() % chain_ != 0 ? 1 : 0);
    }

    void work() noexcept {
        std::optional<Settings> each;  // one copy a thread: its stop token is counted
        for (std::size_t k = next_++; k < chains(); k = next_++) {
            Chain chain;
            const std::size_t first = k * chain_;
            const std::size_t count = std::min(problems_.size() - first, chain_);
            for (std::size_t i = first; i < first + count; ++i) {
                solve(i, chain, each);
                report();
            }
        }
    }

    std::vector<Result> finish() {
        if (raised_) {
            std::rethrow_exception(raised_);
        }
        return std::move(results_);
    }

private:
    void solve(std::size_t index, Chain& chain, std::optional<Settings>& each) noexcept {
        Result& result = results_[index];
        try {
            if (const std::optional<Status> end = endBefore()) {
                result.status = *end;
                return;
            }
            if (!each) {
                each = settings_.each;
                each->stop = stop_.get_token();
            }
            // One that is no limit goes on to the solve, which says so.
            each->timeLimit = settings_.timeLimit.count() >= 0.0
                                  ? std::min(settings_.each.timeLimit, std::max(timeLeft(), {}))
                                  : settings_.timeLimit;
            result = chain_ > 1 ? chain.solve(problems_[index], *each)
                                : activeset::solve(problems_[index], *each);
        } catch (const std::exception& error) {
            fail(result, error.what());
            chain.forgetSolver();
        } catch (...) {
            fail(result, "an exception of an unknown type");
            chain.forgetSolver();
        }
    }

    static void fail(Result& result, const char* text) noexcept {
        result.status = Status::Failed;
        try {
            result.message = text;
        } catch (...) {
            result.message.clear();  // not even memory for the text
        }
    }

    /// Why a problem is not begun.
    [[nodiscard]] std::optional<Status> endBefore() const {
        const bool flagged =
            (utInterruptState::flags_pending.load(std::memory_order_relaxed) & 1U) != 0;
        if (stop_.stop_requested() || flagged) {
            return Status::Interrupted;
        }
        if (settings_.timeLimit.count() >= 0.0 && timeLeft().count() <= 0.0) {
            return Status::TimeLimit;
        }
        return std::nullopt;
    }

    [[nodiscard]] std::chrono::duration<double> timeLeft() const {
        if (settings_.timeLimit == std::chrono::duration<double>::max()) {
            return settings_.timeLimit;
        }
        return settings_.timeLimit - (std::chrono::steady_clock::now() - begin_);
    }

    void report() noexcept {
        if (!settings_.onDone) {
            return;
        }
        const std::lock_guard guard(reporting_);
        if (raised_) {
            return;
        }
        try {
            settings_.onDone(++done_, results_.size());
        } catch (...) {
            raised_ = std::current_exception();
            stop_.request_stop();
        }
    }

    std::span<const Problem> problems_;
    const ManySettings& settings_;
    std::size_t chain_;  ///< its length
    std::vector<Result> results_;
    std::atomic<std::size_t> next_ = 0;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::stop_source stop_;
    std::stop_callback<std::function<void()>> relay_{settings_.each.stop,
                                                     [this] { stop_.request_stop(); }};
    std::mutex reporting_;
    std::size_t done_ = 0;       // with the mutex held
    std::exception_ptr raised_;  // likewise
};

// What the system does not give is not needed: fewer threads do the same work.
void start(std::vector<std::jthread>& helpers, std::size_t count, Batch& batch) noexcept {
    try {
        while (helpers.size() < count) {
            helpers.emplace_back(&Batch::work, &batch);
        }
    } catch (...) {
        return;
    }
}

}  // namespace

std::vector<Result> solveMany(std::span<const Problem> problems, const ManySettings& settings) {
    const FloatingPointGuard environment;  // which the other threads inherit
    frontend::requireNoSolve();
    Batch batch(problems, settings);
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t wanted = settings.threads != 0 ? settings.threads : processors;
    {
        std::vector<std::jthread> helpers;
        start(helpers, std::max<std::size_t>(1, std::min(wanted, batch.chains())) - 1, batch);
        batch.work();
    }
    return batch.finish();
}

}  // namespace activeset
