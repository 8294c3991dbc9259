// The quadratic and the linear objective.
#include "activeset/objective.hpp"

#include <typeinfo>
#include <utility>

#include "activeset/sizes.hpp"
#include "matrix/views.hpp"

using activeset::Block;
using activeset::ObjectiveKind;
using activeset::Op;
using activeset::viewOf;

namespace blas = activeset::blas;

namespace {

ObjectiveKind kindOf(const std::string& word) {
    if (word == "QP") {
        return ObjectiveKind::Quadratic;
    }
    return word == "LP" ? ObjectiveKind::Linear : ObjectiveKind::Other;
}

}  // namespace

IoptObjective::IoptObjective(std::string type)
    : objectiveType(std::move(type)), kind(kindOf(objectiveType)) {}

IoptObjective::~IoptObjective() = default;

double IoptObjective::valueAt(const OPTMatrix<double>& x) {
    const OPTMatrix<double> value = fval(x);
    return value(0, 0);
}

void IoptObjective::gradientTo(const OPTMatrix<double>& x, OPTMatrix<double>& g) {
    g = grad(x);
}

QPobjective::QPobjective(const vxArray* hessian, const vxArray* linear)
    : IoptObjective("QP"), H(hessian), c(linear) {
    optimAssert(H.getCols() == c.getRows(), "Size mismatch in QP problem setup.");
    OPTsizes::setnVar(H.getCols());
}

QPobjective::~QPobjective() = default;

OPTMatrix<double> QPobjective::fval(const OPTMatrix<double>& x) {
    OPTMatrix<double> result(1, 1, true);
    const OPTMatrix<double> linear = activeset::transposedProduct(c, x);
    const OPTMatrix<double> halfXtH = activeset::transposedProduct(x * 0.5, H);
    result = linear + halfXtH * x;
    return result;
}

OPTMatrix<double> QPobjective::grad(const OPTMatrix<double>& x) {
    OPTMatrix<double> result(x.getRows(), 1, true);
    result = H * x + c;
    return result;
}

// Of this very class, with shapes that fit: else the plain functions are asked, which know what to
// say.
bool QPobjective::_isPlainAt(const OPTMatrix<double>& x) const {
    const size_t n = x.getRows();
    return typeid(*this) == typeid(QPobjective) && activeset::isStoredFull(H) &&
           activeset::isStoredFull(c) && activeset::isStoredFull(x) && x.getCols() == 1 &&
           H.getRows() == n && H.getCols() == n && c.getRows() == n && c.getCols() == 1;
}

// As fval: (½xᵀH)·x + cᵀx.
double QPobjective::valueAt(const OPTMatrix<double>& x) {
    const size_t n = x.getRows();
    if (n == 0 || !_isPlainAt(x)) {
        return IoptObjective::valueAt(x);
    }
    OPTMatrix<double> halves(n, 2, true);
    double* half = halves.getData();
    double* halfXtH = half + n;
    for (size_t i = 0; i < n; ++i) {
        half[i] = x.getData()[i] * 0.5;
    }
    double linear = 0.0;
    double quadratic = 0.0;
    blas::gemv(Op::Transpose, 1.0, viewOf(c), x.getData(), 0.0, &linear);
    blas::gemv(Op::Transpose, 1.0, viewOf(H), half, 0.0, halfXtH);
    blas::gemv(Op::None, 1.0, Block(halfXtH, 1, n), x.getData(), 0.0, &quadratic);
    return linear + quadratic;
}

void QPobjective::gradientTo(const OPTMatrix<double>& x, OPTMatrix<double>& g) {
    const size_t n = x.getRows();
    if (!_isPlainAt(x) || !activeset::isStoredFull(g) || g.getRows() != n || g.getCols() != 1) {
        IoptObjective::gradientTo(x, g);
        return;
    }
    blas::gemv(Op::None, 1.0, viewOf(H), x.getData(), 0.0, g.getData());
    for (size_t i = 0; i < n; ++i) {
        g.getData()[i] += c.getData()[i];
    }
}

LPobjective::LPobjective(const vxArray* cost) : IoptObjective("LP"), c(cost) {
    OPTsizes::setnVar(c.getRows());
}

LPobjective::~LPobjective() = default;

OPTMatrix<double> LPobjective::fval(const OPTMatrix<double>& x) {
    OPTMatrix<double> result(1, 1, true);
    result = activeset::transposedProduct(c, x);
    return result;
}

OPTMatrix<double> LPobjective::grad(const OPTMatrix<double>& /*x*/) {
    OPTMatrix<double> result(c.getRows(), c.getCols(), true);
    result = c;
    return result;
}

void LPobjective::gradientTo(const OPTMatrix<double>& x, OPTMatrix<double>& g) {
    if (typeid(*this) == typeid(LPobjective)) {
        g = c;
    } else {
        IoptObjective::gradientTo(x, g);
    }
}
