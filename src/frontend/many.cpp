// Many problems on several threads. A chain is the unit of work: it is solved in order by one
// thread, so that what a problem starts from does not depend on the other threads.
#include <utility>

#include "frontend/sequence.hpp"
#include "frontend/team.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

using frontend::Sequence;

bool isSame(const MatrixView& a, const MatrixView& b) {
    return a.data() == b.data() && a.rows() == b.rows() && a.cols() == b.cols() &&
           a.leading() == b.leading() && a.order() == b.order() && a.available() == b.available();
}

/// Problems that are solved one after the other, each from the optimum before it.
class Chain {
public:
    void solve(const Problem& problem, const Settings& settings, Result& result) {
        const FloatingPointGuard environment;
        frontend::requireNoSolve();
        const std::size_t n = frontend::variablesOf(problem);
        begin(problem, n);
        frontend::Control control(settings, frontend::automaticLimit(n, problem.A.rows()));
        sequence_->solve(problem, nullptr, settings, control, result);
        if (result.status == Status::Invalid) {
            forget();
        } else if (result.status == Status::Optimal) {
            optimum_.x = result.x;
            optimum_.workingSet = result.workingSet;
        }
    }

    /// After an error, or faults.
    void forget() noexcept { sequence_.reset(); }

private:
    // The caller must not change data meanwhile, so equal views have equal entries.
    void begin(const Problem& problem, std::size_t n) {
        const bool isOptimumOfSize = !optimum_.x.empty() && optimum_.x.size() == n;
        const bool isContinued = sequence_ && n == frontend::variablesOf(last_);
        if (!isContinued || !isSame(problem.H, last_.H) || !isSame(problem.A, last_.A)) {
            sequence_ = std::make_unique<Sequence>();
        } else {
            sequence_->changeVectors();
        }
        last_ = problem;
        if (problem.warmStart != nullptr) {
            sequence_->restartFrom(*problem.warmStart);
        } else if (isOptimumOfSize) {
            sequence_->restartFrom(optimum_);
        } else {
            sequence_->beginAt(problem.start);
        }
    }

    std::unique_ptr<Sequence> sequence_;
    Problem last_;  ///< whose matrices are compared
    WarmStart optimum_;
};

/// The work of all threads.
class Batch {
public:
    Batch(std::span<const Problem> problems, const ManySettings& settings)
        : problems_(problems),
          settings_(settings),
          team_(problems.size(), settings),
          results_(problems.size()) {}

    std::vector<Result> solve() {
        team_.run([this] { work(); });
        return std::move(results_);
    }

private:
    void work() noexcept {
        std::optional<Settings> each;  // one copy a thread, since copies of stop tokens are counted
        while (const auto piece = team_.next()) {
            Chain chain;
            for (std::size_t k = piece->first; k < piece->first + piece->count; ++k) {
                solve(k, chain, each);
                team_.report(1);
            }
        }
    }

    void solve(std::size_t index, Chain& chain, std::optional<Settings>& each) noexcept {
        Result& result = results_[index];
        try {
            if (const std::optional<Status> end = team_.endBefore()) {
                result.status = *end;
                return;
            }
            if (!each) {
                each = team_.each();
            }
            team_.limit(*each);
            if (settings_.chain > 1) {
                chain.solve(problems_[index], *each, result);
            } else {
                result = activeset::solve(problems_[index], *each);
            }
        } catch (const std::exception& error) {
            fail(result, error.what());
            chain.forget();
        } catch (...) {
            fail(result, "an exception of an unknown type");
            chain.forget();
        }
    }

    static void fail(Result& result, const char* text) noexcept {
        result = {};
        try {
            result.message = text;
        } catch (...) {
            result.message.clear();  // not even memory for the text
        }
    }

    std::span<const Problem> problems_;
    const ManySettings& settings_;
    frontend::Team team_;
    std::vector<Result> results_;
};

}  // namespace

std::vector<Result> solveMany(std::span<const Problem> problems, const ManySettings& settings) {
    const FloatingPointGuard environment;  // which the other threads inherit
    frontend::requireNoSolve();
    return Batch(problems, settings).solve();
}

}  // namespace activeset
