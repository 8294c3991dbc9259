// The threads that run tasks, and the wait for a task to end.
#include "task.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace activeset::python {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds BetweenChecks{10};  ///< so late a signal may be noticed
constexpr milliseconds Patience{25};       ///< for a solve to stop after a request

}  // namespace

/// The threads of this process. They wait for the next task. There are as many as there were tasks
/// at the same time.
class Crew {
public:
    /// The threads of this process. A forked child has none of its parent's threads and starts
    /// afresh. The inherited object may be in any state and is left alone, as is the last one at
    /// exit.
    static Crew& instance() {
        static Crew* crew = nullptr;
        static pid_t owner = 0;
        if (crew == nullptr || owner != getpid()) {
            crew = std::make_unique<Crew>().release();
            owner = getpid();
        }
        return *crew;
    }

    void begin(const std::shared_ptr<Task>& task) {
        const std::lock_guard guard(mutex_);
        waiting_.push_back(task.get());
        ++busy_;
        if (busy_ > threads_.size()) {
            try {
                threads_.emplace_back([this] { work(); });
            } catch (...) {
                waiting_.pop_back();
                --busy_;
                throw;
            }
        }
        changed_.notify_all();
    }

    /// False if the time is over before the task has ended.
    bool wait(const Task& task, milliseconds time) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, time, [&] { return task.isDone_ || isCalled_; });
        isCalled_ = false;
        return task.isDone_;
    }

    void wake() noexcept {
        const std::lock_guard guard(mutex_);
        isCalled_ = true;
        changed_.notify_all();
    }

    /// Keeps the task until it has ended. Needs the GIL.
    void keep(std::shared_ptr<Task> task) { left_.push_back(std::move(task)); }

    /// Forgets tasks that have ended. Needs the GIL.
    void sweep() {
        std::vector<std::shared_ptr<Task>> ended;
        const auto isDone = [&](const std::shared_ptr<Task>& task) {
            const std::lock_guard guard(mutex_);
            return task->isDone_;
        };
        const auto last = std::stable_partition(left_.begin(), left_.end(),
                                                [&](const auto& task) { return !isDone(task); });
        ended.assign(std::make_move_iterator(last), std::make_move_iterator(left_.end()));
        left_.erase(last, left_.end());
    }

    static std::exception_ptr raisedBy(const Task& task) { return task.raised_; }

    void end() noexcept {
        {
            const WithoutGil released;
            {
                const std::lock_guard guard(mutex_);
                isEnding_ = true;
                changed_.notify_all();
            }
            for (std::thread& thread : threads_) {
                thread.join();
            }
        }
        threads_.clear();
        left_.clear();
        isEnding_ = false;
    }

private:
    void work() {
        std::unique_lock lock(mutex_);
        while (true) {
            changed_.wait(lock, [this] { return isEnding_ || !waiting_.empty(); });
            if (waiting_.empty()) {
                return;
            }
            Task& task = *waiting_.front();
            waiting_.pop_front();
            lock.unlock();
            try {
                task.run();
            } catch (...) {
                task.raised_ = std::current_exception();
            }
            lock.lock();
            // The waiting thread may destroy the task after this.
            task.isDone_ = true;
            --busy_;
            changed_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task*> waiting_;
    std::vector<std::thread> threads_;
    std::vector<std::shared_ptr<Task>> left_;
    std::size_t busy_ = 0;
    bool isCalled_ = false;
    bool isEnding_ = false;
};

void Task::wake() noexcept {
    Crew::instance().wake();
}

void runAttended(const std::shared_ptr<Task>& task) {
    Crew& crew = Crew::instance();
    crew.sweep();
    crew.begin(task);
    bool isDone = false;
    while (!isDone) {
        {
            const WithoutGil released;
            isDone = crew.wait(*task, BetweenChecks);
        }
        if (!task->attend() || PyErr_CheckSignals() != 0) {
            py::error_already_set error;
            task->stop().request_stop();
            task->leave();
            {
                const WithoutGil released;
                isDone = crew.wait(*task, Patience);
            }
            if (!isDone) {
                crew.keep(task);
            }
            throw error;
        }
    }
    if (const std::exception_ptr raised = Crew::raisedBy(*task)) {
        std::rethrow_exception(raised);
    }
}

bool isMainThread() {
    const py::object main = packaged("threading", "main_thread")();
    return main.attr("ident").cast<unsigned long>() == PyThread_get_thread_ident();
}

void endTasks() noexcept {
    try {
        Crew::instance().end();
    } catch (...) {
        PyErr_Clear();
    }
}

}  // namespace activeset::python
