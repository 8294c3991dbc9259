// What is minimised: the interface that the solver sees, and its three implementations.
#ifndef ACTIVESET_OBJECTIVE_HPP
#define ACTIVESET_OBJECTIVE_HPP

#include <cstdint>
#include <string>

#include "activeset/export.hpp"
#include "activeset/matrix.hpp"

namespace activeset {
/// What an objective's type word says to the solver.
enum class ObjectiveKind : std::uint8_t { Quadratic, Linear, Other };
}  // namespace activeset

/// An objective: a value and a gradient at a point x, nVar × 1.
class ACTIVESET_API IoptObjective {
public:
    /// @param type  "QP" and "LP" are the words that the solver knows
    explicit IoptObjective(std::string type);
    IoptObjective(const IoptObjective&) = default;
    IoptObjective& operator=(const IoptObjective&) = default;
    virtual ~IoptObjective();

    /// The value at x, 1 × 1.
    [[nodiscard]] virtual OPTMatrix<double> fval(const OPTMatrix<double>& x) = 0;
    /// The gradient at x, nVar × 1.
    [[nodiscard]] virtual OPTMatrix<double> grad(const OPTMatrix<double>& x) = 0;

    [[nodiscard]] std::string getObjectiveType() const { return objectiveType; }
    /// Quadratic for "QP", Linear for "LP".
    [[nodiscard]] activeset::ObjectiveKind objectiveKind() const noexcept { return kind; }

    /// The same value and gradient, for the solver's passes: fval(x)(0, 0), and grad(x) written to
    /// g. The library's own classes make no temporary for it; of a class derived from them, and of
    /// any other, the two functions above are asked.
    [[nodiscard]] virtual double valueAt(const OPTMatrix<double>& x);
    virtual void gradientTo(const OPTMatrix<double>& x, OPTMatrix<double>& g);

private:
    std::string objectiveType;
    activeset::ObjectiveKind kind;
};

/// ½xᵀHx + cᵀx, type "QP". H is used as it is: never symmetrised, not even tested.
class ACTIVESET_API QPobjective : public IoptObjective {
public:
    /// Wraps H (n × n) and c (n × 1) without copying and sets OPTsizes::nVar to the columns of H.
    /// Raises the assertion "Size mismatch in QP problem setup." unless H has as many columns as c
    /// rows; nothing else is tested.
    QPobjective(const vxArray* H, const vxArray* c);
    QPobjective(const QPobjective&) = default;
    QPobjective& operator=(const QPobjective&) = default;
    ~QPobjective() override;

    /// ((0.5·xᵀ)·H)·x + cᵀ·x. Raises "Incompatible dimensions for matrix multiplication".
    [[nodiscard]] OPTMatrix<double> fval(const OPTMatrix<double>& x) override;
    /// H·x + c, also for an H that is not symmetric. Raises as fval.
    [[nodiscard]] OPTMatrix<double> grad(const OPTMatrix<double>& x) override;
    [[nodiscard]] double valueAt(const OPTMatrix<double>& x) override;
    void gradientTo(const OPTMatrix<double>& x, OPTMatrix<double>& g) override;

    /// Matrix assignment; raises when the shape differs.
    void setHessian(const OPTMatrix<double>& hessian) { H = hessian; }
    void setc(const OPTMatrix<double>& linear) { c = linear; }
    [[nodiscard]] OPTMatrix<double>& getHessian() noexcept { return H; }
    [[nodiscard]] OPTMatrix<double>& getc() noexcept { return c; }

private:
    [[nodiscard]] bool _isPlainAt(const OPTMatrix<double>& x) const;

    OPTMatrix<double> H;
    OPTMatrix<double> c;
};

/// cᵀx, type "LP".
class ACTIVESET_API LPobjective : public IoptObjective {
public:
    /// Wraps c (n × 1) and sets OPTsizes::nVar to its rows; 0 for a null array.
    explicit LPobjective(const vxArray* c = nullptr);
    LPobjective(const LPobjective&) = default;
    LPobjective& operator=(const LPobjective&) = default;
    ~LPobjective() override;

    /// cᵀ·x. Raises "Incompatible dimensions for matrix multiplication".
    [[nodiscard]] OPTMatrix<double> fval(const OPTMatrix<double>& x) override;
    /// A copy of c, whatever x is.
    [[nodiscard]] OPTMatrix<double> grad(const OPTMatrix<double>& x) override;
    void gradientTo(const OPTMatrix<double>& x, OPTMatrix<double>& g) override;

    void setc(const OPTMatrix<double>& cost) { c = cost; }
    [[nodiscard]] OPTMatrix<double>& getc() noexcept { return c; }

private:
    OPTMatrix<double> c;
};

/// The artificial variable γ, the last entry of y = (x, γ); type "LP".
class ACTIVESET_API PhaseOneObjective : public IoptObjective {
public:
    /// Copies the cost vector c ((n + 1) × 1, zeros and a last entry of 1) and sets
    /// OPTsizes::nVar to n + 1. Must be built before the PhaseOneConstraint.
    explicit PhaseOneObjective(const vxArray* c);
    PhaseOneObjective(const PhaseOneObjective&) = default;
    PhaseOneObjective& operator=(const PhaseOneObjective&) = default;
    ~PhaseOneObjective() override;

    /// γ. Raises "Index exceed number of row." for an empty y.
    [[nodiscard]] OPTMatrix<double> fval(const OPTMatrix<double>& y) override;
    /// A copy of c, whatever y is.
    [[nodiscard]] OPTMatrix<double> grad(const OPTMatrix<double>& y) override;
    [[nodiscard]] double valueAt(const OPTMatrix<double>& y) override;
    void gradientTo(const OPTMatrix<double>& y, OPTMatrix<double>& g) override;

    void setc(const OPTMatrix<double>& cost) { c = cost; }
    [[nodiscard]] OPTMatrix<double>& getLinearCoefficients() noexcept { return c; }

private:
    OPTMatrix<double> c;
};

#endif
