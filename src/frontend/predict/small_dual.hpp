// The dual active-set method of the small road, in the space where the objective is a distance.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DUAL_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_DUAL_HPP

#include <limits>
#include <optional>
#include <vector>

#include "frontend/core/control.hpp"
#include "frontend/predict/small_caps.hpp"
#include "frontend/predict/small_factor.hpp"

namespace activeset::frontend {

/// Less than this is left of an image, its norm 1, beside the members: it nearly depends on them.
inline constexpr double NearlyDependentImage = 1e-4;
/// With less left, the point depends on the last digits of the sides.
inline constexpr double TooCloseImage = 1e-7;

/// With z = Lᵀx and w = L⁻¹c: min ½‖z + w‖² subject to sides of m_iᵀz, m_i the images of the
/// constraints. Leaves in the memory z, the members of the working set with their multipliers, in
/// proportion to the norms of the images, and the values of all constraints.
class SmallDual {
public:
    enum class End {
        Optimal,
        Contradiction,  ///< memory.multipliers: weights of all rows by which they contradict one
                        ///< another, or the bounds
        GivenUp
    };

    explicit SmallDual(SmallMemory& memory) : m_(memory), factor_(memory), caps_(memory) {}

    /// Begins with the equalities and what of a working set makes sense beside them.
    void begin(const WorkingSet& set);
    /// Begins with the members that it ended with, as far as they still have sides. False where
    /// the equalities are others.
    [[nodiscard]] bool beginAgain();
    [[nodiscard]] End minimise(Control& control);
    /// Begins without members. Whether no side is beyond the minimum without constraints, which is
    /// found without images of rows.
    [[nodiscard]] bool beginsAtOptimum();
    /// The same from the refined point in the memory, as exact as that is, until nothing is missed
    /// by more than this, in proportion to terms. False where nothing is, or there is no minimum.
    [[nodiscard]] bool settleAround(double tolerance, Control& control);

    /// Gives up where more members come and go, from the next beginning on.
    void limitChanges(std::size_t most) { mostChanges_ = most; }
    /// Gives up after so many steps for each variable, and some more for rows.
    void limitSteps(std::size_t perVariable) { stepsPerVariable_ = perVariable; }
    static constexpr std::size_t AnyChanges = std::numeric_limits<std::size_t>::max();
    /// Since the last beginning.
    [[nodiscard]] std::size_t changes() const { return dropped_ + steps_; }

    /// Linear penalties; what is beyond its side when it ends is turned round. A contradiction of
    /// hard sides is given up then.
    [[nodiscard]] SmallCaps& caps() { return caps_; }
    /// Begins without the members of a working set whose multipliers are above their caps.
    void beginWithinCaps(const WorkingSet& set);
    /// The members, and what is beyond its side if there are penalties.
    [[nodiscard]] WorkingSet softSet() const;

    /// Whether a point beside the refined one in the memory, where all members meet their sides,
    /// meets all others, too.
    [[nodiscard]] bool areSidesMetNearby();
    /// Whether members are nearly dependent, or quite; where sides are missed also whether they and
    /// sides without multipliers near the point in the memory are, and no short way leads into all.
    [[nodiscard]] bool isNearlyDependent(bool areSidesMissed);
    /// The least part of a member's image, of length 1, that the members before it leave.
    [[nodiscard]] double leastPart() const;

    [[nodiscard]] std::size_t steps() const { return steps_; }
    [[nodiscard]] const SmallFactor& factor() const { return factor_; }
    [[nodiscard]] std::size_t constraintOf(std::size_t k) const {
        // Processors convert to signed numbers at once.
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_.member[k]));
    }

private:
    [[nodiscard]] bool isEquality(std::size_t i) const { return m_.lower[i] == m_.upper[i]; }
    [[nodiscard]] SmallMatrix images() const;
    void gather(std::size_t i, double sign);
    void join(std::size_t i, double sign, double squaredNorm, double multiplier);
    void joinUnlessDependent(std::size_t i, double sign);
    void leave(std::size_t k);
    void formCoefficients();
    void formMultipliers();
    void formPoint();
    void dropWrongSigns();
    [[nodiscard]] bool repeatsMember(std::size_t i) const;
    [[nodiscard]] bool isNearSide(std::size_t i) const;
    [[nodiscard]] bool isBeyond(std::size_t i,
                                double tolerance,
                                double move,
                                double rounding) const;
    [[nodiscard]] double signOfNearSide(std::size_t i) const;
    [[nodiscard]] bool isWayInShort();
    [[nodiscard]] bool isWayOpen();
    [[nodiscard]] bool areRowsRounded() const;

    /// Where the refined point in the memory has a constraint.
    struct Place {
        double value = 0.0;
        double rest = 0.0;   ///< further digits
        double scale = 0.0;  ///< of the terms of the value

        [[nodiscard]] double above(double upper) const { return (value - upper) + rest; }
        [[nodiscard]] double below(double lower) const { return (lower - value) - rest; }
    };
    [[nodiscard]] Place placeOf(std::size_t i) const;
    [[nodiscard]] double valueOf(std::size_t i) const;

    struct NearSide {
        std::vector<double> image;
        std::vector<double> way{};  ///< among the images; found where it is needed
        double slope = 0.0;         ///< of the depth in this side, along the way
        bool isMissed = false;
        bool isHeld = false;  ///< whether no way leads into it
    };
    [[nodiscard]] std::vector<NearSide> nearSides();
    void leadInto(const double* members, double* to);
    void findWay(NearSide& side);
    [[nodiscard]] bool isSettled(const SmallViolation& worst);
    [[nodiscard]] std::optional<End> pullUntilSettled(std::size_t most, Control& control);
    [[nodiscard]] End pull(std::size_t i);
    void weighContradiction(std::size_t newcomer, double sign);
    [[nodiscard]] bool doRowsContradict();
    void moveSides(double tolerance);
    void leadToSides();
    void renewFactor();
    void move(double step, bool isDependent);

    /// How far a newcomer's multiplier grows, and what happens then.
    struct Event {
        enum class Kind { Joins, Leaves, Turns, NewcomerTurns };
        double step = Infinity;
        Kind kind = Kind::Joins;
        std::size_t member = 0;  ///< that leaves, or turns
    };
    [[nodiscard]] Event nextEvent(double whole, double newcomersRoom) const;
    void meetCaps(double newcomersRoom, Event& event) const;
    void turnMember(std::size_t k);

    SmallMemory& m_;
    SmallFactor factor_;
    SmallCaps caps_;
    std::size_t mostChanges_ = AnyChanges;
    std::size_t stepsPerVariable_ = 0;
    std::size_t dropped_ = 0;  ///< members of a wrong sign, at the beginning
    std::size_t steps_ = 0;
    double asked_ = 0.0;  ///< the largest multiplier of a row, when all were asked last
    double size_ = 0.0;   ///< of z, at least
};

}  // namespace activeset::frontend

#endif
