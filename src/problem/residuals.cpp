// Residuals rows·x − rhs, kind by kind and stacked. Each goes through the virtual product, so that
// a derived set which changes a product changes the residual too.
#include "activeset/constraint.hpp"
#include "activeset/sizes.hpp"

OPTMatrix<double> LinearConstraint::Aconstr(const OPTMatrix<double>& x) {
    return Ax(x) - b;
}

OPTMatrix<double> LinearConstraint::Aeqconstr(const OPTMatrix<double>& x) {
    return Aeqx(x) - beq;
}

OPTMatrix<double> LinearConstraint::Afixedconstr(const OPTMatrix<double>& x) {
    return Afixedx(x) - bfixed;
}

OPTMatrix<double> LinearConstraint::Albconstr(const OPTMatrix<double>& x) {
    return Albx(x) - blb;
}

OPTMatrix<double> LinearConstraint::Aubconstr(const OPTMatrix<double>& x) {
    return Aubx(x) - bub;
}

OPTMatrix<double> LinearConstraint::constrViolation(const OPTMatrix<double>& x) {
    const size_t total = OPTsizes::getmConstr();
    OPTMatrix<double> stacked(total == 0 ? 1 : total, 1, true);
    stacked.fill(0.0);
    size_t next = 0;
    using Residual = OPTMatrix<double> (IoptConstraint::*)(const OPTMatrix<double>&);
    const auto append = [&](size_t count, Residual residual) {
        if (count == 0) {
            return;
        }
        const OPTMatrix<double> values = (this->*residual)(x);
        for (size_t i = 0; i < count; ++i) {
            stacked(next++, 0) = values(i, 0);
        }
    };
    append(OPTsizes::getmFixed(), &IoptConstraint::Afixedconstr);
    append(OPTsizes::getmEq(), &IoptConstraint::Aeqconstr);
    append(OPTsizes::getmIneq(), &IoptConstraint::Aconstr);
    append(OPTsizes::getmLB(), &IoptConstraint::Albconstr);
    append(OPTsizes::getmUB(), &IoptConstraint::Aubconstr);
    return stacked;
}
