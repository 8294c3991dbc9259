// What a null-space solver keeps between passes beside the factors that its interface shows.
#ifndef ACTIVESET_SRC_NULLSPACE_WORKSPACE_HPP
#define ACTIVESET_SRC_NULLSPACE_WORKSPACE_HPP

#include "nullspace/reduced_hessian.hpp"

namespace activeset {

/// Vectors that live for one direction: at least n entries each, the first n − m in use, but for
/// `curved` = H·p.
class DirectionVectors {
public:
    void reserve(size_t n) {
        if (columns_.getRows() < n) {
            columns_.reset(n, 4);
        }
    }
    [[nodiscard]] double* reduced() noexcept { return column(0); }  // Zᵀg
    [[nodiscard]] double* solved() noexcept { return column(1); }   // (ZᵀHZ)⁻¹·Zᵀg
    [[nodiscard]] double* curved() noexcept { return column(2); }
    [[nodiscard]] double* product() noexcept { return column(3); }  // Zᵀ·H·p

private:
    [[nodiscard]] double* column(size_t k) noexcept {
        return columns_.getData() + k * columns_.getRows();
    }

    OPTMatrix<double> columns_;
};

struct NullSpaceWorkspace {
    DirectionVectors vectors;
    ReducedHessian reducedHessian;
    RotationSweep sweep;         // of the last insertion
    bool updatesAllowed = true;  // tests turn it off to compare with the plain computation
};

}  // namespace activeset

#endif
