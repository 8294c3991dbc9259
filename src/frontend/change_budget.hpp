// When a sequence in which bounds prevail leaves guesses for the factors of its working set.
#ifndef ACTIVESET_SRC_FRONTEND_CHANGE_BUDGET_HPP
#define ACTIVESET_SRC_FRONTEND_CHANGE_BUDGET_HPP

#include <cstddef>
#include <optional>

#include "activeset/qp.hpp"

namespace activeset::frontend {

/// A guess takes as long as some n/12 changes of the working set with factors, or as fewer where
/// nearly all bounds hold; forming the factors takes as long as a few guesses. So they are formed
/// where some solves have shown that little changes, and dropped where that is over. Then more
/// solves have to show it.
class ChangeBudget {
public:
    /// How many members may come or go in the next solve; 0 while guesses go on.
    [[nodiscard]] std::size_t left() const { return waiting_ > 0 ? 0 : left_; }

    /// After a guess for n variables.
    void takeGuess(std::size_t n, const WorkingSet& before, const WorkingSet& after);
    /// After a solve with factors, or the attempt at one.
    /// @param changes  of the working set; none where factors are not kept
    void takeChanges(std::size_t n, std::optional<std::size_t> changes);

private:
    void wait();

    static constexpr std::size_t FirstWait = 16;  // solves

    std::size_t wait_ = FirstWait;
    std::size_t waiting_ = FirstWait;  ///< solves from now
    std::size_t seen_ = 0;             ///< changes while waiting
    std::size_t left_ = 0;
};

}  // namespace activeset::frontend

#endif
