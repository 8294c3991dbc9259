#include "matrix_model.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iostream>

#include "judge.hpp"

namespace activeset::fuzz {

namespace {

using Matrix = OPTMatrix<double>;

constexpr std::string_view MatrixFault = "optim:optimHstError:unhandledError";
constexpr const char* BadRow = "Index exceed number of row.";
constexpr const char* BadColumn = "Index exceed number of columns.";

// The same number, whatever the sign of a zero or the payload of a NaN.
bool isSame(double p, double q) {
    return p == q || (std::isnan(p) && std::isnan(q));
}

Model fresh(std::size_t rows, std::size_t cols) {
    Model model;
    model.rows = rows;
    model.cols = cols;
    model.cells->values.resize(rows * cols);
    return model;
}

Model pooled(std::size_t rows, std::size_t cols) {
    Model model = fresh(rows, cols);
    model.isPooled = true;
    return model;
}

// The fault of accessing (i, j), or null.
const char* faultOf(const Model& model, std::size_t i, std::size_t j) {
    return i >= model.rows ? BadRow : j >= model.cols ? BadColumn : nullptr;
}

}  // namespace

MatrixBench::~MatrixBench() {
    while (!scopes_.empty()) {
        scopes_.pop_back();
    }
    for (Slot& slot : slots_) {
        slot.matrix.reset();
    }
    for (vxArray* array : arrays_) {
        vxDestroyArray(array);
    }
}

MatrixBench::Slot& MatrixBench::anySlot() {
    Slot& slot = slots_.at(bytes_.below(slots_.size()));
    if (slot.matrix == nullptr) {
        slot = {std::make_unique<Matrix>(), {}};
    }
    return slot;
}

double MatrixBench::number() {
    return bytes_.oneIn(16) ? bytes_.wild() : bytes_.small();
}

/// The text of the fault that the action raised. Refused memory ends the whole operation.
template <class Action>
std::optional<std::string> MatrixBench::attempt(Action action) {
    std::optional<AllocationFaults> faults;
    if (failAt_ != 0) {
        faults.emplace(failAt_);
        failAt_ = 0;
    }
    try {
        action();
    } catch (const HostError& error) {
        if (error.identifier() == OutOfMemoryIdentifier && faults && faults->hasFailed()) {
            return OutOfMemoryText;
        }
        if (error.identifier() != MatrixFault) {
            condemnError(error);
        }
        return error.what();
    }
    return std::nullopt;
}

/// Whether the action was done; it must raise `text` instead, if there is one.
template <class Action>
bool MatrixBench::expect(const char* text, Action action) {
    const std::optional<std::string> raised = attempt(action);
    if (raised == OutOfMemoryText) {
        return false;
    }
    if (text != nullptr) {
        require(raised.has_value(), std::string("not raised: ") + text);
        require(*raised == text, std::string("raised ") + *raised + " instead of " + text);
        return false;
    }
    require(!raised.has_value(), "raised without reason: " + raised.value_or(""));
    return true;
}

/// slot := what `make` returns, which is to be as the model says.
template <class Make>
void MatrixBench::put(Slot& slot, Model model, Make make) {
    std::unique_ptr<Matrix> made;
    if (expect(nullptr, [&] { made = std::unique_ptr<Matrix>(new Matrix(make())); })) {
        slot.matrix = std::move(made);
        slot.model = std::move(model);
    }
}

void MatrixBench::construct(Slot& slot) {
    const std::size_t rows = bytes_.below(7);
    const std::size_t cols = bytes_.below(7);
    switch (bytes_.below(6)) {
        case 0:
            wrapBuffer(slot, rows, cols);
            break;
        case 1:
            wrapArray(slot, rows, cols);
            break;
        case 2:
            wrapSparse(slot, rows, cols);
            break;
        case 3: {
            const double value = number();
            Model model = pooled(rows, cols);
            std::fill(model.cells->values.begin(), model.cells->values.end(), value);
            put(slot, model, [&] {
                Matrix made(rows, cols, true);
                made.fill(value);
                return made;
            });
            break;
        }
        case 4:
            slot.matrix = std::make_unique<Matrix>(nullptr);
            slot.model = {};
            slot.model.wrapsArray = true;
            break;
        default:
            put(slot, fresh(rows, cols), [&] { return Matrix(rows, cols); });
            break;
    }
}

void MatrixBench::wrapBuffer(Slot& slot, std::size_t rows, std::size_t cols) {
    buffers_.push_back(std::make_unique<std::vector<double>>(rows * cols));
    double* buffer = buffers_.back()->data();
    std::unique_ptr<Matrix> made;
    if (expect(nullptr, [&] { made = std::make_unique<Matrix>(buffer, rows, cols); })) {
        slot.matrix = std::move(made);
        slot.model = fresh(rows, cols);
    }
}

void MatrixBench::wrapArray(Slot& slot, std::size_t rows, std::size_t cols) {
    vxArray* array = vxCreateDoubleMatrix(rows, cols, vxComplexity::Real);
    vxSetArrayScope(array, 0);
    arrays_.push_back(array);
    slot.matrix = std::make_unique<Matrix>(array);
    slot.model = fresh(rows, cols);
    slot.model.wrapsArray = true;
}

void MatrixBench::wrapSparse(Slot& slot, std::size_t rows, std::size_t cols) {
    vxArray* array = vxCreateSparse(rows, cols, rows * cols, vxComplexity::Real);
    vxSetArrayScope(array, 0);
    arrays_.push_back(array);
    slot.model = fresh(rows, cols);
    slot.model.wrapsArray = true;
    slot.model.cells->isStored.resize(rows * cols);
    std::size_t next = 0;
    for (std::size_t j = 0; j < cols; ++j) {
        for (std::size_t i = 0; i < rows; ++i) {
            if (bytes_.oneIn(2)) {
                slot.model.cells->isStored[j * rows + i] = true;
                slot.model.cells->values[j * rows + i] = 1.5;
                vxGetRowIndices(array)[next] = i;
                vxGetDoubles(array)[next++] = 1.5;
            }
        }
        vxGetColumnStarts(array)[j + 1] = next;
    }
    slot.matrix = std::make_unique<Matrix>(array);
}

void MatrixBench::copy(Slot& to, const Slot& from) {
    Model model = from.model;
    if (!model.isPooled) {
        model.cells = std::make_shared<Cells>(Cells{from.model.cells->values, {}});
    }
    std::unique_ptr<Matrix> made;
    if (expect(nullptr, [&] { made = std::make_unique<Matrix>(*from.matrix); })) {
        require(made->getId() == from.matrix->getId() + 1000, "a copy has another number");
        to.matrix = std::move(made);
        to.model = std::move(model);
    }
}

void MatrixBench::assign(Slot& to, const Slot& from) {
    if (&to == &from) {
        Matrix& alias = *to.matrix;
        *to.matrix = alias;
        return;
    }
    const bool isSameShape = to.model.rows == from.model.rows && to.model.cols == from.model.cols;
    const bool fits = isSameShape || to.model.size() == 0;
    if (!expect(fits ? nullptr : "Incompatible dimensions for matrix assignment",
                [&] { *to.matrix = *from.matrix; })) {
        return;
    }
    if (!isSameShape) {
        to.model = fresh(from.model.rows, from.model.cols);
    }
    for (std::size_t j = 0; j < to.model.cols; ++j) {
        for (std::size_t i = 0; i < to.model.rows; ++i) {
            to.model.set(i, j, from.model.at(i, j));
        }
    }
}

void MatrixBench::clear(Slot& slot) {
    const bool isRefused = slot.model.wrapsArray && slot.matrix->getHostArray() != nullptr;
    if (expect(isRefused ? "Can not delete matrix that was created with vxArray" : nullptr,
               [&] { slot.matrix->clear(); })) {
        const bool wrapsArray = slot.model.wrapsArray;
        slot.model = {};
        slot.model.wrapsArray = wrapsArray;
    }
}

void MatrixBench::access(Slot& slot) {
    const std::size_t i = bytes_.below(8);
    const std::size_t j = bytes_.below(8);
    const double value = number();
    if (expect(faultOf(slot.model, i, j), [&] { (*slot.matrix)(i, j) = value; })) {
        slot.model.set(i, j, value);
    }
}

void MatrixBench::moveColumns(Slot& slot) {
    const std::size_t to = bytes_.below(7);
    const std::size_t from = bytes_.below(7);
    Model& model = slot.model;
    const bool exists = model.rows == 0 || (to < model.cols && from < model.cols);
    if (bytes_.oneIn(2)) {
        if (expect(exists ? nullptr : BadColumn, [&] { slot.matrix->copyColumn(to, from); })) {
            for (std::size_t i = 0; i < model.rows; ++i) {
                model.set(i, to, model.at(i, from));
            }
        }
        return;
    }
    std::vector<double> buffer(bytes_.below(8));
    std::generate(buffer.begin(), buffer.end(), [this] { return number(); });
    const char* const fault = buffer.size() < model.rows            ? BadRow
                              : model.rows != 0 && to >= model.cols ? BadColumn
                                                                    : nullptr;
    if (expect(fault, [&] { slot.matrix->setColumn(to, buffer); })) {
        for (std::size_t i = 0; i < model.rows; ++i) {
            model.set(i, to, buffer[i]);
        }
    }
}

void MatrixBench::takePart(Slot& slot, const Slot& from) {
    const Model source = from.model;
    const Matrix& matrix = *from.matrix;
    const std::size_t k = bytes_.below(7);
    switch (bytes_.below(3)) {
        case 0:
            if (k < source.rows) {
                Model row = pooled(1, source.cols);
                for (std::size_t j = 0; j < source.cols; ++j) {
                    row.set(0, j, source.at(k, j));
                }
                put(slot, row, [&] { return matrix.row(k); });
            } else {
                expect(BadRow, [&] { static_cast<void>(matrix.row(k)); });
            }
            break;
        case 1:
            if (k < source.cols || source.rows == 0) {
                Model column = pooled(source.rows, 1);
                for (std::size_t i = 0; i < source.rows; ++i) {
                    column.set(i, 0, source.at(i, k));
                }
                put(slot, column, [&] { return matrix.column(k); });
            } else {
                expect(BadColumn, [&] { static_cast<void>(matrix.column(k)); });
            }
            break;
        default: {
            Model diagonal = pooled(std::min(source.rows, source.cols), 1);
            for (std::size_t i = 0; i < diagonal.rows; ++i) {
                diagonal.set(i, 0, source.at(i, i));
            }
            put(slot, diagonal, [&] { return matrix.diagonal(); });
            break;
        }
    }
}

void MatrixBench::copyBlock(const Slot& slot) {
    const std::size_t r0 = bytes_.below(7);
    const std::size_t r1 = bytes_.below(7);
    const std::size_t c0 = bytes_.below(7);
    const std::size_t c1 = bytes_.below(7);
    const std::size_t height = r1 < r0 ? 0 : r1 - r0 + 1;
    const std::size_t width = c1 < c0 ? 0 : c1 - c0 + 1;
    std::vector<double> buffer(bytes_.oneIn(4) ? bytes_.below(9) : height * width);
    const bool fits = height * width == 0 || (r1 < slot.model.rows && c1 < slot.model.cols &&
                                              buffer.size() >= height * width);
    const std::optional<std::string> raised =
        attempt([&] { slot.matrix->copyBlock(r0, r1, c0, c1, buffer); });
    require(raised.has_value() != fits, "copyBlock and the size of the block disagree");
    for (std::size_t place = 0; fits && place < height * width; ++place) {
        require(isSame(buffer[place], slot.model.at(r0 + place % height, c0 + place / height)),
                "copyBlock took other elements");
    }
}

void MatrixBench::summarise(const Slot& slot) {
    const Model& model = slot.model;
    Matrix::Maximum largest{};
    if (expect(faultOf(model, 0, 0), [&] { largest = slot.matrix->maximum(); })) {
        require(isSame(largest.value, model.at(largest.row, largest.col)),
                "maximum stands elsewhere");
        for (std::size_t place = 0; place < model.size(); ++place) {
            require(!(model.cells->values[place] > largest.value), "an element is larger");
        }
    }
    long double squares = 0.0;
    bool isFinite = true;
    for (const double value : model.cells->values) {
        squares += static_cast<long double>(value) * value;
        isFinite = isFinite && std::abs(value) < 1e150;
    }
    const double norm = slot.matrix->norm();
    const auto expected = static_cast<double>(std::sqrt(squares));
    if (isFinite && expected > 1e-150) {
        require(std::abs(norm - expected) <= 1e-13 * expected, "another norm");
    } else {
        require(norm >= 0.0 || norm == -1.0, "a norm is negative");
    }
}

void MatrixBench::transpose(Slot& to, const Slot& from) {
    Model model = fresh(from.model.cols, from.model.rows);
    model.wrapsArray = true;
    if (!from.model.cells->isStored.empty()) {
        model.cells->isStored.resize(model.size());
    }
    for (std::size_t j = 0; j < model.cols; ++j) {
        for (std::size_t i = 0; i < model.rows; ++i) {
            model.cells->values[j * model.rows + i] = from.model.at(j, i);
            if (!model.cells->isStored.empty()) {
                model.cells->isStored[j * model.rows + i] =
                    from.model.cells->isStored[i * from.model.rows + j];
            }
        }
    }
    std::unique_ptr<Matrix> made;
    if (expect(nullptr, [&] { made.reset(new Matrix(from.matrix->transpose())); })) {
        to.matrix = std::move(made);
        to.model = std::move(model);
    }
}

void MatrixBench::convert(const Slot& slot) {
    vxArray* array = nullptr;
    if (!expect(nullptr, [&] { array = slot.matrix->toVxArray(); })) {
        return;
    }
    require(vxGetM(array) == slot.model.rows && vxGetN(array) == slot.model.cols,
            "an array of another shape");
    for (std::size_t j = 0; j < slot.model.cols; ++j) {
        for (std::size_t i = 0; i < slot.model.rows; ++i) {
            require(isSame(vxGetElement(array, i, j), slot.model.at(i, j)), "another element");
        }
    }
    vxDestroyArray(array);
}

void MatrixBench::combine(Slot& to, const Slot& a, const Slot& b) {
    const bool isSum = bytes_.oneIn(2);
    const bool isSameShape = a.model.rows == b.model.rows && a.model.cols == b.model.cols;
    const Matrix& left = *a.matrix;
    const Matrix& right = *b.matrix;
    if (isSum && b.model.size() < a.model.size()) {
        expect("Incompatible dimensions for matrix addition",
               [&] { static_cast<void>(left + right); });
        return;
    }
    if (!isSum && !isSameShape) {
        expect("Incompatible dimensions for matrix subtraction",
               [&] { static_cast<void>(left - right); });
        return;
    }
    Model model = pooled(a.model.rows, a.model.cols);
    for (std::size_t place = 0; place < model.size(); ++place) {
        const double p = a.model.cells->values[place];
        const double q = b.model.cells->values[place];
        model.cells->values[place] = isSum ? p + q : p - q;
    }
    put(to, model, [&] { return isSum ? left + right : left - right; });
}

void MatrixBench::multiply(Slot& to, const Slot& a, const Slot& b) {
    const Matrix& left = *a.matrix;
    const Matrix& right = *b.matrix;
    if (a.model.cols != b.model.rows) {
        expect("Incompatible dimensions for matrix multiplication",
               [&] { static_cast<void>(left * right); });
        return;
    }
    Model model = pooled(a.model.rows, b.model.cols);
    std::vector<double> sizes(model.size());
    for (std::size_t j = 0; j < model.cols; ++j) {
        for (std::size_t i = 0; i < model.rows; ++i) {
            double& sum = model.cells->values[j * model.rows + i];
            for (std::size_t k = 0; k < a.model.cols; ++k) {
                sum += a.model.at(i, k) * b.model.at(k, j);
                sizes[j * model.rows + i] += std::abs(a.model.at(i, k) * b.model.at(k, j));
            }
        }
    }
    std::unique_ptr<Matrix> made;
    if (!expect(nullptr, [&] { made.reset(new Matrix(left * right)); })) {
        return;
    }
    require(made->getRows() == model.rows && made->getCols() == model.cols, "another product");
    for (std::size_t place = 0; place < model.size(); ++place) {
        const double size = sizes[place];
        const double error = std::abs(made->getData()[place] - model.cells->values[place]);
        // What is not a number here need not be one there: the order of the sum is not the same.
        require(!(size < 1e300) || error <= 1e-14 * size + 1e-300, "the product is another one");
        model.cells->values[place] = made->getData()[place];
    }
    to.matrix = std::move(made);
    to.model = std::move(model);
}

void MatrixBench::addInPlace(Slot& to, const Slot& from) {
    const bool fits = to.model.rows == from.model.rows && to.model.cols == from.model.cols;
    if (!expect(fits ? nullptr : "Incompatible dimensions for matrix assignment",
                [&] { *to.matrix += *from.matrix; })) {
        return;
    }
    for (std::size_t j = 0; j < to.model.cols; ++j) {
        for (std::size_t i = 0; i < to.model.rows; ++i) {
            to.model.set(i, j, to.model.at(i, j) + from.model.at(i, j));
        }
    }
}

void MatrixBench::scale(Slot& to, const Slot& from) {
    const bool isProduct = bytes_.oneIn(2);
    const double s = number();
    Model model = pooled(from.model.rows, from.model.cols);
    std::transform(from.model.cells->values.begin(), from.model.cells->values.end(),
                   model.cells->values.begin(),
                   [&](double value) { return isProduct ? value * s : value - s; });
    put(to, model, [&] { return isProduct ? *from.matrix * s : *from.matrix - s; });
}

void MatrixBench::changeScopes() {
    switch (bytes_.below(3)) {
        case 0:
            releaseMatrixPool();
            break;
        case 1:
            if (scopes_.size() < 3) {
                scopes_.push_back(std::make_unique<CallScope>());
            }
            break;
        default:
            if (!scopes_.empty()) {
                scopes_.pop_back();
            }
            break;
    }
}

void MatrixBench::compareAll() const {
    for (const Slot& slot : slots_) {
        if (slot.matrix == nullptr) {
            continue;
        }
        const Matrix& matrix = *slot.matrix;
        const Model& model = slot.model;
        require(matrix.getRows() == model.rows && matrix.getCols() == model.cols, "another shape");
        require(matrix.size() == model.size(), "another size");
        require(matrix.getIsPooled() == model.isPooled, "pooled or not, but the model says no");
        for (std::size_t j = 0; j < model.cols; ++j) {
            for (std::size_t i = 0; i < model.rows; ++i) {
                require(isSame(matrix(i, j), model.at(i, j)), "another element");
            }
        }
        if (model.isPooled) {
            const auto sharers =
                std::count_if(slots_.begin(), slots_.end(), [&](const Slot& other) {
                    return other.matrix != nullptr && other.model.cells == model.cells;
                });
            require(matrix.getRefCount() == static_cast<std::size_t>(sharers),
                    "another number of borrowers");
        }
    }
}

void MatrixBench::step() {
    const SilencedStream console(std::cout);
    const std::size_t operation = bytes_.below(20);
    failAt_ = bytes_.oneIn(16) ? bytes_.below(4) + 1 : 0;
    Slot& to = anySlot();
    const Slot& a = anySlot();
    const Slot& b = anySlot();
    switch (operation) {
        case 0:
        case 1:
            construct(to);
            break;
        case 2:
            copy(to, a);
            break;
        case 3:
        case 4:
            assign(to, a);
            break;
        case 5:
            clear(to);
            break;
        case 6:
        case 7:
        case 8:
            access(to);
            break;
        case 9:
            moveColumns(to);
            break;
        case 10:
            takePart(to, a);
            break;
        case 11:
            copyBlock(a);
            break;
        case 12:
            summarise(a);
            break;
        case 13:
            transpose(to, a);
            break;
        case 14:
            convert(a);
            break;
        case 15:
            combine(to, a, b);
            break;
        case 16:
            multiply(to, a, b);
            break;
        case 17:
            addInPlace(to, a);
            break;
        case 18:
            scale(to, a);
            break;
        default:
            changeScopes();
            break;
    }
    compareAll();
}

}  // namespace activeset::fuzz
