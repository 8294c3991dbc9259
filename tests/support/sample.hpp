// A problem of the front end that owns its data.
#ifndef ACTIVESET_TESTS_SUPPORT_SAMPLE_HPP
#define ACTIVESET_TESTS_SUPPORT_SAMPLE_HPP

#include <cstddef>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset::test {

/// H (n × n) and A (m × n) are stored column by column; an empty part is absent.
struct Sample {
    std::size_t n = 0, m = 0;
    std::vector<double> H{}, c{}, A{}, rowLower{}, rowUpper{}, lower{}, upper{}, start{};

    [[nodiscard]] activeset::Problem view() const {
        activeset::Problem problem{.c = c, .rowLower = rowLower, .rowUpper = rowUpper};
        problem.H = MatrixView(H, H.empty() ? 0 : n, H.empty() ? 0 : n);
        problem.A = MatrixView(A, m, m == 0 ? 0 : n);
        problem.lower = lower;
        problem.upper = upper;
        problem.start = start;
        return problem;
    }
    [[nodiscard]] double entryOfA(std::size_t i, std::size_t j) const { return A[j * m + i]; }
};

}  // namespace activeset::test

#endif
