// The least-squares solution of M·x = d with x ≥ 0, through the header for Eigen.
#include <activeset/eigen.hpp>

int main() {
    using activeset::eigen::map, activeset::eigen::view;
    const Eigen::MatrixXd M{{1, 0}, {1, 1}, {0, 1}};
    const Eigen::VectorXd d{{3, 1, -1}};
    const Eigen::MatrixXd H = M.transpose() * M;
    const Eigen::VectorXd c = -M.transpose() * d;
    const Eigen::VectorXd zero = Eigen::VectorXd::Zero(2);
    const auto r = activeset::solve({.H = view(H), .c = view(c), .lower = view(zero)});
    // Without the bound x = (8/3, -4/3); with x₂ = 0, x₁ is the mean of 3 and 1.
    return r && map(r.x).isApprox(Eigen::Vector2d(2, 0)) ? 0 : 1;
}
