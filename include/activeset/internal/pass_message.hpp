// What a pass says about itself in the iteration table.
#ifndef ACTIVESET_INTERNAL_PASS_MESSAGE_HPP
#define ACTIVESET_INTERNAL_PASS_MESSAGE_HPP

#include <cstddef>
#include <cstdint>
#include <string>

#include "activeset/export.hpp"

namespace activeset {

/// A note of what happened; its words are only made when the table is printed.
class ACTIVESET_API PassMessage {
public:
    enum class Event : std::uint8_t {
        None,
        Start,
        Unbounded,
        Optimal,
        OptimalWithoutConstraints,
        InequalityIn,
        LowerBoundIn,
        UpperBoundIn,
        InequalityOut,
        LowerBoundOut,
        UpperBoundOut
    };

    PassMessage() = default;
    /// @param index  0-based row of the inequality, or variable of the bound, that comes or goes
    explicit PassMessage(Event event, size_t index = 0) noexcept : event_(event), index_(index) {}

    /// The words, with 1-based numbers; empty for None.
    [[nodiscard]] std::string text() const;

private:
    Event event_ = Event::None;
    size_t index_ = 0;
};

}  // namespace activeset

#endif
