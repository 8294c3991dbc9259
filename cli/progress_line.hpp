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

/// Shows nothing for a second, then what it was told last, several times a second, on standard
/// error; it leaves no trace. Does nothing where standard error is no terminal.
class ProgressLine {
public:
    /// @param files  all that there are to be done
    ProgressLine(bool isWanted, std::size_t files);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine(ProgressLine&&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ProgressLine& operator=(ProgressLine&&) = delete;

    [[nodiscard]] bool isShown() const { return thread_.joinable(); }
    /// From any thread.
    void tell(const Progress& progress);
    void tellDone(std::size_t done);
    /// Takes the line off, until it is time for the next one.
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
