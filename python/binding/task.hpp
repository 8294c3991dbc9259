// A solve without the GIL that a signal can end.
//
// Python runs the handlers of signals on its main thread, and only when that thread asks for it. A
// solve that may take long and is started there goes to a thread of its own, and the main thread
// asks every few milliseconds. What a handler raises (KeyboardInterrupt, as a rule) stops the
// solve. A solve that does not notice soon is left behind: it ends when it does, with its data kept
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
    virtual ~Task() = default;  ///< with the GIL
    Task(const Task&) = delete;
    Task(Task&&) = delete;
    Task& operator=(const Task&) = delete;
    Task& operator=(Task&&) = delete;

    /// The work, without the GIL, on any thread.
    virtual void run() = 0;
    /// Called on the thread that waits, with the GIL, every few milliseconds and whenever the work
    /// calls `wake`. False with a Python error set ends the task.
    virtual bool attend() { return true; }
    /// The thread that started the task no longer waits for it, and nobody attends.
    virtual void leave() noexcept {}

    [[nodiscard]] std::stop_source& stop() noexcept { return stop_; }

protected:
    /// Lets the waiting thread attend now.
    static void wake() noexcept;

private:
    friend class Crew;
    std::stop_source stop_;
    std::exception_ptr raised_;
    bool isDone_ = false;  // with the mutex of the crew held
};

/// A task that is one function. The function gets the token that stops it. Its captures live as
/// long as the task and are destroyed with the GIL.
class FunctionTask : public Task {
public:
    explicit FunctionTask(std::function<void(std::stop_token)> work) : work_(std::move(work)) {}
    void run() override { work_(stop().get_token()); }

private:
    std::function<void(std::stop_token)> work_;
};

/// Runs the task on another thread and waits for it, with the GIL released.
/// @raises what the task raised, what a signal's handler or `attend` raised
void runAttended(const std::shared_ptr<Task>& task);

/// Whether this is the thread on which Python runs the handlers of signals.
[[nodiscard]] bool isMainThread();

/// Ends the threads and waits for tasks that were left behind. Called at the exit of the
/// interpreter.
void endTasks() noexcept;

}  // namespace activeset::python

#endif
