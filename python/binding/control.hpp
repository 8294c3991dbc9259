// Settings and callbacks of Python's, and a solve under them.
#ifndef ACTIVESET_PYTHON_CONTROL_HPP
#define ACTIVESET_PYTHON_CONTROL_HPP

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "activeset/qp.hpp"
#include "python.hpp"
#include "task.hpp"

namespace activeset::python {

/// The settings of a solve, and its callbacks.
struct Control {
    Settings settings{};
    py::object callback{};  ///< called with a Progress after every pass; may be null
    py::object printer{};   ///< prints the lines of verbose; may be null
};

/// Reads borrowed references; null stands for None.
/// @raises TypeError, ValueError
[[nodiscard]] Settings settingsOf(PyObject* settings);
[[nodiscard]] Control controlOf(PyObject* settings, PyObject* verbose, PyObject* callback);

/// The time limit in seconds for many solves together; nothing for None.
/// @raises ValueError
[[nodiscard]] std::chrono::duration<double> timeLimitOf(const py::object& given);

/// Raises RuntimeError inside a callback of a solve on this thread.
void requireNoCallback();

/// Calls the callback with the GIL; false ends the solve, perhaps with a Python error set.
[[nodiscard]] bool tell(const py::object& callback, const Progress& progress);

/// Problems with more entries may take longer than a person waits after Ctrl-C.
inline constexpr std::size_t LongSolve = 20000;

/// A solve on another thread whose callback is called on the thread that waits.
template <class Work>
class SolveTask : public Task {
public:
    SolveTask(Work work, Control control) : work_(std::move(work)), control_(std::move(control)) {}

    void run() override {
        Settings settings = control_.settings;
        settings.stop = stop().get_token();
        if (control_.callback) {
            settings.onPass = [this](const Progress& progress) { return ask(progress); };
        }
        result_ = work_(settings);
    }

    bool attend() override {
        std::unique_lock lock(mutex_);
        if (!question_) {
            return true;
        }
        const Progress progress = *question_;
        lock.unlock();
        const bool goesOn = tell(control_.callback, progress);
        lock.lock();
        question_.reset();
        answer_ = goesOn;
        answered_.notify_all();
        return goesOn || PyErr_Occurred() == nullptr;
    }

    void leave() noexcept override {
        const std::lock_guard guard(mutex_);
        isLeft_ = true;
        answered_.notify_all();
    }

    [[nodiscard]] Result takeResult() { return std::move(result_); }

private:
    bool ask(const Progress& progress) {
        std::unique_lock lock(mutex_);
        if (isLeft_) {
            return false;
        }
        question_ = progress;
        lock.unlock();
        wake();
        lock.lock();
        answered_.wait(lock, [this] { return !question_ || isLeft_; });
        return answer_ && !isLeft_;
    }

    Work work_;
    Control control_;
    Result result_;
    std::mutex mutex_;
    std::condition_variable answered_;
    std::optional<Progress> question_;
    bool answer_ = true;
    bool isLeft_ = false;
};

/// Runs `work(settings)` without the GIL. If a signal ends this call, the work may go on after it,
/// so it must own what it needs.
/// @raises what the callback raised, what the handler of a signal raised
template <class Work>
Result perform(std::size_t entries, Control& control, Work work) {
    requireNoCallback();
    if (entries > LongSolve && isMainThread()) {
        const auto task = std::make_shared<SolveTask<Work>>(std::move(work), control);
        runAttended(task);
        return task->takeResult();
    }
    if (control.callback) {
        control.settings.onPass = [&control](const Progress& progress) {
            const WithGil held;
            return tell(control.callback, progress) && PyErr_CheckSignals() == 0;
        };
    }
    Result result;
    {
        const WithoutGil released;
        result = work(std::as_const(control.settings));
    }
    if (control.callback && PyErr_Occurred() != nullptr) {
        throw py::error_already_set();
    }
    return result;
}

}  // namespace activeset::python

#endif
