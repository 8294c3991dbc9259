// A working set with a regular system of optimality conditions, out of any optimum.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_REGULAR_SET_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_REGULAR_SET_HPP

#include <optional>

#include "frontend/parametric/kkt_factor.hpp"
#include "frontend/parametric/line.hpp"
#include "frontend/parametric/moving_problem.hpp"

namespace activeset::frontend {

/// What the optimum at one parameter holds, made independent and, as far as there are constraints
/// to hit, without flat directions. The multipliers stay right, the point stays optimal.
class RegularSet {
public:
    /// @param result  an optimum of the problem at t
    RegularSet(const MovingProblem& problem, double t, const Result& result);

    [[nodiscard]] const Held& held() const { return held_; }
    [[nodiscard]] const KktFactor& factor() const { return *factor_; }

private:
    /// A step along ± a direction, and the constraint whose hold changes there.
    struct Stop {
        double length = Infinity;
        double orientation = 1.0;
        std::size_t at = 0;
        Hold side = Hold::None;
    };
    void holdStrong(const Vector& multipliers, double gradient, std::vector<Hold>& holds) const;
    void makeIndependent();
    [[nodiscard]] double slopeAlong(const double* ofRows, const double* ofBounds) const;
    [[nodiscard]] Stop stopAlong(const double* ofRows, const double* ofBounds) const;
    static void shorten(Stop& stop,
                        const Vector& multipliers,
                        const double* rates,
                        const std::vector<Hold>& holds,
                        std::size_t offset,
                        double size);
    void dropOne(Dense& rows, Dense& bounds, std::size_t k);
    void closeFlat();
    void hitOne(Dense& directions, std::size_t k);
    [[nodiscard]] KktFactor factorise() const;

    const MovingProblem* problem_;
    Vectors sides_;
    Vector x_;
    Vector y_;
    Vector z_;
    Held held_;
    std::optional<KktFactor> factor_;
};

}  // namespace activeset::frontend

#endif
