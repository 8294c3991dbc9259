// Linear penalties in the dual method of the small road: caps of multipliers.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_CAPS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_CAPS_HPP

#include <cstdint>
#include <vector>

#include "frontend/predict/small_memory.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// A side whose multiplier reaches its penalty gives way: it is turned round in the memory, as in a
/// Piece, and its penalty becomes part of w. At a side that is turned round the multiplier is what
/// the one of the side is less than its penalty, so that it has the same cap, and at the cap the
/// side is turned back.
class SmallCaps {
public:
    explicit SmallCaps(SmallMemory& memory) : m_(memory) {}

    /// The penalties of a problem that is in the memory. False, and none, where one is quadratic
    /// or of equal sides.
    [[nodiscard]] bool load(const Problem& problem);
    void clear() { areThere_ = false; }
    [[nodiscard]] bool areThere() const { return areThere_; }

    /// The largest multiplier at a side as it now is, in proportion to the norm of the image.
    [[nodiscard]] double of(std::size_t i, double sign) const {
        const double side = beyond_[i] == 0 ? sign : static_cast<double>(beyond_[i]);
        return side > 0.0 ? upper_[i] : lower_[i];
    }
    [[nodiscard]] bool areAnyBeyond() const { return turned_ > 0; }
    /// 1 where the upper side is turned round, −1 where the lower one is.
    [[nodiscard]] int beyond(std::size_t i) const { return areThere_ ? beyond_[i] : 0; }
    /// @pre memory.g is the image of constraint i with this sign, its norm 1
    void turn(std::size_t i, double sign);

private:
    /// As the problem has them.
    struct Sides {
        double lower;
        double upper;
        double lowest;
        double highest;
    };

    [[nodiscard]] bool take(const Penalty& penalty, std::size_t first, std::size_t count);

    SmallMemory& m_;
    bool areThere_ = false;
    std::size_t turned_ = 0;       ///< how many sides are
    std::vector<double> lower_{};  ///< by constraint, like the others
    std::vector<double> upper_{};
    std::vector<std::int8_t> beyond_{};
    std::vector<Sides> sides_{};  ///< of those that are turned round
};

}  // namespace activeset::frontend

#endif
