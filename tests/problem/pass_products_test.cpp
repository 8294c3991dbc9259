// Products, residuals, rows, values and gradients that the solver's passes compute have the bits of
// the plain functions, at any point. A class that overrides a plain function changes both.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

constexpr double Huge = std::numeric_limits<double>::max();
const Problem Example{.H = {{4, 1, 0}, {1, 3, -1}, {0.5, -1, 2}},
                      .c = {1, -2, 0.1},
                      .A = {{1, 2, 3}, {-0.1, 0, 7}},
                      .b = {0.3, 4},
                      .lb = {-1, -Inf, 0.1},
                      .ub = {Inf, 0.7, 2}};

/// Overrides one plain function of each kind, and nothing else.
class DoubledProducts : public LinearConstraint {
public:
    using LinearConstraint::LinearConstraint;
    [[nodiscard]] OPTMatrix<double> Ax(const OPTMatrix<double>& x) override {
        return LinearConstraint::Ax(x) * 2.0;
    }
    [[nodiscard]] OPTMatrix<double> Albconstr(const OPTMatrix<double>& x) override {
        return LinearConstraint::Albconstr(x) * 2.0;
    }
    [[nodiscard]] OPTMatrix<double> AubRow(size_t i) override {
        return LinearConstraint::AubRow(i) * 2.0;
    }
};

class Shifted : public QPobjective {
public:
    using QPobjective::QPobjective;
    [[nodiscard]] OPTMatrix<double> grad(const OPTMatrix<double>& x) override {
        return QPobjective::grad(x) - 1.0;
    }
    [[nodiscard]] OPTMatrix<double> fval(const OPTMatrix<double>& x) override {
        return QPobjective::fval(x) - 1.0;
    }
};

std::vector<std::uint64_t> bitsOf(std::span<const double> numbers) {
    std::vector<std::uint64_t> bits;
    for (const double number : numbers) {
        bits.push_back(std::isnan(number) ? 1 : std::bit_cast<std::uint64_t>(number));
    }
    return bits;
}

std::vector<std::uint64_t> bitsOf(const OPTMatrix<double>& m) {
    return bitsOf(std::span(m.getData(), m.size()));
}

class PassProducts : public FreshState {
protected:
    void expectSame(IoptConstraint& set, const std::vector<double>& point) {
        using Plain = OPTMatrix<double> (IoptConstraint::*)(const OPTMatrix<double>&);
        using Row = OPTMatrix<double> (IoptConstraint::*)(size_t);
        const struct {
            ConstraintKind kind;
            Plain product;
            Plain residual;
            Row row;
        } kinds[] = {{ConstraintKind::Inequality, &IoptConstraint::Ax, &IoptConstraint::Aconstr,
                      &IoptConstraint::ARow},
                     {ConstraintKind::LowerBound, &IoptConstraint::Albx, &IoptConstraint::Albconstr,
                      &IoptConstraint::AlbRow},
                     {ConstraintKind::UpperBound, &IoptConstraint::Aubx, &IoptConstraint::Aubconstr,
                      &IoptConstraint::AubRow}};
        const OPTMatrix<double> x = columnMatrix(point);
        for (const auto& each : kinds) {
            const ConstraintKind kind = each.kind;
            const OPTMatrix<double> products = (set.*each.product)(x);
            std::vector<double> out(products.size());
            set.productTo(kind, point, out);
            EXPECT_EQ(bitsOf(out), bitsOf(products));
            set.residualTo(kind, point, out);
            EXPECT_EQ(bitsOf(out), bitsOf((set.*each.residual)(x)));
            std::vector<double> written(point.size());
            for (size_t i = 0; i < products.size(); ++i) {
                set.rowTo(kind, i, written);
                EXPECT_EQ(bitsOf(written), bitsOf((set.*each.row)(i)));
            }
            expectRaises("optim:optimHstError:unhandledError", "Index exceed number of row.",
                         [&] { set.rowTo(kind, products.size(), written); });
            out.push_back(0.0);
            expectRaises("optim:optimHstError:unhandledError", "Index exceed number of row.",
                         [&] { set.productTo(kind, point, out); });
            expectRaises("optim:optimHstError:unhandledError",
                         "Incompatible dimensions for matrix multiplication",
                         [&] { set.residualTo(kind, std::vector<double>(7), out); });
        }
    }

    void expectSame(IoptObjective& objective, const std::vector<double>& point) {
        const OPTMatrix<double> x = columnMatrix(point);
        OPTMatrix<double> g(point.size(), 1);
        objective.gradientTo(x, g);
        EXPECT_EQ(bitsOf(g), bitsOf(objective.grad(x)));
        const double value = objective.valueAt(x);
        EXPECT_EQ(bitsOf(std::span(&value, 1)), bitsOf(objective.fval(x)));
    }
};

TEST_F(PassProducts, AreThoseOfThePlainFunctionsBitForBit) {
    const CallScope scope;
    const std::vector<double> points[] = {
        {0.1, 0.2, -0.3}, {1e200, -1e-300, 3}, {Inf, 1, 0}, {-Inf, NaN, -0.0}, {NaN, 0, Huge}};
    for (const auto& point : points) {
        const vxArray* const H = array(Example.H);
        const vxArray* const c = column(Example.c);
        QPobjective quadratic(H, c);
        Shifted shifted(H, c);
        LPobjective linear(c);
        expectSame(quadratic, point);
        expectSame(shifted, point);
        expectSame(linear, point);
        const vxArray* const data[] = {array(Example.A), column(Example.b),  array({}, 3),
                                       column({}),       column(Example.lb), column(Example.ub)};
        LinearConstraint plain(data[0], data[1], data[2], data[3], data[4], data[5]);
        expectSame(plain, point);
        DoubledProducts doubled(data[0], data[1], data[2], data[3], data[4], data[5]);
        expectSame(doubled, point);
        for (LinearConstraint* set : {&plain, static_cast<LinearConstraint*>(&doubled)}) {
            std::vector<double> extended = point;
            extended.push_back(0.7);
            PhaseOneObjective artificial(column({0, 0, 0, 1}));
            expectSame(artificial, extended);
            PhaseOneConstraint relaxed(set);
            expectSame(relaxed, extended);
            OPTsizes::setmUB(OPTsizes::getmUB() - 1);  // as its owner restores it
            OPTsizes::setnVar(3);
        }
    }
}

}  // namespace
}  // namespace activeset::test
