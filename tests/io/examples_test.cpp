// The shipped problems, read and evaluated at the optima that their formulas have.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <string>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

const std::filesystem::path Folder = std::filesystem::path(ACTIVESET_EXAMPLES_DIR) / "problems";

std::map<std::string, double> knownOptima() {
    std::ifstream file(Folder / "optima.csv");
    std::string line;
    std::getline(file, line);
    std::map<std::string, double> optima;
    while (std::getline(file, line)) {
        const std::size_t comma = line.find(',');
        optima[line.substr(0, comma)] = std::stod(line.substr(comma + 1));
    }
    return optima;
}

double objectiveAt(const Problem& problem, const Numbers& x) {
    double value = problem.constant;
    for (std::size_t j = 0; j < problem.n; ++j) {
        value += problem.c[j] * x[j];
        for (std::size_t i = 0; i < problem.n; ++i) {
            value += 0.5 * x[i] * problem.H[i + j * problem.n] * x[j];
        }
    }
    return value;
}

/// The largest entry of matrix·x − rhs, or −infinity if there is none.
double largestExcess(const Numbers& matrix, const Numbers& rhs, const Numbers& x) {
    double largest = -std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < rhs.size(); ++i) {
        double excess = -rhs[i];
        for (std::size_t j = 0; j < x.size(); ++j) {
            excess += matrix[i + j * rhs.size()] * x[j];
        }
        largest = std::max(largest, excess);
    }
    return largest;
}

Numbers scaled(Numbers values, double factor) {
    for (double& value : values) {
        value *= factor;
    }
    return values;
}

struct KnownPoint {
    const char* file;
    Numbers x;
    double objective;
    bool meetsARow;  ///< at least one row of A holds with equality there
};

TEST(ExampleProblems, HaveTheObjectiveOfTheirFormulasAtTheOptimum) {
    const std::vector<KnownPoint> points{
        {"hs21.qps", {2, 0}, 0.01 * 4 - 100, false},
        {"hs35.qps", {4.0 / 3, 7.0 / 9, 4.0 / 9}, 1.0 / 9, true},
        {"hs51.qps", {1, 1, 1, 1, 1}, 0, false},
        {"hs53.qps", {-33.0 / 43, 11.0 / 43, 27.0 / 43, -5.0 / 43, 11.0 / 43}, 176.0 / 43, false},
        {"hs76.qps", {3.0 / 11, 23.0 / 11, 0, 6.0 / 11}, -103.0 / 22, true},
        {"hs118.qps", {8, 49, 3, 1, 56, 0, 1, 63, 6, 3, 70, 12, 5, 77, 18}, 664.82045, true}};
    std::map<std::string, double> optima = knownOptima();
    for (const KnownPoint& point : points) {
        SCOPED_TRACE(point.file);
        const Problem problem = readProblem(Folder / point.file);
        ASSERT_EQ(problem.n, point.x.size());
        EXPECT_NEAR(objectiveAt(problem, point.x), point.objective, 1e-12);
        EXPECT_NEAR(optima.at(point.file), point.objective, 1e-12);
        for (const double sign : {1.0, -1.0}) {
            const double excess =
                largestExcess(scaled(problem.Aeq, sign), scaled(problem.beq, sign), point.x);
            EXPECT_LE(excess, 1e-14);
        }
        const double excess = largestExcess(problem.A, problem.b, point.x);
        EXPECT_LE(excess, 1e-14);
        EXPECT_EQ(excess > -1e-14, point.meetsARow);
        for (std::size_t j = 0; j < problem.n; ++j) {
            EXPECT_LE(problem.lb[j], point.x[j]);
            EXPECT_GE(problem.ub[j], point.x[j]);
        }
    }
}

TEST(ExampleProblems, AreTheOnesListedWithTheirOptima) {
    const std::map<std::string, double> optima = knownOptima();
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(Folder)) {
        if (entry.path().extension() == ".qps") {
            ++files;
            EXPECT_EQ(optima.count(entry.path().filename()), 1U) << entry.path();
            EXPECT_GT(readProblem(entry.path()).n, 0U);
        }
    }
    EXPECT_EQ(files, optima.size());
}

}  // namespace
}  // namespace activeset::io::tests
