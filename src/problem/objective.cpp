// The quadratic and the linear objective.
#include "activeset/objective.hpp"

#include <utility>

#include "activeset/sizes.hpp"
#include "matrix/views.hpp"

IoptObjective::IoptObjective(std::string type) : objectiveType(std::move(type)) {}

IoptObjective::~IoptObjective() = default;

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
