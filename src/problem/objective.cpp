// The quadratic and the linear objective.
#include "activeset/objective.hpp"

#include <typeinfo>
#include <utility>

#include "activeset/sizes.hpp"
#include "matrix/views.hpp"

using activeset::ObjectiveKind;

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

void QPobjective::gradientTo(const OPTMatrix<double>& x, OPTMatrix<double>& g) {
    const bool isPlain = typeid(*this) == typeid(QPobjective) && activeset::isStoredFull(H) &&
                         activeset::isStoredFull(c) && activeset::isStoredFull(x);
    if (!isPlain || x.getCols() != 1 || H.getCols() != x.getRows() || H.getRows() != x.getRows() ||
        c.size() < x.getRows() || g.getRows() != x.getRows() || g.getCols() != 1) {
        IoptObjective::gradientTo(x, g);
        return;
    }
    double* target = g.getData();
    const double* linear = c.getData();
    activeset::blas::gemv(activeset::Op::None, 1.0, activeset::viewOf(H), x.getData(), 0.0, target);
    for (size_t i = 0; i < g.getRows(); ++i) {
        target[i] += linear[i];
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
