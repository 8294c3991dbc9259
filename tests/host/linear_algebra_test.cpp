// The product of arrays, and the wrappers of BLAS and LAPACK.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "host/lapack.hpp"
#include "matrix/views.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using ArrayProduct = FreshState;
using PlaneRotation = FreshState;
using LapackCalls = FreshState;

/// a·b, written to an array that held NaN.
Rows multiplied(const vxArray* a, const vxArray* b) {
    vxArray* product = vxCreateDoubleMatrix(vxGetM(a), vxGetN(b), vxComplexity::Real);
    std::fill_n(vxGetDoubles(product), vxGetNumberOfElements(product), NaN);
    vxMatrixMultiply(product, a, b);
    return rowsOf(product);
}

TEST_F(ArrayProduct, EveryStorageGivesTheSameProductOverStaleValues) {
    const Rows a{{1, 0, 2}, {0, -3, 0}};
    const Rows b{{4, 0}, {0, 5}, {6, 7}};
    const Rows x{{1}, {2}, {3}};
    const Rows ab{{16, 14}, {0, -15}};
    for (const vxArray* left : {array(a), sparse(a)}) {
        for (const vxArray* right : {array(b), sparse(b)}) {
            EXPECT_EQ(multiplied(left, right), ab);
        }
        for (const vxArray* right : {array(x), sparse(x)}) {
            EXPECT_EQ(multiplied(left, right), (Rows{{7}, {-6}}));
        }
    }
    EXPECT_EQ(multiplied(array({}, 0), array({}, 3)), Rows{});
    EXPECT_EQ(multiplied(array({{}, {}}), array({}, 3)), (Rows{{0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(multiplied(array({{}, {}}), array({}, 1)), (Rows{{0}, {0}}));
    // A NaN fills its row of the product, even where it is multiplied by zero.
    for (const Rows& factor : {Rows{{0}, {1}}, Rows{{0, 0}, {1, 1}}}) {
        const Rows product = multiplied(array({{NaN, 1}, {3, 4}}), array(factor));
        EXPECT_TRUE(std::isnan(product[0].back()));
        EXPECT_EQ(product[1].back(), 4.0);
    }
}

TEST_F(ArrayProduct, ShapesClassesAndAliasesThatDoNotFitAreRaised) {
    vxArray* square = array({{1, 2}, {3, 4}});
    const vxArray* tall = array({{1, 2}, {3, 4}, {5, 6}});
    const struct {
        vxArray* product;
        const vxArray *a, *b;
    } cases[] = {{array({{0, 0}, {0, 0}}), square, tall},
                 {array({{0, 0}, {0, 0}}), tall, square},
                 {array({{0, 0, 0}, {0, 0, 0}}), square, square},
                 {square, square, array({{1, 0}, {0, 1}})},
                 {square, array({{1, 0}, {0, 1}}), square},
                 {sparse({{1, 1}, {1, 1}}), square, square}};
    for (const auto& c : cases) {
        expectRaises(ArrayErrorIdentifier, "The shapes of a product do not fit.",
                     [&] { vxMatrixMultiply(c.product, c.a, c.b); });
    }
    expectRaises(ArrayErrorIdentifier, "A product needs arrays of doubles.",
                 [&] { vxMatrixMultiply(square, vxCreateCharArray("a"), tall); });
}

TEST_F(PlaneRotation, TurnsAPairOfAnyMagnitudeIntoItsLengthAndZero) {
    const double pairs[][2] = {{3, 4},           {-4, 3},         {4, -3},         {-3, -4},
                               {3e-200, 4e-200}, {3e300, -4e300}, {1e-200, 1e300}, {3e-308, 3e-308},
                               {1, 0},           {0, -2}};
    for (const auto& [a, b] : pairs) {
        SCOPED_TRACE(::testing::Message() << a << ", " << b);
        const blas::Rotation rotation = blas::rotg(a, b);
        const double length = std::hypot(a, b);
        EXPECT_NEAR(rotation.c * rotation.c + rotation.s * rotation.s, 1.0, 8 * Eps);
        EXPECT_NEAR(std::abs(rotation.r) / length, 1.0, 8 * Eps);
        EXPECT_NEAR(rotation.c * (a / length) + rotation.s * (b / length), rotation.r / length,
                    8 * Eps);
        double x = a;
        double y = b;
        blas::rot(1, &x, 1, &y, 1, rotation);
        EXPECT_LE(std::abs(y), 8 * Eps * length);
    }
    const blas::Rotation none = blas::rotg(0.0, 0.0);
    EXPECT_EQ(std::vector<double>({none.c, none.s, none.r}), (std::vector<double>{1, 0, 0}));
}

/// Runs the call with all workspace requests granted and with the larger one refused: `check` must
/// hold after both. With both requests refused the call is out of memory.
template <class Prepare, class Call, class Check>
void withAndWithoutOptimum(Prepare prepare, Call call, Check check) {
    prepare();
    EXPECT_EQ(call(), 0);
    check();
    prepare();
    {
        SCOPED_TRACE("optimum refused");
        const AllocationFaults faults(1);
        EXPECT_EQ(call(), 0);
        EXPECT_TRUE(faults.hasFailed());
    }
    check();
    const AllocationFaults faults(1, 2);
    expectRaises(OutOfMemoryIdentifier, OutOfMemoryText, [&] { call(); });
}

TEST_F(LapackCalls, QRGivesTheFactorsAlsoWithTheMinimalWorkspace) {
    const Rows a{{3, 1, 0}, {0, 2, 0}, {4, -1, 0}};
    OPTMatrix<double> Q(3, 3);
    OPTMatrix<double> R(3, 3);
    std::vector<double> tau(2);
    withAndWithoutOptimum(
        [&] { Q = matrix(a); }, [&] { return lapack::geqrf(columns(Q, 0, 2), tau.data()); },
        [&] { EXPECT_NEAR(std::abs(Q(0, 0)), 5.0, 8 * Eps); });  // the length of column 0
    Q = matrix(a);
    ASSERT_EQ(lapack::geqrf(columns(Q, 0, 2), tau.data()), 0);
    R(0, 0) = Q(0, 0);
    R(0, 1) = Q(0, 1);
    R(1, 1) = Q(1, 1);
    const OPTMatrix<double> packed(Q);
    withAndWithoutOptimum(
        [&] { Q = packed; }, [&] { return lapack::orgqr(viewOf(Q), 2, tau.data()); },
        [&] {
            expectNear(Q * R, a, 20 * Eps);
            expectNear(Q.transpose() * Q, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 20 * Eps);
        });
}

TEST_F(LapackCalls, PivotsAre64BitAndOrderedByLength) {
    OPTMatrix<double> a(2, 3);
    std::vector<Int> pivots;
    std::vector<double> tau(2);
    const auto prepare = [&] {
        a = matrix({{1, 0, 3}, {0, 2, 0}});
        pivots.assign(3, 0);
    };
    withAndWithoutOptimum(
        prepare, [&] { return lapack::geqp3(viewOf(a), pivots.data(), tau.data()); },
        [&] { EXPECT_EQ(pivots[0] * 100 + pivots[1] * 10 + pivots[2], 321); });
}

TEST_F(LapackCalls, LeastSquaresSolvesTheTransposedSystemForEveryRightHandSide) {
    // A square system: the smallest workspace depends on the number of right-hand sides.
    OPTMatrix<double> a(3, 3);
    OPTMatrix<double> b(3, 5);
    withAndWithoutOptimum(
        [&] {
            a = matrix({{2, 1, 0}, {0, 1, 0}, {0, 0, 4}});
            b = matrix({{2, 0, 4, 6, 2}, {3, 2, 2, 4, 0}, {4, 8, 0, 4, 4}});
        },
        [&] { return lapack::gelsTransposed(viewOf(a), viewOf(b)); },
        [&] {
            expectNear(b, {{1, 0, 2, 3, 1}, {2, 2, 0, 1, -1}, {1, 2, 0, 1, 1}}, 100 * Eps);
        });
    a = matrix({{1, 0, 0}, {1, 0, 0}, {1, 0, 0}});
    b = matrix({{6, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}});
    EXPECT_EQ(lapack::gelsTransposed(columns(a, 0, 1), columns(b, 0, 1)), 0);
    expectNear(b.column(0), {{2}, {2}, {2}}, 50 * Eps);  // the shortest of x₁ + x₂ + x₃ = 6
}

TEST_F(LapackCalls, InfoIsPassedThroughAndIntegersAre64Bit) {
    OPTMatrix<double> indefinite = matrix({{4, 2}, {2, 0.5}});
    EXPECT_EQ(lapack::potrf(viewOf(indefinite)), 2);
    OPTMatrix<double> definite = matrix({{4, 2}, {2, 10}});
    OPTMatrix<double> rhs = matrix({{8}, {22}});
    EXPECT_EQ(lapack::potrf(viewOf(definite)), 0);
    EXPECT_EQ(rowsOf(definite), (Rows{{2, 1}, {2, 3}})) << "the factor is the upper triangle";
    EXPECT_EQ(lapack::potrs(viewOf(definite), viewOf(rhs)), 0);
    expectNear(rhs, {{1}, {2}}, 4 * Eps);

    OPTMatrix<double> singular = matrix({{1, 2}, {0, 0}});
    OPTMatrix<double> c = columnMatrix({4, 8});
    EXPECT_EQ(lapack::trtrs(viewOf(singular), viewOf(c)), 2);
    OPTMatrix<double> upper = matrix({{2, 1}, {99, 4}});  // 99 is not read
    EXPECT_EQ(lapack::trtrs(viewOf(upper), viewOf(c)), 0);
    EXPECT_EQ(rowsOf(c), (Rows{{1}, {2}}));

    // An order of 2³² + 1 is 1 in 32 bits, for which the leading dimension would suffice.
    Block huge = viewOf(upper);
    huge.rows = huge.cols = (Int{1} << 32U) + 1;
    EXPECT_EQ(lapack::potrf(huge), -4);
}

// Loops factorise and solve with small matrices, LAPACK with larger ones. Both give the same factor
// of a product of integers and the same solutions, and neither reads below the diagonal.
TEST_F(LapackCalls, CholeskyAndTriangularSolvesAgreeForSmallAndLargeMatrices) {
    const double NaN = std::numeric_limits<double>::quiet_NaN();
    for (const size_t n : {1U, 2U, 23U, 24U, 25U, 40U}) {
        SCOPED_TRACE(n);
        const auto factor = [](size_t i, size_t j) {
            return i == j ? 4.0 : i < j ? static_cast<double>((i + 2 * j) % 3) - 1.0 : 0.0;
        };
        const auto unknown = [](size_t i, size_t k) {
            return static_cast<double>(i % 5 + k) - 2.0;
        };
        const size_t leading = n + 2;
        std::vector<double> a(leading * n, NaN);
        std::vector<double> b(2 * n, 0.0);
        for (size_t i = 0; i < n; ++i) {
            for (size_t j = 0; j < n; ++j) {
                double entry = 0.0;
                for (size_t k = 0; k <= std::min(i, j); ++k) {
                    entry += factor(k, i) * factor(k, j);
                }
                a[j * leading + i] = i <= j ? entry : NaN;
                b[i] += entry * unknown(j, 0);
                b[n + i] += entry * unknown(j, 1);
            }
        }
        const Block matrix(a.data(), n, n, leading);
        const Block sides(b.data(), n, 2);
        ASSERT_EQ(lapack::potrf(matrix), 0);
        ASSERT_EQ(lapack::trtrsTransposed(matrix, sides), 0);
        ASSERT_EQ(lapack::trtrs(matrix, sides), 0);
        for (size_t i = 0; i < n; ++i) {
            EXPECT_NEAR(a[(n - 1) * leading + i], factor(i, n - 1), 1e-13);
            EXPECT_NEAR(b[i], unknown(i, 0), 1e-11);
            EXPECT_NEAR(b[n + i], unknown(i, 1), 1e-11);
        }
        a[(n - 1) * leading + n - 1] = 0.0;
        EXPECT_EQ(lapack::trtrs(matrix, sides), static_cast<Int>(n));
        EXPECT_EQ(lapack::trtrsTransposed(matrix, sides), static_cast<Int>(n));
        std::ranges::fill(a, 1.0);
        EXPECT_EQ(lapack::potrf(matrix), n == 1 ? 0 : 2);
    }
}

}  // namespace
}  // namespace activeset::test
