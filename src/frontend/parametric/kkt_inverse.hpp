// The inverse of the optimality conditions of a working set, kept through exchanges of one member.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_KKT_INVERSE_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_KKT_INVERSE_HPP

#include <cstddef>
#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/parametric/kkt_factor.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// K⁻¹ of a KktFactor, whole. Members are free variables j, named j, and held rows i, named n + i,
/// in any order. An exchange borders K or takes a row and column out of it: O(order²).
class KktInverse {
public:
    /// @pre factor.isRegular()
    KktInverse(const ProblemData& data, const KktFactor& factor);

    [[nodiscard]] const std::vector<std::size_t>& members() const { return members_; }
    /// Takes a member in; false, nothing changed, where K would be singular.
    [[nodiscard]] bool add(std::size_t member);
    /// Takes a member out, likewise.
    [[nodiscard]] bool remove(std::size_t member);
    /// K⁻¹·b for two right-hand sides at once, entries in the order of the members.
    void multiply(const Vector& b1, const Vector& b2, Vector& u1, Vector& u2) const;

private:
    [[nodiscard]] double* column(std::size_t k) { return values_.data() + k * leading_; }
    [[nodiscard]] const double* column(std::size_t k) const {
        return values_.data() + k * leading_;
    }
    [[nodiscard]] double entry(std::size_t a, std::size_t b) const;
    void reserve(std::size_t order);

    const ProblemData* data_;
    std::vector<std::size_t> members_;
    std::size_t leading_ = 0;
    Vector values_;
};

}  // namespace activeset::frontend

#endif
