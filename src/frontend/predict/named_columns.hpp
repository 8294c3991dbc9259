// The images L⁻¹a of constraints, H = L·Lᵀ, and their inner products: what the block dual method
// needs of a constraint. They are formed when the constraint is first named, and kept.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_NAMED_COLUMNS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_NAMED_COLUMNS_HPP

#include <cstddef>
#include <limits>
#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// Columns g_i = L⁻¹a_i and the inner products g_iᵀg_k. Constraints are numbered: the rows of A,
/// then the bounds by variable. They depend on the matrices of a problem alone, and stay valid
/// while only its vectors change.
class NamedColumns {
public:
    using List = std::vector<std::size_t>;

    /// Keeps references to both.
    ///
    /// @param factor  Lᵀ, in the upper triangle
    NamedColumns(const ProblemData& data, const Dense& factor);

    [[nodiscard]] std::size_t constraints() const { return place_.size(); }
    /// Forms the columns that are missing, all at once. If there would be too many, those of
    /// neither `wanted` nor `kept` go.
    void name(const List& wanted, const List& kept);

    /// g_iᵀg_k; both are named.
    [[nodiscard]] double inner(std::size_t i, std::size_t k) const {
        return inner_(place_[i], place_[k]);
    }
    [[nodiscard]] Vector columnOf(std::size_t k) const {
        const double* column = columns_.column(place_[k]);
        return {column, column + columns_.rows};
    }
    /// g_kᵀ·v for each k of a list of named ones.
    void products(const List& list, const double* v, double* result) const;
    /// v −= Σ factor_k·g_k
    void subtract(const List& list, const double* factors, double* v) const;

private:
    static constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

    [[nodiscard]] List missingOf(const List& wanted) const;
    void keepOnly(const List& kept);
    void growInner(std::size_t count);
    void formInner(std::size_t added);
    [[nodiscard]] std::size_t runLength(const List& list, std::size_t first) const;

    const ProblemData& data_;
    const Dense& factor_;
    std::vector<std::size_t> place_;  // of each constraint among the columns, or None
    Dense columns_;                   // the first count_ are in use
    Dense inner_;                     // its leading block of that order
    std::size_t count_ = 0;
};

}  // namespace activeset::frontend

#endif
