// A linear program: goods go from two stores with 20 and 30 units to three shops that want 10, 25
// and 15, at the cost of 2, 3, 1 from the first store and of 5, 4, 8 from the second.
//
// The first store saves most for the third shop (7 a unit), then for the first (3), then for the
// second (1): it sends 15 to the third and 5 to the first; the rest comes from the second store.
// That costs 15·1 + 5·2 + 5·5 + 25·4 = 150. If a shop wants one more the problem is infeasible, and
// a conflict names the rows that contradict one another.
#include <activeset/qp.hpp>
#include <array>
#include <cmath>
#include <cstdio>

int main() {
    using activeset::Infinity;
    const std::array cost{2.0, 3.0, 1.0, 5.0, 4.0, 8.0};
    // Rows: amounts that leave the two stores, amounts that reach the three shops.
    std::array<double, 5 * 6> A{};
    for (std::size_t store = 0; store < 2; ++store) {
        for (std::size_t shop = 0; shop < 3; ++shop) {
            const std::size_t column = store * 3 + shop;
            A.at(column * 5 + store) = 1.0;
            A.at(column * 5 + 2 + shop) = 1.0;
        }
    }
    std::array lower{-Infinity, -Infinity, 10.0, 25.0, 15.0};
    const std::array upper{20.0, 30.0, Infinity, Infinity, Infinity};
    const std::array<double, 6> nothing{};
    const activeset::Problem problem{
        .c = cost, .A = {A, 5, 6}, .rowLower = lower, .rowUpper = upper, .lower = nothing};
    const activeset::Result r = activeset::solve(problem);
    std::printf("%s: cost %g, a unit more in the first store saves %g\n", textOf(r.status),
                r.objective, r.y[0]);
    lower[4] = 16.0;
    const activeset::Result none = activeset::solve(problem);
    const activeset::Conflict conflict = activeset::explainInfeasibility(problem);
    std::printf("one more: %s; %zu stores and %zu shops contradict one another\n",
                textOf(none.status), conflict.rowsAtUpper.size(), conflict.rowsAtLower.size());
    const bool isRight = r && std::abs(r.objective - 150.0) < 1e-12 && r.x[2] == 15.0 &&
                         none.status == activeset::Status::Infeasible && conflict.isMinimal &&
                         conflict.rowsAtUpper.size() == 2 && conflict.rowsAtLower.size() == 3;
    return isRight ? 0 : 1;
}
