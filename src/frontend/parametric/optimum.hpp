// An optimum beside the data that it is the optimum of, checked to belong together.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_OPTIMUM_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_OPTIMUM_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "frontend/parametric/kept_factors.hpp"

namespace activeset::frontend {

/// How a constraint is held. An equality moves with the side that its multiplier presses on, and
/// its multiplier may have any sign.
enum class Hold : std::int8_t { None, Lower, Upper, EqualLower, EqualUpper };

[[nodiscard]] inline bool isHeld(Hold hold) {
    return hold != Hold::None;
}
[[nodiscard]] inline bool isEquality(Hold hold) {
    return hold == Hold::EqualLower || hold == Hold::EqualUpper;
}
[[nodiscard]] inline bool isAtLower(Hold hold) {
    return hold == Hold::Lower || hold == Hold::EqualLower;
}

/// What an optimum holds, beside its equalities.
enum class Members {
    OfTheSet,  ///< what the working set of the result names
    Strong,    ///< the sides that have a multiplier
    Touched    ///< all sides that the point is on, or has a multiplier for
};

struct Optimum {
    /// Data and factors that the result has kept are used if they belong to the problem.
    ///
    /// @param caller  the name that stands in front of what is raised
    /// @raises std::invalid_argument, see Sensitivity
    Optimum(const Result& result,
            const Problem& problem,
            const char* caller,
            Members members = Members::OfTheSet);

    /// The variables that are not held, and the rows that are.
    [[nodiscard]] std::vector<std::size_t> freeVariables() const;
    [[nodiscard]] std::vector<std::size_t> heldRows() const;
    /// The largest of costs and multipliers, by which multipliers are measured.
    [[nodiscard]] double sizeOfGradient() const;

private:
    std::shared_ptr<const KeptFactors> kept_;  // null if there are none of this problem
    std::shared_ptr<const ProblemData> ownData_;

public:
    const ProblemData& data;  ///< H with the shift of the result
    Point point;
    Vector rowValues;          ///< A·x
    Vector rowSizes;           ///< the largest magnitude in each row of A
    std::vector<Hold> rows;    ///< m
    std::vector<Hold> bounds;  ///< n
    /// Where a side holds or is touched and its multiplier is 0 to rounding.
    std::vector<std::size_t> weakRows;
    std::vector<std::size_t> weakBounds;

    /// Factors of what the working set of the result names; null if there are none.
    [[nodiscard]] const WorkingSystem* keptSystem() const;

private:
    void requireMembers(const WorkingSet& set, const char* caller);
    void holdByMultipliers(bool touched, const char* caller);
    void requirePoint(const Result& result, const char* caller);
    void findWeak();
};

/// The data of a problem; what is wrong with them is raised.
[[nodiscard]] ProblemData checkedCopy(const Problem& problem, const char* caller);

}  // namespace activeset::frontend

#endif
