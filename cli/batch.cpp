// Each thread takes the next file when it has finished one.
#include "cli/batch.hpp"

#include <map>
#include <mutex>
#include <thread>

#include "cli/interrupt.hpp"

namespace activeset::cli {

namespace {

class Batch {
public:
    Batch(std::size_t count,
          const std::function<FileOutcome(std::size_t)>& solve,
          const std::function<void(const FileOutcome&)>& emit)
        : count_(count), solve_(solve), emit_(emit) {}

    void work() {
        while (true) {
            std::size_t own = 0;
            {
                const std::lock_guard lock(mutex_);
                if (begun_ == count_ || InterruptHandler::isPending()) {
                    return;
                }
                own = begun_++;
            }
            FileOutcome outcome = solve_(own);
            const std::lock_guard lock(mutex_);
            waiting_.emplace(own, std::move(outcome));
            while (!waiting_.empty() && waiting_.begin()->first == emitted_) {
                emit_(waiting_.begin()->second);
                waiting_.erase(waiting_.begin());
                ++emitted_;
            }
        }
    }
    [[nodiscard]] std::size_t begun() const { return begun_; }

private:
    std::size_t count_;
    const std::function<FileOutcome(std::size_t)>& solve_;
    const std::function<void(const FileOutcome&)>& emit_;
    std::mutex mutex_;  ///< of all that follows
    std::size_t begun_ = 0;
    std::size_t emitted_ = 0;
    std::map<std::size_t, FileOutcome> waiting_{};
};

}  // namespace

std::size_t runBatch(std::size_t count,
                     unsigned jobs,
                     const std::function<FileOutcome(std::size_t)>& solve,
                     const std::function<void(const FileOutcome&)>& emit) {
    Batch batch(count, solve, emit);
    {
        std::vector<std::jthread> helpers;
        for (unsigned k = 1; k < jobs && k < count; ++k) {
            helpers.emplace_back([&] { batch.work(); });
        }
        batch.work();
    }
    return batch.begun();
}

}  // namespace activeset::cli
