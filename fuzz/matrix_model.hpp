// A plain model of a matrix: what its elements have to be, and who shares them.
#ifndef ACTIVESET_FUZZ_MATRIX_MODEL_HPP
#define ACTIVESET_FUZZ_MATRIX_MODEL_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "activeset/matrix.hpp"

namespace activeset::fuzz {

/// The expected content of a matrix. Matrices that share storage share their cells.
struct Model {
    std::size_t rows = 0;
    std::size_t cols = 0;
    bool isPooled = false;
    bool wrapsArray = false;  ///< over a caller's host array, or a copy of such a matrix
    std::shared_ptr<std::vector<double>> cells =
        std::make_shared<std::vector<double>>();  ///< column-major

    [[nodiscard]] std::size_t size() const { return rows * cols; }
    [[nodiscard]] bool hasShapeOf(const Model& other) const {
        return rows == other.rows && cols == other.cols;
    }
    [[nodiscard]] double& at(std::size_t i, std::size_t j) const { return (*cells)[j * rows + i]; }
    template <class Value>
    void setAll(Value value) {
        for (std::size_t j = 0; j < cols; ++j) {
            for (std::size_t i = 0; i < rows; ++i) {
                at(i, j) = value(i, j);
            }
        }
    }
};

inline double zero(std::size_t /*i*/, std::size_t /*j*/) {
    return 0.0;
}

template <class Value>
Model modelOf(std::size_t rows, std::size_t cols, bool isPooled, Value value) {
    Model model{.rows = rows, .cols = cols, .isPooled = isPooled};
    model.cells->resize(rows * cols);
    model.setAll(value);
    return model;
}

/// A matrix and its model.
struct Slot {
    std::unique_ptr<OPTMatrix<double>> matrix = std::make_unique<OPTMatrix<double>>();
    Model model{};
};

}  // namespace activeset::fuzz

#endif
