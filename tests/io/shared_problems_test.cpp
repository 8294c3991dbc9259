// Real problems, where the machine has them: compared with CoinUtils reading the same files.
#include <gtest/gtest.h>

#include <CoinMpsIO.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>

#include "io/read.hpp"
#include "support/shared.hpp"

namespace activeset::io::tests {
namespace {

/// CoinUtils drops blanks from names.
std::string withoutBlanks(std::string name) {
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return name;
}

/// The dense form against what CoinUtils makes of the file by itself. Its numbers are a few units
/// in the last place off, which is why they are compared relatively.
void compareWithCoin(const Problem& problem, const std::string& path) {
    CoinMpsIO coin;
    coin.messageHandler()->setLogLevel(0);
    ASSERT_EQ(coin.readMps(path.c_str(), ""), 0);
    ASSERT_EQ(problem.n, static_cast<std::size_t>(coin.getNumCols()));
    const double infinity = coin.getInfinity();
    std::size_t equality = 0;
    std::size_t inequality = 0;
    for (int row = 0; row < coin.getNumRows(); ++row) {
        const double lower = coin.getRowLower()[row];
        const double upper = coin.getRowUpper()[row];
        const double margin = 1e-12 * std::max(1.0, std::min(std::abs(lower), std::abs(upper)));
        if (lower == upper) {
            EXPECT_EQ(withoutBlanks(problem.equalityNames.at(equality)), coin.rowName(row));
            EXPECT_NEAR(problem.beq.at(equality++), upper, margin);
            continue;
        }
        if (upper < infinity) {
            EXPECT_EQ(withoutBlanks(problem.inequalities.at(inequality).row), coin.rowName(row));
            EXPECT_NEAR(problem.b.at(inequality++), upper, margin);
        }
        if (lower > -infinity) {
            EXPECT_FALSE(problem.inequalities.at(inequality).upper);
            EXPECT_NEAR(problem.b.at(inequality++), -lower, margin);
        }
    }
    EXPECT_EQ(problem.mEq, equality);
    EXPECT_EQ(problem.mIneq, inequality);
    for (std::size_t j = 0; j < problem.n; ++j) {
        EXPECT_EQ(withoutBlanks(problem.variableNames[j]), coin.columnName(static_cast<int>(j)));
        EXPECT_EQ(std::isfinite(problem.lb[j]), coin.getColLower()[j] > -infinity);
        EXPECT_EQ(std::isfinite(problem.ub[j]), coin.getColUpper()[j] < infinity);
        const double cost = coin.getObjCoefficients()[j];
        EXPECT_NEAR(problem.c[j], cost, 1e-14 * std::abs(cost));
    }
    EXPECT_NEAR(problem.constant, -coin.objectiveOffset(), 1e-12 * std::abs(problem.constant));
}

TEST(SharedProblems, AreReadAsCoinUtilsReadsThem) {
    const std::filesystem::path folder = test::shared("problems");
    if (folder.empty()) {
        GTEST_SKIP() << test::NothingShared;
    }
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".QPS") {
            SCOPED_TRACE(entry.path().filename());
            ++files;
            compareWithCoin(readProblem(entry.path()), entry.path());
        }
    }
    EXPECT_GT(files, 60);
}

}  // namespace
}  // namespace activeset::io::tests
