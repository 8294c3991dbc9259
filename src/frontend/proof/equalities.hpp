// What holds with equality at every feasible point: rows and variables whose sides are equal.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_EQUALITIES_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_EQUALITIES_HPP

#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

struct Equalities {
    explicit Equalities(const ProblemData& data);

    /// Their gradients as columns, those of variables last, n × (rows + variables).
    [[nodiscard]] Dense columns(const ProblemData& data) const;

    std::vector<std::size_t> rows;
    std::vector<std::size_t> variables;  ///< with equal bounds
    std::vector<std::size_t> free;       ///< the other variables
};

/// The problem without the equalities that depend on others, to a tolerance more generous than
/// that of the core. Whether they agree with the others is left to the certificate.
[[nodiscard]] ProblemData withoutDependentEqualities(const ProblemData& data);

}  // namespace activeset::frontend

#endif
