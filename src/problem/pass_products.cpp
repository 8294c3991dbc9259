// Products, residuals and rows as the solver's passes take them: written to the solver's own
// memory.
//
// A class that changes one of the plain functions (Ax, Aconstr, ARow, ...) changes these with it:
// the direct way is taken by objects of exactly the library's own classes, all others go through
// the plain functions. The operations and their order are those of the plain functions, so that
// both ways give the same bits.
#include <algorithm>
#include <typeinfo>

#include "activeset/constraint.hpp"
#include "activeset/sizes.hpp"
#include "matrix/fault.hpp"
#include "matrix/views.hpp"
#include "problem/bound_rows.hpp"

using activeset::ConstraintKind;
using Matrix = OPTMatrix<double>;

namespace {

template <class T>
T ofKind(ConstraintKind kind, T inequality, T lower, T upper) {
    if (kind == ConstraintKind::Inequality) {
        return inequality;
    }
    return kind == ConstraintKind::LowerBound ? lower : upper;
}

Matrix columnOf(std::span<const double> values) {
    Matrix column(values.size(), 1, true);
    std::copy(values.begin(), values.end(), column.getData());
    return column;
}

// The first entries of a vector that another class has made.
void copyFirst(const Matrix& from, std::span<double> out) {
    if (from.size() < out.size()) {
        activeset::raiseMatrixFault("Index exceed number of row.");
    }
    activeset::requireFull(from);
    std::copy_n(from.getData(), out.size(), out.begin());
}

void subtract(std::span<double> from, const Matrix& rhs) {
    const double* values = rhs.getData();
    for (size_t i = 0; i < from.size(); ++i) {
        from[i] -= values[i];
    }
}

void subtract(std::span<double> from, double value) {
    for (double& entry : from) {
        entry -= value;
    }
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Any class: by its plain functions.

void IoptConstraint::productTo(ConstraintKind kind,
                               std::span<const double> x,
                               std::span<double> out) {
    const Matrix point = columnOf(x);
    const auto plain =
        ofKind(kind, &IoptConstraint::Ax, &IoptConstraint::Albx, &IoptConstraint::Aubx);
    copyFirst((this->*plain)(point), out);
}

void IoptConstraint::residualTo(ConstraintKind kind,
                                std::span<const double> x,
                                std::span<double> out) {
    const Matrix point = columnOf(x);
    const auto plain = ofKind(kind, &IoptConstraint::Aconstr, &IoptConstraint::Albconstr,
                              &IoptConstraint::Aubconstr);
    copyFirst((this->*plain)(point), out);
}

void IoptConstraint::rowTo(ConstraintKind kind, size_t i, std::span<double> out) {
    const auto plain =
        ofKind(kind, &IoptConstraint::ARow, &IoptConstraint::AlbRow, &IoptConstraint::AubRow);
    copyFirst((this->*plain)(i), out);
}

// ---------------------------------------------------------------------------------------------
// The set built from arrays.

// False when the shapes ask for the plain functions, which know what to say then.
bool LinearConstraint::_productPlain(ConstraintKind kind,
                                     std::span<const double> x,
                                     std::span<double> out) const {
    if (typeid(*this) != typeid(LinearConstraint)) {
        return false;
    }
    if (kind != ConstraintKind::Inequality) {
        const bool isLower = kind == ConstraintKind::LowerBound;
        const activeset::BoundRows rows = isLower ? activeset::lowerRows(indexLB, blb, variables)
                                                  : activeset::upperRows(indexUB, bub, variables);
        return rows.timesTo(x, out);
    }
    if (!activeset::isStoredFull(A) || A.getCols() != x.size() || A.getRows() != out.size()) {
        return false;
    }
    activeset::blas::gemv(activeset::Op::None, 1.0, activeset::viewOf(A), x.data(), 0.0,
                          out.data());
    return true;
}

void LinearConstraint::productTo(ConstraintKind kind,
                                 std::span<const double> x,
                                 std::span<double> out) {
    if (!_productPlain(kind, x, out)) {
        IoptConstraint::productTo(kind, x, out);
    }
}

void LinearConstraint::residualTo(ConstraintKind kind,
                                  std::span<const double> x,
                                  std::span<double> out) {
    const Matrix& rhs = *ofKind(kind, &b, &blb, &bub);
    if (rhs.size() == out.size() && activeset::isStoredFull(rhs) && _productPlain(kind, x, out)) {
        subtract(out, rhs);
    } else {
        IoptConstraint::residualTo(kind, x, out);
    }
}

void LinearConstraint::rowTo(ConstraintKind kind, size_t i, std::span<double> out) {
    const size_t n = out.size();
    const bool isPlain = typeid(*this) == typeid(LinearConstraint);
    if (isPlain && kind == ConstraintKind::Inequality && activeset::isStoredFull(A) &&
        i < A.getRows() && A.getCols() == n) {
        const double* entry = A.getData() + i;
        for (size_t j = 0; j < n; ++j, entry += A.getRows()) {
            out[j] = *entry;
        }
        return;
    }
    if (isPlain && kind != ConstraintKind::Inequality && n == variables) {
        const bool isLower = kind == ConstraintKind::LowerBound;
        (isLower ? activeset::lowerRows(indexLB, blb, variables)
                 : activeset::upperRows(indexUB, bub, variables))
            .rowTo(i, out);
        return;
    }
    IoptConstraint::rowTo(kind, i, out);
}

// ---------------------------------------------------------------------------------------------
// The relaxed set: y without its last entry goes to the set underneath.

bool PhaseOneConstraint::_isPlain(std::span<const double> y) const {
    return typeid(*this) == typeid(PhaseOneConstraint) && !y.empty();
}

void PhaseOneConstraint::productTo(ConstraintKind kind,
                                   std::span<const double> y,
                                   std::span<double> out) {
    const bool isUpper = kind == ConstraintKind::UpperBound;
    if (!_isPlain(y) || (isUpper && out.size() != bub.getRows())) {
        IoptConstraint::productTo(kind, y, out);
        return;
    }
    const double gamma = y.back();
    const std::span<double> inherited = isUpper ? out.first(out.size() - 1) : out;
    underlying->productTo(kind, y.first(y.size() - 1), inherited);
    subtract(inherited, gamma);
    if (isUpper) {
        out.back() = -gamma;
    }
}

void PhaseOneConstraint::residualTo(ConstraintKind kind,
                                    std::span<const double> y,
                                    std::span<double> out) {
    const Matrix& rhs = *ofKind(kind, &underlying->getb(), &underlying->getblb(), &bub);
    if (!_isPlain(y) || rhs.size() != out.size() || !activeset::isStoredFull(rhs)) {
        IoptConstraint::residualTo(kind, y, out);
        return;
    }
    PhaseOneConstraint::productTo(kind, y, out);
    subtract(out, rhs);
}

void PhaseOneConstraint::rowTo(ConstraintKind kind, size_t i, std::span<double> out) {
    const bool isBoundOfArtificial = kind == ConstraintKind::UpperBound && i + 1 == bub.getRows();
    if (typeid(*this) != typeid(PhaseOneConstraint) || out.empty() || isBoundOfArtificial) {
        IoptConstraint::rowTo(kind, i, out);
        return;
    }
    underlying->rowTo(kind, i, out.first(out.size() - 1));
    out.back() = -1.0;
}
