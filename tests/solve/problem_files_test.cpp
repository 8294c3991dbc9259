// Real problems from files: the known optimum, the optimality conditions, and the outcome and
// number of passes of an independent implementation.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "activeset/one_sided.hpp"
#include "io/reader.hpp"
#include "solve/call.hpp"
#include "solve/optimality.hpp"
#include "support/fixture.hpp"
#include "support/shared.hpp"

namespace activeset::test {
namespace {

using nlohmann::json;

/// The problem with rows instead of columns.
Problem plain(const io::Model& file) {
    const OneSidedRows split = oneSidedRows(io::viewsOf(file));
    const auto rows = [n = file.n()](const Numbers& columns, size_t m) {
        Rows result(m, Numbers(n));
        for (size_t k = 0; k < columns.size(); ++k) {
            result[k % m][k / m] = columns[k];
        }
        return result;
    };
    return {rows(file.H, file.n()),
            file.c,
            rows(split.A, split.b.size()),
            split.b,
            rows(split.Aeq, split.beq.size()),
            split.beq,
            file.lower,
            file.upper};
}

/// The results of the independent implementation for a file; null where it was not run.
json referenceOf(const std::string& name) {
    const auto file = shared("reference/problems.json");
    const json all = file.empty() ? json::array() : sharedJson(file);
    const auto found = std::find_if(all.begin(), all.end(), [&](const json& entry) {
        return entry.at("file") == name + ".QPS";
    });
    return found == all.end() ? json() : *found;
}

struct KnownOptimum {
    double value;
    double accuracy;  // relative
};

/// The optimum in the table beside the files; nothing for a file that is not in the table.
std::optional<KnownOptimum> knownOptimum(const std::string& name) {
    std::ifstream table(shared("problems/maros/optimal_values.csv"));
    for (std::string line; std::getline(table, line);) {
        std::ranges::replace(line, ',', ' ');
        std::istringstream fields(line);
        std::string problem;
        KnownOptimum known{};
        if (fields >> problem >> known.value >> known.accuracy && "maros/" + problem == name) {
            return known;
        }
    }
    return std::nullopt;
}

class ProblemFiles : public FreshState, public ::testing::WithParamInterface<std::string> {};

TEST_P(ProblemFiles, EndAsExpected) {
    const auto file = shared("problems/" + GetParam() + ".QPS");
    if (file.empty()) {
        GTEST_SKIP() << NothingShared;
    }
    const io::Model content = io::readModel(file);
    const Problem problem = plain(content);
    const json reference = referenceOf(GetParam());
    const auto rows = static_cast<int>(problem.c.size() + problem.b.size() + problem.beq.size());
    const Result result = solve(problem, {std::max(10 * rows, 200), 1e-6, 1e-6});
    const double f = result.f + content.constant;
    const bool isHs268 = GetParam() == "maros/HS268";
    const bool isSamePath = !reference.is_null() && reference.at("same_path_on_two_blas");
    if (isSamePath) {
        const double expected = reference.at("fstar");
        ASSERT_EQ(result.state, reference.at("exitflag").get<int>());
        EXPECT_NEAR(f, expected, 1e-9 * (1.0 + std::abs(expected)));
        EXPECT_EQ(lastSolveReport().phaseOneIterations, reference.at("passes_phase_one"));
        // All multipliers of HS268 vanish at its optimum, so rounding in some kernels saves a pass.
        EXPECT_GE(lastSolveReport().iterations,
                  reference.at("passes").get<int>() - (isHs268 ? 1 : 0));
        EXPECT_LE(lastSolveReport().iterations, reference.at("passes"));
    } else if (result.state != ASQP::Optimal) {
        // Rounding chooses the path, and so decides whether a singular reduced Hessian occurs. With
        // a positive definite H it cannot occur.
        EXPECT_EQ(result.state, ASQP::HessianNotPositiveDefinite);
        EXPECT_FALSE(eliminate(problem.H, problem.c, 1e-10)) << "H is not singular";
    }
    if (isSamePath) {
        EXPECT_LE(residuals(problem, result.x, result.lambda).primal, 1e-6);
    }
    if (result.state == ASQP::Optimal) {
        expectOptimal(problem, result.x, result.lambda, 1e-6);
        if (const auto known = knownOptimum(GetParam())) {
            // The exact optimum of HS268 is 0, so no relative accuracy exists.
            const double scale = isHs268 ? 1e2 : std::abs(known->value);
            EXPECT_NEAR(f, known->value, std::max(1e-7, known->accuracy) * scale + 1e-12);
        } else if (!reference.is_null()) {
            const double expected = reference.at("fstar");
            EXPECT_NEAR(f, expected, 1e-7 * std::abs(expected));
        }
    }
}

bool isSlow(const std::string& name) {
    const std::array<std::string, 6> slow{"maros/CVXQP1_M", "maros/CVXQP3_M", "maros/GOULDQP2",
                                          "maros/QPCBOEI1", "maros/QPCSTAIR", "maros/QSCSD1"};
    return std::ranges::find(slow, name) != slow.end();
}

/// The files that exist; without any, a name whose test is skipped.
std::vector<std::string> files(bool slow) {
    std::vector<std::string> result;
    for (const std::string folder : {"maros", "mpc"}) {
        const auto path = shared("problems/" + folder);
        if (path.empty()) {
            return {"none"};
        }
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            const std::string name = folder + "/" + entry.path().stem().string();
            if (entry.path().extension() == ".QPS" && isSlow(name) == slow) {
                result.push_back(name);
            }
        }
    }
    std::ranges::sort(result);
    return result;
}

std::string nameOf(const ::testing::TestParamInfo<std::string>& test) {
    return test.param.substr(test.param.find('/') + 1);
}

INSTANTIATE_TEST_SUITE_P(Quick, ProblemFiles, ::testing::ValuesIn(files(false)), nameOf);
INSTANTIATE_TEST_SUITE_P(Slow, ProblemFiles, ::testing::ValuesIn(files(true)), nameOf);

}  // namespace
}  // namespace activeset::test
