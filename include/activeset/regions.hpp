// The optimum of a small problem as an explicit function of a few parameters: affine on each of the
// polyhedra into which the parameters divide by the working set (Bemporad, Morari, Dua,
// Pistikopoulos 2002, The explicit linear quadratic regulator for constrained systems).
#ifndef ACTIVESET_REGIONS_HPP
#define ACTIVESET_REGIONS_HPP

#include <optional>
#include <string>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset {

/// The rates of the data in each of p parameters θ, over a box. What is empty stays. Both
/// sides of a row move by the same, and both bounds of a variable.
struct Parameters {
    MatrixView c{};       ///< n × p
    MatrixView rows{};    ///< m × p
    MatrixView bounds{};  ///< n × p
    VectorView least{};   ///< p, finite
    VectorView most{};    ///< p, finite
};

/// The parameters E·θ ≤ e with one working set, and the optimum there, x = gain·θ + offset. No row
/// of E follows from the others and the box; each has length 1. The box is not among them.
struct CriticalRegion {
    WorkingSet workingSet{};       ///< of the optima in the region
    std::vector<double> E{};       ///< rows × p, row by row
    std::vector<double> e{};       ///< rows
    std::vector<double> gain{};    ///< n × p, row by row
    std::vector<double> offset{};  ///< n
};

/// How critical regions are sought.
struct RegionSettings {
    Settings each{};           ///< of the solves
    std::size_t most = 10000;  ///< regions, at which the search ends
    /// How many random parameters are tried, after the facets, for regions that no facet led to.
    std::size_t samples = 2000;
};

/// All regions of a strictly convex problem.
class ACTIVESET_API Regions {
public:
    /// Goes from region to region across their facets.
    ///
    /// @raises std::invalid_argument for faults of the problem and the parameters, and where H is
    ///         not positive definite
    Regions(const Problem& problem,
            const Parameters& parameters,
            const RegionSettings& settings = {});

    /// The regions, in the order in which they were found.
    [[nodiscard]] const std::vector<CriticalRegion>& all() const noexcept { return regions_; }
    /// How many parameters there are, p.
    [[nodiscard]] std::size_t parameters() const noexcept { return least_.size(); }
    /// Neither the number of regions nor a solve without an outcome ended the search.
    [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }

    /// The region of θ; none where there is no feasible point, or outside of the box.
    [[nodiscard]] std::optional<std::size_t> find(VectorView theta) const;
    /// The optimum at θ; empty where there is no region.
    [[nodiscard]] std::vector<double> x(VectorView theta) const;

    /// A file of C99 that needs no library and allocates nothing:
    ///
    ///     int NAME(const double theta[p], double x[n]);  /* the region, or -1 and x unchanged */
    ///
    /// @param name  a C identifier of at most 31 letters
    /// @raises std::invalid_argument for a name that is none, is reserved in C or is used inside
    ///         the file
    [[nodiscard]] std::string code(const std::string& name) const;

private:
    class Search;

    std::vector<CriticalRegion> regions_;
    std::vector<double> least_;
    std::vector<double> most_;
    std::size_t n_ = 0;
    bool isComplete_ = true;
};

/// A solver for one strictly convex problem as a file of C99, without a library and with static
/// memory only, by the dual active-set method (Goldfarb and Idnani 1983): H and A are those of the
/// problem, the vectors are arguments.
///
///     int NAME(const double c[n], const double row_lower[m], const double row_upper[m],
///              const double lower[n], const double upper[n], double x[n]);
///
/// returns 0 with the optimum in x, 1 where there is no feasible point, 2 where rounding kept it
/// from an end. Sides of 1e20 and beyond are absent. Parts that the problem does not have (m = 0)
/// are not read. Not to be called from two threads at once.
///
/// @raises std::invalid_argument for faults, for an H that is not positive definite and for a name
///         as of Regions::code()
[[nodiscard]] ACTIVESET_API std::string solverCode(const Problem& problem, const std::string& name);

}  // namespace activeset

#endif
