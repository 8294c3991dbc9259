// The exact solution for a given working set: its equations are solved again and again for their
// residuals, which are formed in extended precision.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_REFINEMENT_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_REFINEMENT_HPP

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/pivoted_cholesky.hpp"
#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/problem/constraints.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

/// Curvature of a reduced Hessian that counts as none, in proportion to the largest.
inline constexpr double FlatReduced = 1e-11;

/// The equations
///
///     H·x + c + Aᵀy + z = 0,   rows and bounds of the working set hold with equality
///
/// in which y and z are zero outside the set. Variables at bounds are taken out; for the others, QR
/// of the rows and Cholesky of the reduced Hessian are formed once. Where that Hessian is singular,
/// x does not move along its null space.
class Refinement {
public:
    /// Keeps a reference to the data. Their vectors may change between two corrections, the
    /// sides of the set staying finite; their matrices may not.
    ///
    /// @param flat  curvature of the reduced Hessian that counts as none, in proportion to the
    ///              largest; what may be rounding of H never counts
    Refinement(const ProblemData& data, const WorkingSet& set, double flat = FlatReduced);

    [[nodiscard]] const WorkingSet& set() const { return set_; }
    /// Moves x, y and z to the solution, as far as doubles can. Returns the number of corrections.
    std::size_t apply(Point& point, std::size_t most) const;
    /// The error of x and y of such a point: the digits for which doubles had no room. No z.
    [[nodiscard]] Point digitsBehind(const Point& point) const;

private:
    struct Residuals {
        std::vector<Extended> stationarity;  ///< of free variables: −(H·x + c + Aᵀy)
        std::vector<Extended> rows;          ///< of rows of the set: side − row·x
        double size = 0.0;
        double share = 0.0;  ///< the largest in proportion to its terms

        void take(Extended residual, double scale) {
            const double miss = magnitude(residual);
            if (!(miss <= size)) {  // NaN stays
                size = miss;
            }
            share = miss > share * scale ? miss / scale : share;
        }
        /// Whether these are smaller by a factor: all of them, or among those with tiny terms.
        [[nodiscard]] bool areLess(const Residuals& than, double factor) const {
            return size < factor * than.size ||
                   (size <= 2.0 * than.size && share < factor * than.share);
        }
    };

    [[nodiscard]] PivotedCholesky reducedCholesky(double flat) const;
    [[nodiscard]] Vector sides() const;
    void moveToBounds(Vector& x) const;
    [[nodiscard]] Residuals residualsAt(const Point& point, const Vector& sides) const;
    [[nodiscard]] Point correction(const Residuals& residuals) const;
    void setBoundMultipliers(Point& point) const;

    const ProblemData& data_;
    WorkingSet set_;  // as it was asked for, by which the factors are found again
    Constraints held_;
    std::vector<std::size_t> rows_;  // those held
    std::vector<std::size_t> free_;  // the variables that are not at bounds
    Dense freeH_;
    PivotedQr qr_;
    Dense basis_;
    PivotedCholesky cholesky_;
};

}  // namespace activeset::frontend

#endif
