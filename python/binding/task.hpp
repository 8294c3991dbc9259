// A solve without the GIL that a signal can end.
//
// Python runs the handlers of signals on its main thread, and only when that thread asks for it. So
// a solve that starts there and may take long runs on a thread of its own, while the main thread
// asks every few milliseconds. An exception of a handler, usually KeyboardInterrupt, stops the
// solve. If the solve does not stop soon it is left behind: it runs to its end, with its data kept
// alive.
#ifndef ACTIVESET_PYTHON_TASK_HPP
#define ACTIVESET_PYTHON_TASK_HPP

#include <exception>
#include <functional>
#include <memory>
#include <stop_token>
#include <utility>

#include "python.hpp"

namespace activeset::python {

class Task {
public:
    Task() = default;
    virtual ~Task() = default;  ///< needs the GIL
    Task(const Task&) = delete;
    Task(Task&&) = delete;
    Task& operator=(const Task&) = delete;
    Task& operator=(Task&&) = delete;

    /// Does the work, without the GIL, on any thread.
    virtual void run() = 0;
    /// Called on the waiting thread with the GIL, every few milliseconds and whenever the work
    /// calls `wake`. Returns false, with a Python error set, to end the task.
    virtual bool attend() { return true; }
    /// Called when no thread waits for the task any more; `attend` is not called again.
    virtual void leave() noexcept {}

    [[nodiscard]] std::stop_source& stop() noexcept { return stop_; }

protected:
    /// Lets the waiting thread call `attend` now.
    static void wake() noexcept;

private:
    friend class Crew;
    std::stop_source stop_;
    std::exception_ptr raised_;
    bool isDone_ = false;  // with the mutex of the crew held
};

/// A task that consists of one function. The function gets the stop token. Its captures live as
/// long as the task and are destroyed with the GIL.
class FunctionTask : public Task {
public:
    explicit FunctionTask(std::function<void(std::stop_token)> work) : work_(std::move(work)) {}
    void run() override { work_(stop().get_token()); }

private:
    std::function<void(std::stop_token)> work_;
};

/// Runs the task on another thread with the GIL released, and waits for it.
/// @raises what the task raised, what a signal's handler or `attend` raised
void runAttended(const std::shared_ptr<Task>& task);

/// Whether this is the thread on which Python runs the handlers of signals.
[[nodiscard]] bool isMainThread();

/// Ends the threads and waits for tasks that were left behind. Called when the interpreter exits.
void endTasks() noexcept;

}  // namespace activeset::python

#endif
