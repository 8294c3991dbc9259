// A linear program through the classes: the entry function takes quadratic objectives only.
//
// Two products earn 30 and 40 apiece. They take 1 and 2 hours of cutting, of which there are 14,
// and 3 and 1 hours of assembly, of which there are 17; at least one of each is wanted. Both shops
// are busy at the optimum, x + 2y = 14 and 3x + y = 17, so x = 4, y = 5, and the earnings are 320.
// One more hour of cutting earns 18, one of assembly 4: (30, 40) = 18·(1, 2) + 4·(3, 1).
#include <activeset/as_option.hpp>
#include <activeset/constraint.hpp>
#include <activeset/host.hpp>
#include <activeset/null_space.hpp>
#include <activeset/objective.hpp>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <vector>

namespace {

vxArray* matrix(const std::vector<double>& columnMajor, std::size_t rows, std::size_t cols) {
    return vxCreateDoubleMatrixFrom(columnMajor.data(), rows, cols);
}

vxArray* column(const std::vector<double>& values) {
    return matrix(values, values.size(), 1);
}

bool isNear(double actual, double expected) {
    return std::abs(actual - expected) < 1e-11;
}

}  // namespace

int main() {
    const double infinity = std::numeric_limits<double>::infinity();
    const activeset::CallScope scope;  // outlives the objects, which wrap its arrays
    try {
        // The objective first: it tells the constraints how many variables there are.
        LPobjective earnings(column({-30, -40}));  // the largest sum as the smallest negative one
        LinearConstraint hours(matrix({1, 3, 2, 1}, 2, 2), column({14, 17}), nullptr, nullptr,
                               column({1, 1}), column({infinity, infinity}));
        ASoption options;
        options.setDisplay("off");
        NullSpaceAS solver;
        const ASsolution solution =
            solver(earnings, hours, column({0, 0}), options, nullptr, nullptr, nullptr);

        const OPTMatrix<double>& x = solution.xstarRef();
        const OPTMatrix<double>& lambda = solution.lambdaRef();
        std::printf("state %d\n", static_cast<int>(solution.getSolutoinState()));
        std::printf("make %g and %g, earn %g\n", x(0, 0), x(1, 0), -solution.fstarRef()(0, 0));
        std::printf("an hour more: cutting %g, assembly %g\n", lambda(0, 0), lambda(1, 0));
        const bool isRight = solution.getSolutoinState() == ASQP::Optimal && isNear(x(0, 0), 4) &&
                             isNear(x(1, 0), 5) && isNear(lambda(0, 0), 18) &&
                             isNear(lambda(1, 0), 4);
        return isRight ? 0 : 1;
    } catch (const activeset::HostError& error) {
        std::fprintf(stderr, "%s: %s\n", error.identifier().c_str(), error.what());
        return 1;
    }
}
