// The orthogonal factor of the images of some constraints, and the inverse of the triangular one.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_FACTOR_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_FACTOR_HPP

#include "frontend/predict/small_memory.hpp"

namespace activeset::frontend {

/// G = Q·R with T = R⁻¹, G having the members' images as columns. A member is appended in O(n·k),
/// and taken out in as much.
class SmallFactor {
public:
    explicit SmallFactor(SmallMemory& memory) : m_(memory) {}

    [[nodiscard]] std::size_t size() const { return size_; }
    void clear() { size_ = 0; }

    /// Of memory.g: r = Qᵀg, u = g − Q·r, p = T·r. The square of ‖u‖.
    double project();
    /// Appends memory.g as project() has left it.
    void append(double squaredNorm);
    /// Takes a member out.
    /// @param coefficients  products of columns of [Q; T], which are turned with them
    void remove(std::size_t position, double* coefficients);

    /// Q and T as they are now.
    [[nodiscard]] SmallMatrix orthogonal() const;
    [[nodiscard]] SmallMatrix inverse() const;

private:
    SmallMemory& m_;
    std::size_t size_ = 0;
};

}  // namespace activeset::frontend

#endif
