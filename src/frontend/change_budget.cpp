// Counts what comes and goes from one solve to the next.
#include "frontend/change_budget.hpp"

#include <algorithm>

namespace activeset::frontend {

namespace {

constexpr std::size_t LongestWait = 1024;  // solves
constexpr std::size_t VariablesPerChange = 12;

/// Members of one of two ascending lists.
std::size_t differences(const std::vector<std::size_t>& a, const std::vector<std::size_t>& b) {
    std::size_t common = 0;
    for (auto i = a.begin(), j = b.begin(); i != a.end() && j != b.end();) {
        const std::size_t first = std::min(*i, *j);
        common += *i == *j ? 1U : 0U;
        i += *i == first ? 1 : 0;
        j += *j == first ? 1 : 0;
    }
    return a.size() + b.size() - 2 * common;
}

}  // namespace

void ChangeBudget::takeGuess(std::size_t n, const WorkingSet& before, const WorkingSet& after) {
    if (before.size() != 0) {
        seen_ += differences(before.atLower, after.atLower) +
                 differences(before.atUpper, after.atUpper) +
                 differences(before.rowsAtLower, after.rowsAtLower) +
                 differences(before.rowsAtUpper, after.rowsAtUpper);
    }
    if (--waiting_ == 0) {
        left_ = n / 4;
        const bool areMany = VariablesPerChange * seen_ > wait_ * n;
        if (areMany || 3 * after.size() > 2 * n) {
            wait();
        }
    }
}

void ChangeBudget::takeChanges(std::size_t n, std::optional<std::size_t> changes) {
    if (!changes || *changes > left_) {
        wait();
        return;
    }
    left_ = std::min(left_ - *changes + n / VariablesPerChange, n / 4);
}

void ChangeBudget::wait() {
    wait_ = std::min(2 * wait_, LongestWait);
    waiting_ = wait_;
    seen_ = 0;
}

}  // namespace activeset::frontend
