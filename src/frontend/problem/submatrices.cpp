// Copies entries of H and A, column by column.
#include "frontend/problem/submatrices.hpp"

#include <algorithm>

namespace activeset::frontend {

Dense hessianOf(const ProblemData& data) {
    if (!data.quadratic) {
        return {data.n, data.n};
    }
    Dense H;
    H.rows = H.cols = data.n;
    H.values = data.H.copy();
    return H;
}

Dense lowerHalfOf(const ProblemData& data) {
    if (!data.quadratic) {
        return {data.n, data.n};
    }
    Dense H = Dense::unwritten(data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        std::copy_n(data.columnOfH(j) + j, data.n - j, H.column(j) + j);
    }
    return H;
}

Dense hessianOf(const ProblemData& data, const std::vector<std::size_t>& variables) {
    Dense H(variables.size(), variables.size());
    for (std::size_t j = 0; j < variables.size(); ++j) {
        for (std::size_t i = 0; i < variables.size(); ++i) {
            H(i, j) = data.columnOfH(variables[j])[variables[i]];
        }
    }
    return H;
}

Dense gradientsOf(const ProblemData& data,
                  const std::vector<std::size_t>& rows,
                  const std::vector<std::size_t>& variables) {
    Dense result(variables.size(), rows.size());
    for (std::size_t j = 0; j < variables.size(); ++j) {
        const double* column = data.columnOfA(variables[j]);
        for (std::size_t k = 0; k < rows.size(); ++k) {
            result(j, k) = column[rows[k]];
        }
    }
    return result;
}

}  // namespace activeset::frontend
