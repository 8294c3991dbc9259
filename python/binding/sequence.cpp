// Replaces parts of a kept problem.
#include "sequence.hpp"

#include <algorithm>

#include "arrays.hpp"

namespace activeset::python {

/// The new parts, in arrays that live as long as this.
struct Sequence::Views {
    std::array<py::object, Parts> owners;
    std::array<VectorView, Parts> vectors;
    SoftSides soft;
    MatrixView P;
    MatrixView G;
    MatrixView A;
    double constant = 0.0;
};

namespace {

std::vector<double> copyOf(const VectorView& view, std::size_t size, double absent) {
    return view.empty() ? std::vector<double>(size, absent)
                        : std::vector<double>(view.data(), view.data() + view.size());
}

void replace(std::vector<double>& values, std::size_t first, const VectorView& by) {
    std::copy_n(by.data(), by.size(), values.data() + first);
}

void replaceRows(std::vector<double>& rows,
                 std::size_t leading,
                 std::size_t first,
                 const MatrixView& by) {
    for (std::size_t col = 0; col < by.cols(); ++col) {
        for (std::size_t row = 0; row < by.rows(); ++row) {
            rows[col * leading + first + row] = by(row, col);
        }
    }
}

}  // namespace

Sequence::Sequence(const ProblemData& data, Settings settings)
    : n_(data.variables()),
      rowsOfG_(data.inequalities()),
      rowsOfA_(data.equalities()),
      constant_(data.views().constant),
      linear_(copyOf(data.views().c, n_, 0.0)),
      rowLower_(copyOf(data.views().rowLower, rowsOfG_ + rowsOfA_, -Infinity)),
      rowUpper_(copyOf(data.views().rowUpper, rowsOfG_ + rowsOfA_, Infinity)),
      lower_(copyOf(data.views().lower, n_, -Infinity)),
      upper_(copyOf(data.views().upper, n_, Infinity)),
      solver_(data.views(), std::move(settings)) {
    if (rowsOfG_ != 0 && rowsOfA_ != 0) {
        const MatrixView& both = data.views().A;
        rows_.assign(both.data(), both.data() + both.rows() * both.cols());
    }
}

Sequence::Views Sequence::read(const GivenParts& given) const {
    Views views;
    for (const Part part : {q, h, b, lb, ub, l}) {
        if (given[part] != nullptr) {
            views.vectors[part] = vectorOf(given[part], PartNames[part], views.owners[part]);
        }
    }
    const auto matrix = [&](Part part, MatrixView& view) {
        if (given[part] != nullptr) {
            view = matrixOf(given[part], PartNames[part], views.owners[part]);
        }
    };
    matrix(P, views.P);
    matrix(G, views.G);
    matrix(A, views.A);
    if (given[Constant] != nullptr) {
        views.constant = PyFloat_AsDouble(given[Constant]);
        if (views.constant == -1.0 && PyErr_Occurred() != nullptr) {
            throw py::error_already_set();
        }
    }
    if (given[Soft] != nullptr) {
        views.soft = SoftSides(given[Soft], n_, rowsOfG_, rowsOfA_);
    }
    return views;
}

bool Sequence::fits(const GivenParts& given, const Views& views) const {
    const auto hasSize = [&](Part part, std::size_t size) {
        return given[part] == nullptr || views.vectors[part].size() == size;
    };
    const auto hasShape = [&](Part part, const MatrixView& view, std::size_t rows) {
        return given[part] == nullptr || (view.rows() == rows && view.cols() == n_);
    };
    return hasSize(q, n_) && hasSize(h, rowsOfG_) && hasSize(l, rowsOfG_) && hasSize(b, rowsOfA_) &&
           hasSize(lb, n_) && hasSize(ub, n_) && hasShape(P, views.P, n_) &&
           hasShape(G, views.G, rowsOfG_) && hasShape(A, views.A, rowsOfA_);
}

void Sequence::update(const GivenParts& given) {
    Views views;
    bool isRead = false;
    try {
        views = read(given);
        isRead = true;
    } catch (py::error_already_set& error) {
        if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_TypeError)) {
            throw;
        }
    }
    if (!isRead || !fits(given, views)) {
        // lists all faults, not only the first
        packaged("activeset._faults", "raise_update_misfit")(dictOf(given), n_, rowsOfG_, rowsOfA_);
        throw py::value_error("the new parts do not fit");
    }
    if (given[P] != nullptr) {
        solver_.setHessian(views.P);
    }
    if ((given[G] != nullptr && rowsOfG_ > 0) || (given[A] != nullptr && rowsOfA_ > 0)) {
        solver_.setRows(newRows(given, views));
    }
    if (given[q] != nullptr || given[Constant] != nullptr) {
        replace(linear_, 0, views.vectors[q]);
        constant_ = given[Constant] != nullptr ? views.constant : constant_;
        solver_.setLinear(linear_, constant_);
    }
    if (given[h] != nullptr || given[l] != nullptr || given[b] != nullptr) {
        replace(rowLower_, 0, views.vectors[l]);
        replace(rowUpper_, 0, views.vectors[h]);
        replace(rowLower_, rowsOfG_, views.vectors[b]);
        replace(rowUpper_, rowsOfG_, views.vectors[b]);
        solver_.setRowSides(rowLower_, rowUpper_);
    }
    if (given[lb] != nullptr || given[ub] != nullptr) {
        replace(lower_, 0, views.vectors[lb]);
        replace(upper_, 0, views.vectors[ub]);
        solver_.setBounds(lower_, upper_);
    }
    if (given[Soft] != nullptr) {
        solver_.setPenalties(views.soft.rows, views.soft.bounds);
    }
}

MatrixView Sequence::newRows(const GivenParts& given, const Views& views) {
    if (rowsOfA_ == 0) {
        return views.G;
    }
    if (rowsOfG_ == 0) {
        return views.A;
    }
    const std::size_t rows = rowsOfG_ + rowsOfA_;
    if (given[G] != nullptr) {
        replaceRows(rows_, rows, 0, views.G);
    }
    if (given[A] != nullptr) {
        replaceRows(rows_, rows, rowsOfG_, views.A);
    }
    return {rows_.data(), rows, n_};
}

Result Sequence::solve(const Settings& settings) {
    solver_.settings() = settings;
    return solver_.solve();
}

}  // namespace activeset::python
