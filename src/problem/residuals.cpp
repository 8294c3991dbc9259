// Residuals rows·x − rhs, kind by kind and stacked. Each goes through the virtual product, so that
// a derived set which changes a product changes the residual too.
#include <span>

#include "activeset/constraint.hpp"
#include "activeset/sizes.hpp"
#include "matrix/views.hpp"

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
    std::span<double> rest(stacked.getData(), stacked.size());
    const auto take = [&](size_t count) {
        if (count > rest.size()) {
            activeset::raiseMatrixFault("Index exceed number of row.");  // not this set's counts
        }
        const std::span<double> own = rest.first(count);
        rest = rest.subspan(count);
        return own;
    };
    const auto append = [&](size_t count, auto residual) {
        if (count == 0) {
            return;
        }
        const OPTMatrix<double> values = residual();
        const std::span<double> own = take(count);
        for (size_t i = 0; i < count; ++i) {
            own[i] = values(i, 0);
        }
    };
    append(OPTsizes::getmFixed(), [&] { return Afixedconstr(x); });
    append(OPTsizes::getmEq(), [&] { return Aeqconstr(x); });
    if (x.getCols() != 1 || !activeset::isStoredFull(x)) {
        append(OPTsizes::getmIneq(), [&] { return Aconstr(x); });
        append(OPTsizes::getmLB(), [&] { return Albconstr(x); });
        append(OPTsizes::getmUB(), [&] { return Aubconstr(x); });
        return stacked;
    }
    const auto appendKind = [&](size_t count, activeset::ConstraintKind kind) {
        if (count != 0) {
            residualTo(kind, std::span(x.getData(), x.size()), take(count));
        }
    };
    appendKind(OPTsizes::getmIneq(), activeset::ConstraintKind::Inequality);
    appendKind(OPTsizes::getmLB(), activeset::ConstraintKind::LowerBound);
    appendKind(OPTsizes::getmUB(), activeset::ConstraintKind::UpperBound);
    return stacked;
}
