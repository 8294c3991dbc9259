// The updated factor of a Schur complement, compared with one that is formed afresh.
#include "frontend/predict/working_factor.hpp"
#include "frontend/generator.hpp"
#include "frontend/problem/constraints.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using frontend::NamedColumns;
using frontend::WorkingFactor;

class WorkingFactors : public FreshState {};

/// n = 40 with 60 rows. Of rows 40 to 59 the even ones copy row i − 40, the odd ones nearly copy
/// it.
struct Rows {
    frontend::ProblemData data;
    frontend::Dense factor;

    explicit Rows(unsigned seed) {
        std::mt19937_64 bits(seed);
        std::normal_distribution<double> normal;
        data.n = 40;
        data.m = 60;
        frontend::LargeVector A(data.n * data.m, 0.0);
        std::ranges::generate(A, [&] { return normal(bits); });
        for (std::size_t i = 40; i < data.m; ++i) {
            for (std::size_t j = 0; j < data.n; ++j) {
                A[j * data.m + i] =
                    A[j * data.m + i - 40] + (i % 2 == 0 ? 0.0 : 1e-6 * normal(bits));
            }
        }
        data.A = std::move(A);
        factor = frontend::Dense(data.n, data.n);
        for (std::size_t j = 0; j < data.n; ++j) {
            factor(j, j) = 1.0 + 0.1 * static_cast<double>(j);
            for (std::size_t i = 0; i < j; ++i) {
                factor(i, j) = 0.1 * normal(bits);
            }
        }
    }
};

/// Members come and go, a few or many at a time: rotations remove them, new ones are appended.
TEST_F(WorkingFactors, SolveWithTheSetThatThereIs) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Rows rows(seed);
        NamedColumns columns(rows.data, rows.factor);
        WorkingFactor working(columns);
        std::mt19937_64 bits(seed);
        for (int step = 0; step < 40; ++step) {
            const unsigned stay = step % 3 == 0 ? 2 : 20;
            NamedColumns::List wanted;
            for (const std::size_t k : working.members()) {
                if (bits() % stay != 0) {
                    wanted.push_back(k);
                }
            }
            for (std::size_t k = bits() % 12; k < 100 && wanted.size() < 30; k += 1 + bits() % 12) {
                if (std::ranges::find(wanted, k) == wanted.end()) {
                    wanted.push_back(k);
                }
            }
            columns.name(wanted, working.members());
            working.setMembers(wanted);
            const NamedColumns::List& members = working.members();
            Numbers right(members.size());
            for (std::size_t i = 0; i < right.size(); ++i) {  // S·(1, 2, …)
                for (std::size_t k = 0; k < right.size(); ++k) {
                    right[i] += columns.inner(members[i], members[k]) * static_cast<double>(k + 1);
                }
            }
            working.solve(right.data());
            for (std::size_t k = 0; k < right.size() && !working.isDoubtful(); ++k) {
                EXPECT_NEAR(right[k], static_cast<double>(k + 1), 1e-5);
            }
            // Rows i and 40 + i are equal for even i: never both are members.
            for (std::size_t i = 0; i < 20; i += 2) {
                EXPECT_LE(std::ranges::count(members, i) + std::ranges::count(members, 40 + i), 1);
            }
        }
    }
}

/// By hand: H = I, rows (1, 0) and (1, 1e-6). Orthogonal to the first, the second is (0, 1e-6).
TEST_F(WorkingFactors, SeeWhatCancelsInTheSchurComplement) {
    frontend::ProblemData data;
    data.n = 2;
    data.m = 3;
    data.A.change() = {1.0, 1.0, 1.0, 0.0, 1e-6, 1e-10};
    frontend::Dense factor(2, 2);
    factor(0, 0) = factor(1, 1) = 1.0;
    NamedColumns columns(data, factor);
    WorkingFactor working(columns);
    columns.name({0, 1, 2}, {});
    working.setMembers({0});
    EXPECT_NEAR(working.projectionOf(1).own, 1e-12, 1e-22);
    EXPECT_EQ(working.projectionOf(2).own, 0.0);
    working.setMembers({0, 1});
    EXPECT_EQ(working.members().size(), 2U);
    EXPECT_TRUE(working.isDoubtful());
}

}  // namespace
}  // namespace activeset::test
