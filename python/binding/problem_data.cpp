// Reads the parts of a problem, counts variables and rows, joins G and A.
#include "problem_data.hpp"

#include <algorithm>

#include "arrays.hpp"

namespace activeset::python {

namespace {

void copyRows(const MatrixView& from, double* to, std::size_t leading) {
    for (std::size_t col = 0; col < from.cols(); ++col) {
        for (std::size_t row = 0; row < from.rows(); ++row) {
            to[col * leading + row] = from(row, col);
        }
    }
}

bool hasSize(const VectorView& vector, const PyObject* given, std::size_t size) {
    return given == nullptr || vector.size() == size;
}

bool isSame(const MatrixView& a, const MatrixView& b) {
    return a.data() == b.data() && a.rows() == b.rows() && a.cols() == b.cols() &&
           a.leading() == b.leading() && a.order() == b.order();
}

}  // namespace

py::dict dictOf(const GivenParts& given) {
    py::dict parts;
    for (std::size_t part = 0; part < Parts; ++part) {
        if (given[part] != nullptr) {
            parts[PartNames[part]] = py::handle(given[part]);
        }
    }
    return parts;
}

void raiseMisfit(const GivenParts& given) {
    packaged("activeset._faults", "raise_misfit")(dictOf(given));
    throw py::value_error("the parts of the problem do not fit together");
}

std::shared_ptr<const JoinedRows> joined(const MatrixView& G, const MatrixView& A) {
    const std::size_t rows = G.rows() + A.rows();
    auto both = std::make_shared<JoinedRows>();
    both->values.resize(rows * G.cols());
    copyRows(G, both->values.data(), rows);
    copyRows(A, both->values.data() + G.rows(), rows);
    return both;
}

SoftSides::SoftSides(py::handle soft,
                     std::size_t variables,
                     std::size_t inequalities,
                     std::size_t equalities,
                     const py::list& absent) {
    const py::sequence arrays =
        packaged("activeset._soft", "arrays")(soft, variables, inequalities, equalities, absent);
    std::size_t next = 0;
    for (VectorView* view : {&rows.lowerLinear, &rows.upperLinear, &rows.lowerQuadratic,
                             &rows.upperQuadratic, &bounds.lowerLinear, &bounds.upperLinear,
                             &bounds.lowerQuadratic, &bounds.upperQuadratic}) {
        const py::object array = arrays[next];
        if (!array.is_none()) {
            *view = vectorOf(array.ptr(), "soft", owners[next]);
        }
        ++next;
    }
}

ProblemData::ProblemData(const GivenParts& given, const ProblemData* like) {
    bool isRead = false;
    try {
        isRead = read(given);
    } catch (py::error_already_set& error) {
        if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_TypeError)) {
            throw;
        }
    }
    if (!isRead) {
        raiseMisfit(given);  // lists all faults, not only the first
    }
    joinRows(like);
}

bool ProblemData::readConstraints(const GivenParts& given, std::size_t variables) {
    if (!read(given, variables)) {
        return false;
    }
    joinRows(nullptr);
    return true;
}

bool ProblemData::partsFit(const GivenParts& given) const {
    const bool hasSides = given[G] == nullptr || given[h] != nullptr || given[l] != nullptr;
    return hasSides && (given[A] == nullptr || given[b] != nullptr) &&
           (given[P] == nullptr || py::detail::array_proxy(owners_[P].ptr())->nd == 2) &&
           (given[P] == nullptr || (views_.H.rows() == n_ && views_.H.cols() == n_)) &&
           (given[G] == nullptr || G_.cols() == n_) && (given[A] == nullptr || A_.cols() == n_) &&
           hasSize(views_.c, given[q], n_) && hasSize(h_, given[h], rowsOfG_) &&
           hasSize(l_, given[l], rowsOfG_) && hasSize(b_, given[b], rowsOfA_) &&
           hasSize(views_.lower, given[lb], n_) && hasSize(views_.upper, given[ub], n_) &&
           hasSize(views_.start, given[X0], n_);
}

bool ProblemData::read(const GivenParts& given, std::optional<std::size_t> variables) {
    const auto vector = [&](Part part) {
        return given[part] == nullptr ? VectorView()
                                      : vectorOf(given[part], PartNames[part], owners_[part]);
    };
    const auto matrix = [&](Part part) {
        return given[part] == nullptr ? MatrixView()
                                      : matrixOf(given[part], PartNames[part], owners_[part]);
    };
    views_.H = matrix(P);
    views_.c = vector(q);
    G_ = matrix(G);
    h_ = vector(h);
    A_ = matrix(A);
    b_ = vector(b);
    views_.lower = vector(lb);
    views_.upper = vector(ub);
    l_ = vector(l);
    views_.start = vector(X0);
    if (given[Constant] != nullptr) {
        views_.constant = PyFloat_AsDouble(given[Constant]);
        if (views_.constant == -1.0 && PyErr_Occurred() != nullptr) {
            throw py::error_already_set();
        }
    }
    n_ = variables             ? *variables
         : given[q] != nullptr ? views_.c.size()
         : given[P] != nullptr ? views_.H.cols()
         : given[G] != nullptr ? G_.cols()
                               : A_.cols();
    rowsOfG_ = G_.rows();
    rowsOfA_ = A_.rows();
    const bool hasVariables = variables || given[q] != nullptr || given[P] != nullptr ||
                              given[G] != nullptr || given[A] != nullptr;
    const bool areFitting = hasVariables && partsFit(given);
    if (areFitting && given[Soft] != nullptr) {
        owners_[Soft] = py::reinterpret_borrow<py::object>(given[Soft]);
        py::list absent;
        for (const Part side : {l, h, b, lb, ub}) {
            if (given[side] == nullptr) {
                absent.append(PartNames[side]);
            }
        }
        soft_ = SoftSides(given[Soft], n_, rowsOfG_, rowsOfA_, absent);
        views_.rowPenalty = soft_.rows;
        views_.boundPenalty = soft_.bounds;
    }
    return areFitting;
}

void ProblemData::joinRows(const ProblemData* like) {
    if (rowsOfA_ == 0) {
        views_.A = rowsOfG_ == 0 ? MatrixView() : G_;
        views_.rowLower = l_;
        views_.rowUpper = h_;
        return;
    }
    if (rowsOfG_ == 0) {
        views_.A = A_;
        views_.rowLower = b_;
        views_.rowUpper = b_;
        return;
    }
    const bool isShared =
        like != nullptr && like->joined_ && isSame(G_, like->G_) && isSame(A_, like->A_);
    joined_ = isShared ? like->joined_ : joined(G_, A_);
    const std::size_t rows = rowsOfG_ + rowsOfA_;
    views_.A = MatrixView(joined_->values.data(), rows, n_);
    sides_.assign(2 * rows, -Infinity);
    std::fill_n(sides_.begin() + static_cast<std::ptrdiff_t>(rows), rowsOfG_, Infinity);
    std::copy_n(l_.data(), l_.size(), sides_.data());
    std::copy_n(h_.data(), h_.size(), sides_.data() + rows);
    std::copy_n(b_.data(), rowsOfA_, sides_.data() + rowsOfG_);
    std::copy_n(b_.data(), rowsOfA_, sides_.data() + rows + rowsOfG_);
    views_.rowLower = VectorView(sides_.data(), rows);
    views_.rowUpper = VectorView(sides_.data() + rows, rows);
}

}  // namespace activeset::python
