// Operations on matrices, each of them also done on a plain model.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "activeset/matrix.hpp"
#include "benches.hpp"
#include "judge.hpp"
#include "matrix_model.hpp"

namespace activeset::fuzz {

namespace {

using Matrix = OPTMatrix<double>;

constexpr const char* BadRow = "Index exceed number of row.";
constexpr const char* BadColumn = "Index exceed number of columns.";
constexpr const char* BadShape = "Incompatible dimensions for matrix assignment";

/// Six matrices, their scopes and arrays, and one operation after another.
class MatrixBench {
public:
    explicit MatrixBench(Bytes& bytes) : bytes_(bytes) {}

    void run() {
        for (int steps = 0; !bytes_.isEmpty() && steps < 200; ++steps) {
            step();
        }
        while (!scopes_.empty()) {
            scopes_.pop_back();
        }
    }

private:
    /// Decodes and does one operation, then compares all matrices with their models.
    void step() {
        using Operation = void (MatrixBench::*)();
        using B = MatrixBench;
        constexpr std::array<Operation, 16> Operations{
            &B::construct, &B::construct, &B::construct, &B::copy,        &B::assign,   &B::assign,
            &B::clear,     &B::access,    &B::access,    &B::access,      &B::takePart, &B::combine,
            &B::transpose, &B::combine,   &B::multiply,  &B::changeScopes};
        const Operation operation = Operations.at(bytes_.below(Operations.size()));
        failAt_ = bytes_.oneIn(16) ? bytes_.below(4) + 1 : 0;
        to_ = &slots_.at(bytes_.below(slots_.size()));
        a_ = &slots_.at(bytes_.below(slots_.size()));
        b_ = &slots_.at(bytes_.below(slots_.size()));
        (this->*operation)();
        for (const Slot& slot : slots_) {
            compare(slot);
        }
    }

    double number() { return bytes_.oneIn(16) ? bytes_.wild() : bytes_.small(); }

    /// Does the action and returns whether it succeeded. If `text` is given, the action must raise
    /// it. Refused memory ends the action without effect.
    template <class Action>
    bool expect(const char* text, Action action) {
        std::optional<AllocationFaults> faults;
        if (failAt_ != 0) {
            faults.emplace(failAt_);
            failAt_ = 0;
        }
        try {
            action();
        } catch (const HostError& error) {
            const bool isRefused = faults && faults->hasFailed();
            if (error.identifier() == OutOfMemoryIdentifier && isRefused) {
                return false;
            }
            require(text != nullptr, std::string("raised without reason: ") + error.what());
            require(text == std::string(error.what()),
                    std::string("not expected: ") + error.what());
            return false;
        }
        require(text == nullptr, std::string("not raised: ") + (text == nullptr ? "" : text));
        return true;
    }

    /// Assigns what `make` returns to the target. It must match the model, or raise `text`.
    template <class Make>
    void put(const char* text, const Model& model, Make make) {
        std::unique_ptr<Matrix> made;
        if (expect(text, [&] { made = std::unique_ptr<Matrix>(new Matrix(make())); })) {
            to_->matrix = std::move(made);
            to_->model = model;
        }
    }

    void construct() {
        const std::size_t rows = bytes_.below(7);
        const std::size_t cols = bytes_.below(7);
        const double value = number();
        const std::size_t kind = bytes_.below(4);
        const auto content = [&](std::size_t, std::size_t) { return kind == 2 ? value : 0.0; };
        Model model = modelOf(rows, cols, kind == 2, content);
        model.wrapsArray = kind == 3;
        if (kind == 0) {
            double* buffer = buffers_.emplace_back(rows * cols).data();
            put(nullptr, model, [&] { return Matrix(buffer, rows, cols); });
        } else if (kind == 1) {
            put(nullptr, model, [&] { return Matrix(rows, cols); });
        } else if (kind == 2) {
            put(nullptr, model, [&] {
                Matrix made(rows, cols, true);
                made.fill(value);
                return made;
            });
        } else {
            vxArray* array = vxCreateDoubleMatrix(rows, cols, vxComplexity::Real);
            vxSetArrayScope(array, 0);
            arrays_.emplace_back(array, vxDestroyArray);
            put(nullptr, model, [&] { return Matrix(array); });
        }
    }

    void copy() {
        Model model = a_->model;
        if (!model.isPooled) {
            model.cells = std::make_shared<std::vector<double>>(*model.cells);
        }
        const Matrix& source = *a_->matrix;
        put(nullptr, model, [&] { return Matrix(source); });
    }

    void assign() {
        if (to_ == a_) {
            return;
        }
        const bool fits = to_->model.hasShapeOf(a_->model);
        const bool isEmpty = to_->model.size() == 0;
        if (expect(fits || isEmpty ? nullptr : BadShape, [&] { *to_->matrix = *a_->matrix; })) {
            if (!fits) {
                to_->model = modelOf(a_->model.rows, a_->model.cols, false, zero);
            }
            to_->model.setAll([&](std::size_t i, std::size_t j) { return a_->model.at(i, j); });
        }
    }

    void clear() {
        const bool wrapsArray = to_->model.wrapsArray;
        const bool isRefused = wrapsArray && to_->matrix->getHostArray() != nullptr;
        if (expect(isRefused ? "Can not delete matrix that was created with vxArray" : nullptr,
                   [&] { to_->matrix->clear(); })) {
            to_->model = {.wrapsArray = wrapsArray};
        }
    }

    void access() {
        const std::size_t i = bytes_.below(8);
        const std::size_t j = bytes_.below(8);
        const double value = number();
        Model& model = to_->model;
        const char* fault = i >= model.rows ? BadRow : j >= model.cols ? BadColumn : nullptr;
        if (expect(fault, [&] { (*to_->matrix)(i, j) = value; })) {
            model.at(i, j) = value;
        }
    }

    void takePart() {
        const Model& source = a_->model;
        const Matrix& matrix = *a_->matrix;
        const std::size_t k = bytes_.below(7);
        const std::size_t kind = bytes_.below(3);
        const bool exists = kind == 2 || k < (kind == 0 ? source.rows : source.cols) ||
                            (kind == 1 && source.rows == 0);
        const std::size_t rows = kind == 0   ? 1
                                 : kind == 1 ? source.rows
                                             : std::min(source.rows, source.cols);
        const char* fault = kind == 0 ? BadRow : BadColumn;
        const Model part =
            modelOf(exists ? rows : 0, kind == 0 ? source.cols : 1, true,
                    [&](std::size_t i, std::size_t j) {
                        return kind == 0 ? source.at(k, j) : source.at(i, kind == 1 ? k : i);
                    });
        put(exists ? nullptr : fault, part, [&] {
            return kind == 0 ? matrix.row(k) : kind == 1 ? matrix.column(k) : matrix.diagonal();
        });
    }

    void transpose() {
        const Model& source = a_->model;
        const auto turned = [&](std::size_t i, std::size_t j) { return source.at(j, i); };
        Model model = modelOf(source.cols, source.rows, false, turned);
        model.wrapsArray = true;
        put(nullptr, model, [&] { return a_->matrix->transpose(); });
    }

    void combine() {
        const Matrix& left = *a_->matrix;
        const Matrix& right = *b_->matrix;
        const Model& p = a_->model;
        const Model& q = b_->model;
        const std::size_t kind = bytes_.below(5);
        const double s = number();
        const bool fits = kind == 0 ? q.size() >= p.size() : kind > 2 || p.hasShapeOf(q);
        constexpr std::array<const char*, 3> Faults{
            "Incompatible dimensions for matrix addition",
            "Incompatible dimensions for matrix subtraction", BadShape};
        const char* fault = fits ? nullptr : Faults.at(kind);
        Model model = modelOf(fits ? p.rows : 0, p.cols, true, zero);
        for (std::size_t k = 0; k < model.size(); ++k) {
            const double x = p.cells->at(k);
            const double y = kind < 3 ? q.cells->at(k) : s;
            model.cells->at(k) = kind == 0 || kind == 2 ? x + y : kind == 3 ? x * y : x - y;
        }
        if (kind == 2) {
            if (expect(fault, [&] { *a_->matrix += right; })) {
                *p.cells = *model.cells;
            }
            return;
        }
        put(fault, model, [&] {
            return kind == 0   ? left + right
                   : kind == 1 ? left - right
                   : kind == 3 ? left * s
                               : left - s;
        });
    }

    void multiply() {
        const Model& p = a_->model;
        const Model& q = b_->model;
        const bool fits = p.cols == q.rows;
        const auto sum = [&](auto f) {
            return modelOf(fits ? p.rows : 0, q.cols, true, [&](std::size_t i, std::size_t j) {
                double result = 0.0;
                for (std::size_t k = 0; k < p.cols; ++k) {
                    result += f(p.at(i, k) * q.at(k, j));
                }
                return result;
            });
        };
        Model model = sum([](double term) { return term; });
        const Model sizes = sum([](double term) { return std::abs(term); });
        put(fits ? nullptr : "Incompatible dimensions for matrix multiplication", model, [&] {
            Matrix made = *a_->matrix * *b_->matrix;
            for (std::size_t k = 0; k < std::min(made.size(), model.size()); ++k) {
                double& value = model.cells->at(k);
                const double size = sizes.cells->at(k);
                const double error = std::abs(made.getData()[k] - value);
                // NaN here need not be NaN in the model, which sums in another order.
                require(!(size < 1e300) || error <= 1e-14 * size + 1e-300, "another product");
                value = made.getData()[k];
            }
            return made;
        });
    }

    void changeScopes() {
        const std::size_t kind = bytes_.below(3);
        if (kind == 0) {
            releaseMatrixPool();
        } else if (kind == 1 && scopes_.size() < 3) {
            scopes_.push_back(std::make_unique<CallScope>());
        } else if (kind == 2 && !scopes_.empty()) {
            scopes_.pop_back();
        }
    }

    void compare(const Slot& slot) const {
        const Matrix& matrix = *slot.matrix;
        const Model& model = slot.model;
        require(matrix.getRows() == model.rows && matrix.getCols() == model.cols, "another shape");
        require(matrix.getIsPooled() == model.isPooled, "pooled or not, but the model says no");
        for (std::size_t k = 0; k < model.size(); ++k) {
            require(isSame(matrix(k % model.rows, k / model.rows), model.cells->at(k)),
                    "another element");
        }
        const auto sharers = std::count_if(slots_.begin(), slots_.end(), [&](const Slot& other) {
            return other.model.cells == model.cells;
        });
        require(!model.isPooled || matrix.getRefCount() == static_cast<std::size_t>(sharers),
                "another number of borrowers");
    }

    Bytes& bytes_;
    std::uint64_t failAt_ = 0;  // the request that an operation is refused; 0: none
    std::vector<std::shared_ptr<vxArray>> arrays_;
    std::vector<std::vector<double>> buffers_;
    std::array<Slot, 6> slots_;
    Slot* to_ = nullptr;
    Slot* a_ = nullptr;
    Slot* b_ = nullptr;
    std::vector<std::unique_ptr<CallScope>> scopes_;
};

}  // namespace

void tryMatrices(Bytes& bytes) {
    MatrixBench(bytes).run();
}

}  // namespace activeset::fuzz
