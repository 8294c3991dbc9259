// The equalities of a problem, and those among them that depend on others.
#include "frontend/proof/equalities.hpp"
#include "frontend/algebra/pivoted_qr.hpp"

namespace activeset::frontend {

Equalities::Equalities(const ProblemData& data) {
    for (std::size_t i = 0; i < data.m; ++i) {
        if (data.rowLower[i] == data.rowUpper[i]) {
            rows.push_back(i);
        }
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        (data.lower[j] == data.upper[j] ? variables : free).push_back(j);
    }
}

Dense Equalities::columns(const ProblemData& data) const {
    Dense result(data.n, rows.size() + variables.size());
    for (std::size_t j = 0; j < data.n; ++j) {
        for (std::size_t k = 0; k < rows.size(); ++k) {
            result(j, k) = data.columnOfA(j)[rows[k]];
        }
    }
    for (std::size_t k = 0; k < variables.size(); ++k) {
        result(variables[k], rows.size() + k) = 1.0;
    }
    return result;
}

ProblemData withoutDependentEqualities(const ProblemData& data) {
    const Equalities equalities(data);
    const std::size_t rows = equalities.rows.size();
    const PivotedQr qr(equalities.columns(data));
    ProblemData result = data;
    for (std::size_t k = qr.rank(); k < rows + equalities.variables.size(); ++k) {
        const std::size_t member = qr.pivot(k);
        if (member < rows) {
            result.rowLower[equalities.rows[member]] = -Infinity;
            result.rowUpper[equalities.rows[member]] = Infinity;
        } else {
            const std::size_t variable = equalities.variables[member - rows];
            result.lower[variable] = -Infinity;
            result.upper[variable] = Infinity;
        }
    }
    return result;
}

}  // namespace activeset::frontend
