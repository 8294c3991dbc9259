// Random operations on matrices, each done on a plain model as well.
#ifndef ACTIVESET_FUZZ_MATRIX_MODEL_HPP
#define ACTIVESET_FUZZ_MATRIX_MODEL_HPP

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "activeset/host.hpp"
#include "activeset/matrix.hpp"
#include "bytes.hpp"

namespace activeset::fuzz {

/// Column-major numbers; what is not stored reads as zero and swallows what is written.
struct Cells {
    std::vector<double> values;
    std::vector<bool> isStored;  ///< empty: all are
};

/// What a matrix is expected to be. Matrices that share storage share their cells.
struct Model {
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::shared_ptr<Cells> cells = std::make_shared<Cells>();
    bool isPooled = false;
    bool wrapsArray = false;  ///< a caller's host array, or copied from one that does

    [[nodiscard]] std::size_t size() const { return rows * cols; }
    [[nodiscard]] double at(std::size_t i, std::size_t j) const {
        return cells->values[j * rows + i];
    }
    void set(std::size_t i, std::size_t j, double value) {
        if (cells->isStored.empty() || cells->isStored[j * rows + i]) {
            cells->values[j * rows + i] = value;
        }
    }
};

/// Up to six matrices, the scopes and arrays that they live with, and one operation after another.
class MatrixBench {
public:
    explicit MatrixBench(Bytes& bytes) : bytes_(bytes) {}
    ~MatrixBench();
    MatrixBench(const MatrixBench&) = delete;
    MatrixBench(MatrixBench&&) = delete;
    MatrixBench& operator=(const MatrixBench&) = delete;
    MatrixBench& operator=(MatrixBench&&) = delete;

    /// Decodes and does one operation and compares all matrices with their models.
    void step();

private:
    struct Slot {
        std::unique_ptr<OPTMatrix<double>> matrix;
        Model model;
    };

    Slot& anySlot();
    double number();
    template <class Make>
    void put(Slot& slot, Model model, Make make);
    template <class Action>
    std::optional<std::string> attempt(Action action);
    template <class Action>
    bool expect(const char* text, Action action);

    void construct(Slot& slot);
    void wrapBuffer(Slot& slot, std::size_t rows, std::size_t cols);
    void wrapArray(Slot& slot, std::size_t rows, std::size_t cols);
    void wrapSparse(Slot& slot, std::size_t rows, std::size_t cols);
    void copy(Slot& to, const Slot& from);
    void assign(Slot& to, const Slot& from);
    void clear(Slot& slot);
    void access(Slot& slot);
    void moveColumns(Slot& slot);
    void takePart(Slot& slot, const Slot& from);
    void copyBlock(const Slot& slot);
    void summarise(const Slot& slot);
    void transpose(Slot& to, const Slot& from);
    void convert(const Slot& slot);
    void combine(Slot& to, const Slot& a, const Slot& b);
    void multiply(Slot& to, const Slot& a, const Slot& b);
    void addInPlace(Slot& to, const Slot& from);
    void scale(Slot& to, const Slot& from);
    void changeScopes();
    void compareAll() const;

    Bytes& bytes_;
    std::uint64_t failAt_ = 0;  // request for memory that the running operation is refused
    std::vector<vxArray*> arrays_;
    std::vector<std::unique_ptr<std::vector<double>>> buffers_;
    std::array<Slot, 6> slots_;
    std::vector<std::unique_ptr<CallScope>> scopes_;  // last: no scope outlives a matrix's need
};

}  // namespace activeset::fuzz

#endif
