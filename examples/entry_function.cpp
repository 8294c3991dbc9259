// Minimise ½(x₁² + x₂²) - 2x₁ - 3x₂ subject to x₁ + x₂ ≤ 3. At x = (1, 2) the gradient is (-1, -1),
// so the constraint's multiplier is 1; the objective is 5/2 - 8 = -5.5.
#include <activeset/driver.hpp>
#include <array>
#include <cstdio>
#include <limits>

int main() {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    const activeset::CallScope scope;  // owns every array made below
    const auto array = [](const auto& columnMajor, size_t rows, size_t cols) {
        return vxCreateDoubleMatrixFrom(columnMajor.data(), rows, cols);
    };
    vxArray* x = nullptr;
    vxArray* f = nullptr;
    vxArray* lambda = nullptr;
    vxArray* state = nullptr;
    NullSpaceASdriver(array(std::array{1.0, 0.0, 0.0, 1.0}, 2, 2),    // H
                      array(std::array{-2.0, -3.0}, 2, 1),            // c
                      array(std::array{1.0, 1.0}, 1, 2),              // A
                      vxCreateDoubleScalar(3.0),                      // b
                      nullptr, nullptr,                               // Aeq, beq: none
                      array(std::array{-Infinity, -Infinity}, 2, 1),  // lb
                      array(std::array{Infinity, Infinity}, 2, 1),    // ub
                      array(std::array{0.0, 0.0}, 2, 1),              // x0
                      nullptr, nullptr, nullptr,                      // nothing active at x0
                      nullptr, nullptr, nullptr, nullptr,             // MaxIter, tolerances
                      vxCreateCharArray("off"),                       // Display
                      &x, &f, &lambda, nullptr, nullptr, nullptr, nullptr, &state);
    std::printf("state %g, x = (%.3f, %.3f), f = %.3f, multiplier %.3f\n",
                vxGetElement(state, 0, 0), vxGetElement(x, 0, 0), vxGetElement(x, 1, 0),
                vxGetElement(f, 0, 0), vxGetElement(lambda, 0, 0));
}
