// Times short actions.
#ifndef ACTIVESET_BENCHMARKS_STOPWATCH_HPP
#define ACTIVESET_BENCHMARKS_STOPWATCH_HPP

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>
#include <vector>

namespace activeset::bench {

/// The processor time of this thread in seconds, which other processes affect least.
inline double processorTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Seconds since some fixed moment.
inline double wallTime() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.empty() ? std::numeric_limits<double>::quiet_NaN() : values[values.size() / 2];
}

/// Repeats an action: often enough for the clock to resolve it, and again for a median.
class Stopwatch {
public:
    explicit Stopwatch(double (*clock)() = processorTime) : clock_(clock) {}

    template <class Action>
    void sample(Action action) {
        constexpr double Shortest = 1e-3;
        for (;;) {
            const double start = clock_();
            for (int k = 0; k < repetitions_; ++k) {
                action();
            }
            const double seconds = clock_() - start;
            if (seconds >= Shortest) {
                samples_.push_back(seconds / repetitions_);
                return;
            }
            repetitions_ *= 2;
        }
    }
    [[nodiscard]] double seconds() const { return median(samples_); }
    [[nodiscard]] double shortest() const { return *std::ranges::min_element(samples_); }

private:
    double (*clock_)();
    int repetitions_ = 1;
    std::vector<double> samples_;
};

}  // namespace activeset::bench

#endif
