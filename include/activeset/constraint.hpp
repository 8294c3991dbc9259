// Linear constraints as the solver sees them, the set built from six host arrays, and the same set
// relaxed by one artificial variable for phase one.
#ifndef ACTIVESET_CONSTRAINT_HPP
#define ACTIVESET_CONSTRAINT_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "activeset/export.hpp"
#include "activeset/internal/index_list.hpp"
#include "activeset/matrix.hpp"

namespace activeset {
/// The kinds that can enter and leave a working set.
enum class ConstraintKind : std::uint8_t { Inequality, LowerBound, UpperBound };
}  // namespace activeset

/// Five kinds of constraints, always stacked in this order: fixed variables, equalities,
/// inequalities, lower bounds, upper bounds.
///
/// Every inequality kind reads rows·x ≤ rhs: a lower bound lb ≤ x_i is the row −x_i ≤ −lb, an
/// upper bound the row x_i ≤ ub. A residual rows·x − rhs is positive where it is violated. x is
/// nVar × 1, rows are 0-based; a product with an x of another length raises "Incompatible
/// dimensions for matrix multiplication", a row index beyond the matrix "Index exceed number of
/// row.".
class ACTIVESET_API IoptConstraint {
public:
    explicit IoptConstraint(std::string type);
    IoptConstraint(const IoptConstraint&) = default;
    IoptConstraint& operator=(const IoptConstraint&) = default;
    virtual ~IoptConstraint();

    virtual void reportConstraintInfo() = 0;
    /// Residuals of all constraints, OPTsizes::mConstr × 1 (1 × 1 zero when there are none).
    [[nodiscard]] virtual OPTMatrix<double> constrViolation(const OPTMatrix<double>& x) = 0;

    /// A·x, A·x − b, row i of A (1 × nVar); likewise for the other four kinds.
    [[nodiscard]] virtual OPTMatrix<double> Ax(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Aconstr(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> ARow(size_t i) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Aeqx(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Aeqconstr(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> AeqRow(size_t i) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Afixedx(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Afixedconstr(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> AfixedRow(size_t i) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Albx(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Albconstr(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> AlbRow(size_t i) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Aubx(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> Aubconstr(const OPTMatrix<double>& x) = 0;
    [[nodiscard]] virtual OPTMatrix<double> AubRow(size_t i) = 0;

    /// The matrices; getlb and getub are the bound vectors as given.
    [[nodiscard]] virtual OPTMatrix<double>& getA() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getb() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getAeq() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getbeq() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getAlb() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getblb() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getlb() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getAub() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getbub() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getub() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getAfixed() = 0;
    [[nodiscard]] virtual OPTMatrix<double>& getbfixed() = 0;

    /// Entry k is the variable of the k-th lower (upper) bound row; mLB (mUB) entries count.
    [[nodiscard]] virtual size_t* getindexLB() const = 0;
    [[nodiscard]] virtual size_t* getindexUB() const = 0;
    [[nodiscard]] virtual size_t* getindexFixed() const = 0;

    [[nodiscard]] std::string getProblemType() const { return problemType; }

    /// The same products, residuals and rows for the solver's passes, written to `out`: as many
    /// entries as `out` has, which must be there ("Index exceed number of row."); of a row nVar.
    /// The library's own classes make no temporary for it; of a class derived from them, and of any
    /// other, the functions above are asked.
    virtual void productTo(activeset::ConstraintKind kind,
                           std::span<const double> x,
                           std::span<double> out);
    virtual void residualTo(activeset::ConstraintKind kind,
                            std::span<const double> x,
                            std::span<double> out);
    virtual void rowTo(activeset::ConstraintKind kind, size_t i, std::span<double> out);

private:
    std::string problemType;
};

/// A·x ≤ b, Aeq·x = beq, lb ≤ x ≤ ub, over the caller's arrays; type "LinearConstraint".
class ACTIVESET_API LinearConstraint : public IoptConstraint {
public:
    /// Wraps the arrays without copying (null: no such constraints), splits the finite bounds into
    /// rows and sets every count of OPTsizes but nVar, which must already hold the number of
    /// variables n.
    ///
    /// @param A, b      mIneq × n and mIneq × 1
    /// @param Aeq, beq  mEq × n and mEq × 1
    /// @param lb, ub    at least n rows; lb ≤ −BIG, ub ≥ BIG and NaN mean no bound, BIG being the
    ///                  largest finite double
    /// @raises the assertions "Size mismatch in equality constraints." and "Size mismatch in
    ///         inequality constraints." when rows differ; "Index exceed number of row." for bounds
    ///         that are too short. Column counts show at the first product.
    LinearConstraint(const vxArray* A,
                     const vxArray* b,
                     const vxArray* Aeq,
                     const vxArray* beq,
                     const vxArray* lb,
                     const vxArray* ub);
    /// Copies share the three index lists. Assignment is that of every matrix: it raises when a
    /// shape differs.
    LinearConstraint(const LinearConstraint&) = default;
    LinearConstraint& operator=(const LinearConstraint& other);
    ~LinearConstraint() override;

    /// Does nothing.
    void reportConstraintInfo() override;
    [[nodiscard]] OPTMatrix<double> constrViolation(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> Ax(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> Aconstr(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> ARow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Aeqx(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> Aeqconstr(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> AeqRow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Afixedx(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> Afixedconstr(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> AfixedRow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Albx(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> Albconstr(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> AlbRow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Aubx(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> Aubconstr(const OPTMatrix<double>& x) override;
    [[nodiscard]] OPTMatrix<double> AubRow(size_t i) override;

    [[nodiscard]] OPTMatrix<double>& getA() override { return A; }
    [[nodiscard]] OPTMatrix<double>& getb() override { return b; }
    [[nodiscard]] OPTMatrix<double>& getAeq() override { return Aeq; }
    [[nodiscard]] OPTMatrix<double>& getbeq() override { return beq; }
    /// mLB × n and mUB × n; made when first asked for, since a bound's row has a single entry.
    [[nodiscard]] OPTMatrix<double>& getAlb() override;
    [[nodiscard]] OPTMatrix<double>& getblb() override { return blb; }
    [[nodiscard]] OPTMatrix<double>& getlb() override { return lb; }
    [[nodiscard]] OPTMatrix<double>& getAub() override;
    [[nodiscard]] OPTMatrix<double>& getbub() override { return bub; }
    [[nodiscard]] OPTMatrix<double>& getub() override { return ub; }
    [[nodiscard]] OPTMatrix<double>& getAfixed() override { return Afixed; }
    [[nodiscard]] OPTMatrix<double>& getbfixed() override { return bfixed; }
    [[nodiscard]] size_t* getindexLB() const override { return indexLB.get(); }
    [[nodiscard]] size_t* getindexUB() const override { return indexUB.get(); }
    [[nodiscard]] size_t* getindexFixed() const override { return indexFixed.get(); }

    void productTo(activeset::ConstraintKind kind,
                   std::span<const double> x,
                   std::span<double> out) override;
    void residualTo(activeset::ConstraintKind kind,
                    std::span<const double> x,
                    std::span<double> out) override;
    void rowTo(activeset::ConstraintKind kind, size_t i, std::span<double> out) override;

private:
    friend struct TestAccess;

    void setA(OPTMatrix<double>& matrix) { A = matrix; }
    void setb(OPTMatrix<double>& rhs) { b = rhs; }
    void setAeq(OPTMatrix<double>& matrix) { Aeq = matrix; }
    void setbeq(OPTMatrix<double>& rhs) { beq = rhs; }
    void setlb(OPTMatrix<double>& bounds) { lb = bounds; }
    void setub(OPTMatrix<double>& bounds) { ub = bounds; }
    void _setindexLB(const size_t* source);
    void _setindexUB(const size_t* source);
    void _setindexFixed(const size_t* source);
    void _createBoundAndFixedConstraints();
    [[nodiscard]] bool _productPlain(activeset::ConstraintKind kind,
                                     std::span<const double> x,
                                     std::span<double> out) const;

    OPTMatrix<double> A, b;
    OPTMatrix<double> Aeq, beq;
    OPTMatrix<double> lb, ub;
    activeset::IndexList indexLB, indexUB, indexFixed;  // nVar entries each
    OPTMatrix<double> Alb, blb;
    OPTMatrix<double> Aub, bub;
    OPTMatrix<double> Afixed, bfixed;
    size_t variables = 0;  // nVar at construction, the width of the bound rows
};

/// The constraints of y = (x, γ) in which every inequality and bound of another set is relaxed by
/// the artificial variable γ ≥ 0, the last one; type "PhaseI".
///
/// Keeps a pointer to the other set and asks it for everything. Equalities and fixed variables
/// are not relaxed, except in constrViolation, where γ is taken off every residual. The bound
/// −γ ≤ 0 is one more upper bound, the last. Right-hand sides and rows that getters answer with
/// are those of this set.
class ACTIVESET_API PhaseOneConstraint : public IoptConstraint {
public:
    /// Raises OPTsizes::mUB and mConstr by one; who builds it puts them back. OPTsizes::nVar must
    /// already count γ. When construction fails the counts are as before.
    explicit PhaseOneConstraint(IoptConstraint* underlying);
    PhaseOneConstraint(const PhaseOneConstraint&) = default;
    PhaseOneConstraint& operator=(const PhaseOneConstraint& other);
    ~PhaseOneConstraint() override;

    /// Asks the underlying set.
    void reportConstraintInfo() override;
    [[nodiscard]] OPTMatrix<double> constrViolation(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> Ax(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> Aconstr(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> ARow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Aeqx(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> Aeqconstr(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> AeqRow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Afixedx(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> Afixedconstr(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> AfixedRow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Albx(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> Albconstr(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> AlbRow(size_t i) override;
    [[nodiscard]] OPTMatrix<double> Aubx(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> Aubconstr(const OPTMatrix<double>& y) override;
    [[nodiscard]] OPTMatrix<double> AubRow(size_t i) override;

    /// The four row matrices have a column for γ and are made when asked for.
    [[nodiscard]] OPTMatrix<double>& getA() override;
    [[nodiscard]] OPTMatrix<double>& getb() override;
    [[nodiscard]] OPTMatrix<double>& getAeq() override;
    [[nodiscard]] OPTMatrix<double>& getbeq() override;
    [[nodiscard]] OPTMatrix<double>& getAlb() override;
    [[nodiscard]] OPTMatrix<double>& getblb() override;
    [[nodiscard]] OPTMatrix<double>& getlb() override;
    [[nodiscard]] OPTMatrix<double>& getAub() override;
    [[nodiscard]] OPTMatrix<double>& getbub() override { return bub; }
    [[nodiscard]] OPTMatrix<double>& getub() override;
    [[nodiscard]] OPTMatrix<double>& getAfixed() override;
    [[nodiscard]] OPTMatrix<double>& getbfixed() override;
    [[nodiscard]] size_t* getindexLB() const override;
    [[nodiscard]] size_t* getindexUB() const override { return indexUB.get(); }
    [[nodiscard]] size_t* getindexFixed() const override;

    void productTo(activeset::ConstraintKind kind,
                   std::span<const double> y,
                   std::span<double> out) override;
    void residualTo(activeset::ConstraintKind kind,
                    std::span<const double> y,
                    std::span<double> out) override;
    void rowTo(activeset::ConstraintKind kind, size_t i, std::span<double> out) override;

private:
    friend struct TestAccess;

    [[nodiscard]] bool _isPlain(std::span<const double> y) const;
    [[nodiscard]] static OPTMatrix<double> _addOneCol(const OPTMatrix<double>& row, double value);
    [[nodiscard]] static OPTMatrix<double> _addOneRow(const OPTMatrix<double>& column,
                                                      double value);
    [[nodiscard]] static OPTMatrix<double> _removeLastRow(const OPTMatrix<double>& column);

    IoptConstraint* underlying;
    activeset::IndexList indexUB;
    OPTMatrix<double> bub;
    OPTMatrix<double> rowsA, rowsAeq, rowsAlb, rowsAub, rowsAfixed;  // what the getters hand out
};

#endif
