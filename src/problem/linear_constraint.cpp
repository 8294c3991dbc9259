// The constraint set built from six host arrays: construction, bound split, products.
#include <algorithm>
#include <utility>

#include "activeset/constraint.hpp"
#include "activeset/sizes.hpp"
#include "matrix/fault.hpp"
#include "problem/bound_rows.hpp"

using activeset::BoundRows;
using activeset::IndexList;
using activeset::lowerRows;
using activeset::NoIndex;
using activeset::upperRows;

IoptConstraint::IoptConstraint(std::string type) : problemType(std::move(type)) {}

IoptConstraint::~IoptConstraint() = default;

LinearConstraint::LinearConstraint(const vxArray* inequalities,
                                   const vxArray* inequalityRhs,
                                   const vxArray* equalities,
                                   const vxArray* equalityRhs,
                                   const vxArray* lower,
                                   const vxArray* upper)
    : IoptConstraint("LinearConstraint"),
      A(inequalities),
      b(inequalityRhs),
      Aeq(equalities),
      beq(equalityRhs),
      lb(lower),
      ub(upper),
      variables(OPTsizes::getnVar()) {
    OPTsizes::setnEq(Aeq.getRows());
    OPTsizes::setmEq(Aeq.getRows());
    optimAssert(Aeq.getRows() == beq.getRows(), "Size mismatch in equality constraints.");
    OPTsizes::setmIneq(A.getRows());
    optimAssert(A.getRows() == b.getRows(), "Size mismatch in inequality constraints.");
    _setindexLB(nullptr);
    _setindexUB(nullptr);
    _setindexFixed(nullptr);
    _createBoundAndFixedConstraints();
    OPTsizes::setmConstr(OPTsizes::getmUB() + OPTsizes::getmLB() + OPTsizes::getmFixed() +
                         OPTsizes::getmIneq() + OPTsizes::getmEq());
}

LinearConstraint::~LinearConstraint() = default;

namespace {

void setIndexList(IndexList& list, const size_t* source) {
    const size_t n = OPTsizes::getnVar();
    if (n == 0) {
        return;
    }
    list.reserve(n);
    if (source == nullptr) {
        std::fill_n(list.get(), n, NoIndex);
    } else {
        std::copy_n(source, n, list.get());
    }
}

// Turns the marks (0) that the first pass left into the list of marked variables, in place: the
// k-th marked variable is k or later, so nothing is overwritten before it is read. Returns the
// right-hand sides sign·bound.
OPTMatrix<double> gatherBounds(
    size_t* index, size_t n, size_t count, const OPTMatrix<double>& bound, double sign) {
    OPTMatrix<double> rhs(count, 1);
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) {
        if (index[i] == 0) {
            rhs(k, 0) = sign * bound(i, 0);
            index[k] = i;
            ++k;
        }
    }
    return rhs;
}

}  // namespace

void LinearConstraint::_setindexLB(const size_t* source) {
    setIndexList(indexLB, source);
}

void LinearConstraint::_setindexUB(const size_t* source) {
    setIndexList(indexUB, source);
}

void LinearConstraint::_setindexFixed(const size_t* source) {
    setIndexList(indexFixed, source);
}

void LinearConstraint::_createBoundAndFixedConstraints() {
    const size_t n = variables;
    const double big = utGetRealMax();
    size_t lowerCount = 0;
    size_t upperCount = 0;
    for (size_t i = 0; i < n; ++i) {
        // Strict: a lower bound of exactly −BIG and an upper one of BIG count as absent, and so do
        // the infinities beyond them and NaN.
        if (lb(i, 0) > -big) {
            indexLB.get()[i] = 0;
            ++lowerCount;
        }
        if (ub(i, 0) < big) {
            indexUB.get()[i] = 0;
            ++upperCount;
        }
    }
    OPTsizes::setmLB(lowerCount);
    OPTsizes::setmUB(upperCount);
    OPTsizes::setmFixed(0);  // a variable with lb = ub is two bounds, not a fixed variable
    blb = gatherBounds(indexLB.get(), n, lowerCount, lb, -1.0);
    bub = gatherBounds(indexUB.get(), n, upperCount, ub, 1.0);
    bfixed.reset(0, 1);
    Afixed.reset(0, n);
}

namespace {

// Bound rows are written out when first asked for, so that either side may lack them.
void assignRows(OPTMatrix<double>& target,
                const OPTMatrix<double>& source,
                const BoundRows& ofSource) {
    if (source.size() != 0) {
        target = source;
    } else if (target.size() != 0) {
        ofSource.writeOut(target);
    }
}

}  // namespace

LinearConstraint& LinearConstraint::operator=(const LinearConstraint& other) {
    if (this == &other) {
        return *this;
    }
    IoptConstraint::operator=(other);
    A = other.A;
    b = other.b;
    Aeq = other.Aeq;
    beq = other.beq;
    lb = other.lb;
    ub = other.ub;
    indexLB = other.indexLB;
    indexUB = other.indexUB;
    indexFixed = other.indexFixed;
    assignRows(Alb, other.Alb, lowerRows(other.indexLB, other.blb, other.variables));
    blb = other.blb;
    assignRows(Aub, other.Aub, upperRows(other.indexUB, other.bub, other.variables));
    bub = other.bub;
    Afixed = other.Afixed;
    bfixed = other.bfixed;
    variables = other.variables;
    return *this;
}

void LinearConstraint::reportConstraintInfo() {}

OPTMatrix<double> LinearConstraint::Ax(const OPTMatrix<double>& x) {
    return A * x;
}

OPTMatrix<double> LinearConstraint::ARow(size_t i) {
    return A.row(i);
}

OPTMatrix<double> LinearConstraint::Aeqx(const OPTMatrix<double>& x) {
    return Aeq * x;
}

OPTMatrix<double> LinearConstraint::AeqRow(size_t i) {
    return Aeq.row(i);
}

OPTMatrix<double> LinearConstraint::Afixedx(const OPTMatrix<double>& x) {
    return Afixed * x;
}

OPTMatrix<double> LinearConstraint::AfixedRow(size_t i) {
    return Afixed.row(i);
}

OPTMatrix<double> LinearConstraint::Albx(const OPTMatrix<double>& x) {
    return lowerRows(indexLB, blb, variables).times(x);
}

OPTMatrix<double> LinearConstraint::AlbRow(size_t i) {
    return lowerRows(indexLB, blb, variables).row(i);
}

OPTMatrix<double> LinearConstraint::Aubx(const OPTMatrix<double>& x) {
    return upperRows(indexUB, bub, variables).times(x);
}

OPTMatrix<double> LinearConstraint::AubRow(size_t i) {
    return upperRows(indexUB, bub, variables).row(i);
}

OPTMatrix<double>& LinearConstraint::getAlb() {
    if (Alb.size() == 0) {
        lowerRows(indexLB, blb, variables).writeOut(Alb);
    }
    return Alb;
}

OPTMatrix<double>& LinearConstraint::getAub() {
    if (Aub.size() == 0) {
        upperRows(indexUB, bub, variables).writeOut(Aub);
    }
    return Aub;
}
