// The kernels on which the solver is built, timed at the sizes that it uses: what the processor can
// do.
#ifndef ACTIVESET_BENCHMARKS_KERNELS_HPP
#define ACTIVESET_BENCHMARKS_KERNELS_HPP

#include <cstddef>
#include <vector>

namespace activeset::bench {

/// n × n data and the kernels on them.
class Kernels {
public:
    explicit Kernels(std::size_t n);

    /// y := M·x once.
    void vectorProduct();
    /// Rotates each pair of neighbouring columns of M once.
    void rotationSweep();
    /// C := M·M once.
    void matrixProduct();

    [[nodiscard]] double vectorFlops() const noexcept { return 2.0 * size() * size(); }
    [[nodiscard]] double rotationFlops() const noexcept { return 6.0 * size() * (size() - 1.0); }
    [[nodiscard]] double matrixFlops() const noexcept { return 2.0 * size() * size() * size(); }

private:
    [[nodiscard]] double size() const noexcept { return static_cast<double>(n_); }

    std::size_t n_;
    std::vector<double> M_;
    std::vector<double> C_;
    std::vector<double> x_;
    std::vector<double> y_;
};

}  // namespace activeset::bench

#endif
