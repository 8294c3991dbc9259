// The rows of a problem in the core's form, for callers of the entry function.
#include "activeset/one_sided.hpp"

#include <array>
#include <utility>

#include "frontend/core/core_form.hpp"

namespace activeset {

OneSidedRows oneSidedRows(const Problem& problem) {
    using frontend::Part;
    constexpr std::array RowParts{Part::Rows, Part::RowSides};
    OneSidedRows rows;
    for (const Part part : RowParts) {
        std::vector<Fault> found =
            faultsIn(problem, frontend::variablesOf(problem), problem.A.rows(), part);
        rows.faults.insert(rows.faults.end(), std::make_move_iterator(found.begin()),
                           std::make_move_iterator(found.end()));
    }
    if (!rows.faults.empty()) {
        return rows;
    }
    frontend::CoreForm form(copyOf(problem, RowParts));
    for (const auto& [row, side] : form.inequalities()) {
        rows.inequalities.push_back({row, side == frontend::Side::Upper});
    }
    for (const auto& [row, side] : form.equalities()) {
        rows.equalities.push_back(row);
    }
    rows.A = std::move(form.A);
    rows.b = std::move(form.b);
    rows.Aeq = std::move(form.Aeq);
    rows.beq = std::move(form.beq);
    return rows;
}

}  // namespace activeset
