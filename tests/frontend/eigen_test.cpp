// Eigen's matrices give the problem that they show, in any storage.
#include "activeset/eigen.hpp"

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using activeset::eigen::map;
using activeset::eigen::view;
using Eigen::MatrixXd;
using Eigen::VectorXd;
using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

template <class Matrix>
concept CanBeViewed = requires(const Matrix& matrix) {
    view(matrix);
};

class EigenViews : public FreshState {};

MatrixView throughRef(const Eigen::Ref<const MatrixXd>& matrix) {
    return view(matrix);
}

// The same numbers by columns, by rows, as blocks of a larger matrix and with strides.
TEST_F(EigenViews, GiveTheBitsOfPlainMemory) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        const Sample s = randomSample(seed, 8, true);
        const auto n = static_cast<Eigen::Index>(s.n);
        const auto m = static_cast<Eigen::Index>(s.m);
        const MatrixXd H = Eigen::Map<const MatrixXd>(s.H.data(), n, n);
        const MatrixXd A = Eigen::Map<const MatrixXd>(s.A.data(), m, n);
        const RowMajor byRows = A;
        MatrixXd around = MatrixXd::Constant(m + 3, n + 2, std::nan(""));
        around.block(1, 2, m, n) = A;
        const MatrixXd turned = A.transpose();
        const Eigen::Map<const MatrixXd, 0, Eigen::OuterStride<>> strided(
            &around(1, 2), m, n, Eigen::OuterStride<>(m + 3));
        const Result expected = solve(s.view());
        for (const MatrixView& stored :
             {view(A), view(byRows), view(around.block(1, 2, m, n)), view(turned.transpose()),
              view(strided), throughRef(around.block(1, 2, m, n)), throughRef(A)}) {
            Problem problem = s.view();
            problem.H = view(H);
            problem.c = view(map(s.c));
            problem.A = stored;
            problem.rowUpper = view(map(s.rowUpper));
            const Result result = solve(problem);
            EXPECT_EQ(result.status, expected.status);
            EXPECT_EQ(result.x, expected.x);
            EXPECT_EQ(result.y, expected.y);
            EXPECT_EQ(map(result.x).data(), result.x.data());
        }
        EXPECT_EQ(view(byRows).data(), byRows.data());
        EXPECT_EQ(throughRef(A).data(), A.data());
    }
}

// An expression that needs a copy does not compile. Its view would point at memory that is gone.
TEST_F(EigenViews, RefuseWhatHasNoMemoryOfItsOwnAndStridesThatLeadNowhere) {
    MatrixXd A = MatrixXd::Identity(2, 2);
    static_assert(CanBeViewed<MatrixXd> && CanBeViewed<RowMajor> && CanBeViewed<Eigen::ArrayXXd>);
    static_assert(CanBeViewed<decltype(A.col(0))> && CanBeViewed<decltype(A.topRows(1))>);
    static_assert(!CanBeViewed<decltype(A + A)> && !CanBeViewed<decltype(A * A)>);
    static_assert(!CanBeViewed<decltype(A.row(0))> && !CanBeViewed<Eigen::MatrixXf>);
    const VectorXd c = VectorXd::Ones(2);
    for (const Eigen::Index stride : {-2, 0, 1}) {
        const Eigen::Map<const MatrixXd, 0, Eigen::OuterStride<>> overlapping(
            &A(0, 0), 2, 2, Eigen::OuterStride<>(stride));
        EXPECT_EQ(solve({.H = view(overlapping), .c = view(c)}).status, Status::Invalid);
    }
}

}  // namespace
}  // namespace activeset::test
