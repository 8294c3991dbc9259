// Plane rotations of columns.
#include "host/rotations.hpp"

namespace activeset {

// By blocks of rows, so that the column which two rotations share is still in the cache: the matrix
// is read once.
void turnColumnsFromLast(Block a, size_t count, const double* cosines, const double* sines) {
    constexpr Int BlockRows = 512;
    for (Int row = 0; row < a.rows; row += BlockRows) {
        const auto rows = static_cast<size_t>(std::min(BlockRows, a.rows - row));
        double* right = a.data + (a.cols - 1) * a.ld + row;
        for (size_t r = 0; r < count; ++r, right -= a.ld) {
            blas::rot(rows, right - a.ld, 1, right, 1, {cosines[r], sines[r], 0.0});
        }
    }
}

}  // namespace activeset
