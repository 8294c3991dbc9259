// A line on a terminal that says how far a long run is.
#ifndef ACTIVESET_CLI_PROGRESS_LINE_HPP
#define ACTIVESET_CLI_PROGRESS_LINE_HPP

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "activeset/qp.hpp"

namespace activeset::cli {

/// Shows the latest state on standard error several times a second, beginning after one second,
/// and erases it at the end. Does nothing if standard error is no terminal.
class ProgressLine {
public:
    /// @param files  the number of files to solve
    ProgressLine(bool isWanted, std::size_t files);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine(ProgressLine&&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ProgressLine& operator=(ProgressLine&&) = delete;

    [[nodiscard]] bool isShown() const { return thread_.joinable(); }
    /// May be called from any thread.
    void tell(const Progress& progress);
    void tellDone(std::size_t done);
    /// Erases the line until the next update.
    void erase();

private:
    void show(const std::stop_token& stop);
    [[nodiscard]] std::string text() const;

    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::size_t files_;
    std::mutex mutex_;  ///< of all that follows
    std::condition_variable_any wake_;
    std::optional<Progress> last_;
    std::size_t done_ = 0;
    bool isOnScreen_ = false;
    std::jthread thread_;
};

}  // namespace activeset::cli

#endif
