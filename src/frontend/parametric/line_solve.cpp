// Gathers the variables and rows that a system has, and scatters its solution.
#include "frontend/parametric/line_solve.hpp"

namespace activeset::frontend {

Line::Solve solverOf(const KktFactor& factor) {
    return [&factor](Moving& x, Moving& y) {
        Dense b(factor.order(), 2);
        const std::size_t free = factor.free().size();
        const auto each = [&](auto&& copy) {
            for (std::size_t k = 0; k < b.rows; ++k) {
                const bool isFree = k < free;
                const std::size_t place = isFree ? factor.free()[k] : factor.rows()[k - free];
                copy(b(k, 0), (isFree ? x : y).value[place]);
                copy(b(k, 1), (isFree ? x : y).rate[place]);
            }
        };
        each([](double& entry, double value) { entry = value; });
        factor.solve(b);
        each([](double entry, double& value) { value = entry; });
    };
}

Line::Solve solverOf(const KktInverse& inverse, std::size_t n) {
    return [&inverse, n](Moving& x, Moving& y) {
        const std::vector<std::size_t>& members = inverse.members();
        Vector b1(members.size());
        Vector b2(members.size());
        Vector u1;
        Vector u2;
        const auto each = [&](Vector& first, Vector& second, auto&& copy) {
            for (std::size_t k = 0; k < members.size(); ++k) {
                const bool isFree = members[k] < n;
                const std::size_t place = isFree ? members[k] : members[k] - n;
                copy(first[k], (isFree ? x : y).value[place]);
                copy(second[k], (isFree ? x : y).rate[place]);
            }
        };
        each(b1, b2, [](double& entry, double value) { entry = value; });
        inverse.multiply(b1, b2, u1, u2);
        each(u1, u2, [](double entry, double& value) { value = entry; });
    };
}

}  // namespace activeset::frontend
