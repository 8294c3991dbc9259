// The phase-one problem: minimise γ with every inequality and bound relaxed by γ.
#include <algorithm>
#include <typeinfo>

#include "activeset/constraint.hpp"
#include "activeset/objective.hpp"
#include "activeset/sizes.hpp"
#include "matrix/fault.hpp"
#include "thread_state.hpp"

namespace {

using Matrix = OPTMatrix<double>;

/// γ, the last entry of y.
double artificialOf(const Matrix& y) {
    return y(y.getRows() - 1, 0);
}

}  // namespace

PhaseOneObjective::PhaseOneObjective(const vxArray* cost) : IoptObjective("LP") {
    c = Matrix(cost);
    OPTsizes::setnVar(c.getRows());
}

PhaseOneObjective::~PhaseOneObjective() = default;

Matrix PhaseOneObjective::fval(const Matrix& y) {
    Matrix result(1, 1, true);
    result(0, 0) = artificialOf(y);
    return result;
}

Matrix PhaseOneObjective::grad(const Matrix& /*y*/) {
    Matrix result(c.getRows(), c.getCols(), true);
    result = c;
    return result;
}

double PhaseOneObjective::valueAt(const Matrix& y) {
    return typeid(*this) == typeid(PhaseOneObjective) ? artificialOf(y) : IoptObjective::valueAt(y);
}

void PhaseOneObjective::gradientTo(const Matrix& y, Matrix& g) {
    if (typeid(*this) == typeid(PhaseOneObjective)) {
        g = c;
    } else {
        IoptObjective::gradientTo(y, g);
    }
}

PhaseOneConstraint::PhaseOneConstraint(IoptConstraint* of)
    : IoptConstraint("PhaseI"), underlying(of) {
    if (of == nullptr) {
        vxErrMsgIdAndTxt("optim:src:activesetqp:problemNullPointer",
                         "constraint is a NULL pointer.");
    }
    activeset::CountsGuard counts;
    const size_t inherited = OPTsizes::getmUB();
    if (of->getbub().getRows() != inherited || OPTsizes::getnVar() == 0) {
        // The counts are another problem's.
        activeset::raiseMatrixFault("Index exceed number of row.");
    }
    OPTsizes::setmUB(inherited + 1);
    OPTsizes::setmConstr(OPTsizes::getmConstr() + 1);
    indexUB.reserve(inherited + 1);
    if (of->getindexUB() != nullptr) {
        std::copy_n(of->getindexUB(), inherited, indexUB.get());
    }
    indexUB.get()[inherited] = OPTsizes::getnVar() - 1;
    bub = _addOneRow(of->getbub(), 0.0);
    counts.commit();
}

PhaseOneConstraint::~PhaseOneConstraint() = default;

PhaseOneConstraint& PhaseOneConstraint::operator=(const PhaseOneConstraint& other) {
    if (this != &other) {
        IoptConstraint::operator=(other);
        underlying = other.underlying;
        indexUB = other.indexUB;
        bub = other.bub;  // the row matrices are made anew at every request
    }
    return *this;
}

// ---------------------------------------------------------------------------------------------
// One entry more, one entry less.

Matrix PhaseOneConstraint::_addOneCol(const Matrix& row, double value) {
    Matrix result(1, row.getCols() + 1, true);
    for (size_t j = 0; j < row.getCols(); ++j) {
        result(0, j) = row(0, j);
    }
    result(0, row.getCols()) = value;
    return result;
}

Matrix PhaseOneConstraint::_addOneRow(const Matrix& column, double value) {
    Matrix result(column.getRows() + 1, 1, true);
    for (size_t i = 0; i < column.getRows(); ++i) {
        result(i, 0) = column(i, 0);
    }
    result(column.getRows(), 0) = value;
    return result;
}

Matrix PhaseOneConstraint::_removeLastRow(const Matrix& column) {
    if (column.size() == 0) {
        activeset::raiseMatrixFault("Index exceed number of row.");
    }
    Matrix result(column.getRows() - 1, 1, true);
    for (size_t i = 0; i < result.getRows(); ++i) {
        result(i, 0) = column(i, 0);
    }
    return result;
}

// ---------------------------------------------------------------------------------------------
// Rows and products: equalities and fixed variables are not relaxed.

Matrix PhaseOneConstraint::ARow(size_t i) {
    return _addOneCol(underlying->ARow(i), -1.0);
}

Matrix PhaseOneConstraint::AlbRow(size_t i) {
    return _addOneCol(underlying->AlbRow(i), -1.0);
}

Matrix PhaseOneConstraint::AubRow(size_t i) {
    if (i + 1 != bub.getRows()) {
        return _addOneCol(underlying->AubRow(i), -1.0);
    }
    Matrix row(1, OPTsizes::getnVar(), true);
    row.fill(0.0);
    row(0, row.getCols() - 1) = -1.0;
    return row;
}

Matrix PhaseOneConstraint::AeqRow(size_t i) {
    return _addOneCol(underlying->AeqRow(i), 0.0);
}

Matrix PhaseOneConstraint::AfixedRow(size_t i) {
    return _addOneCol(underlying->AfixedRow(i), 0.0);
}

Matrix PhaseOneConstraint::Ax(const Matrix& y) {
    return underlying->Ax(_removeLastRow(y)) - artificialOf(y);
}

Matrix PhaseOneConstraint::Albx(const Matrix& y) {
    return underlying->Albx(_removeLastRow(y)) - artificialOf(y);
}

Matrix PhaseOneConstraint::Aubx(const Matrix& y) {
    const double gamma = artificialOf(y);
    return _addOneRow(underlying->Aubx(_removeLastRow(y)) - gamma, -gamma);
}

Matrix PhaseOneConstraint::Aeqx(const Matrix& y) {
    return underlying->Aeqx(_removeLastRow(y));
}

Matrix PhaseOneConstraint::Afixedx(const Matrix& y) {
    return underlying->Afixedx(_removeLastRow(y));
}

// ---------------------------------------------------------------------------------------------
// Residuals.

Matrix PhaseOneConstraint::Aconstr(const Matrix& y) {
    return Ax(y) - underlying->getb();
}

Matrix PhaseOneConstraint::Aeqconstr(const Matrix& y) {
    return Aeqx(y) - underlying->getbeq();
}

Matrix PhaseOneConstraint::Afixedconstr(const Matrix& y) {
    return Afixedx(y) - underlying->getbfixed();
}

Matrix PhaseOneConstraint::Albconstr(const Matrix& y) {
    return Albx(y) - underlying->getblb();
}

Matrix PhaseOneConstraint::Aubconstr(const Matrix& y) {
    return Aubx(y) - bub;
}

Matrix PhaseOneConstraint::constrViolation(const Matrix& y) {
    const double gamma = artificialOf(y);
    const size_t total = OPTsizes::getmConstr();
    Matrix result(total, 1, true);
    const auto ofUnderlying = [&]() {
        // The underlying set sees its own sizes.
        const activeset::CountsGuard counts;
        OPTsizes::setmConstr(total - 1);
        OPTsizes::setmUB(OPTsizes::getmUB() - 1);
        return underlying->constrViolation(_removeLastRow(y));
    };
    const Matrix residuals = ofUnderlying();
    // γ is taken off equalities and fixed variables too, unlike in the products: kept, the
    // feasibility check in mid-loop sees the relaxed problem this way.
    for (size_t i = 0; i + 1 < total; ++i) {
        result(i, 0) = residuals(i, 0) - gamma;
    }
    result(total - 1, 0) = -gamma;
    return result;
}

// ---------------------------------------------------------------------------------------------
// What the getters hand out.

namespace {

template <class RowOf>
Matrix& stackRows(Matrix& target, size_t count, RowOf rowOf) {
    Matrix rows(count, OPTsizes::getnVar());
    for (size_t i = 0; i < count; ++i) {
        const Matrix row = rowOf(i);
        for (size_t j = 0; j < rows.getCols(); ++j) {
            rows(i, j) = row(0, j);
        }
    }
    target.clear();
    target = rows;
    return target;
}

}  // namespace

Matrix& PhaseOneConstraint::getA() {
    return stackRows(rowsA, underlying->getA().getRows(), [&](size_t i) { return ARow(i); });
}

Matrix& PhaseOneConstraint::getAeq() {
    return stackRows(rowsAeq, underlying->getAeq().getRows(), [&](size_t i) { return AeqRow(i); });
}

Matrix& PhaseOneConstraint::getAlb() {
    return stackRows(rowsAlb, underlying->getblb().getRows(), [&](size_t i) { return AlbRow(i); });
}

Matrix& PhaseOneConstraint::getAub() {
    return stackRows(rowsAub, bub.getRows(), [&](size_t i) { return AubRow(i); });
}

Matrix& PhaseOneConstraint::getAfixed() {
    return stackRows(rowsAfixed, underlying->getAfixed().getRows(),
                     [&](size_t i) { return AfixedRow(i); });
}

void PhaseOneConstraint::reportConstraintInfo() {
    underlying->reportConstraintInfo();
}

Matrix& PhaseOneConstraint::getb() {
    return underlying->getb();
}
Matrix& PhaseOneConstraint::getbeq() {
    return underlying->getbeq();
}
Matrix& PhaseOneConstraint::getblb() {
    return underlying->getblb();
}
Matrix& PhaseOneConstraint::getlb() {
    return underlying->getlb();
}
Matrix& PhaseOneConstraint::getub() {
    return underlying->getub();
}
Matrix& PhaseOneConstraint::getbfixed() {
    return underlying->getbfixed();
}
size_t* PhaseOneConstraint::getindexLB() const {
    return underlying->getindexLB();
}
size_t* PhaseOneConstraint::getindexFixed() const {
    return underlying->getindexFixed();
}
