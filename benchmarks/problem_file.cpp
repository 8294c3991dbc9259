#include "benchmarks/problem_file.hpp"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "activeset/one_sided.hpp"
#include "io/reader.hpp"

namespace activeset::bench {

Problem problemIn(const std::string& path) {
    activeset::io::Model file = activeset::io::readModel(path);
    OneSidedRows rows = oneSidedRows(activeset::io::viewsOf(file));
    Problem problem{.n = file.n(),
                    .mIneq = rows.b.size(),
                    .mEq = rows.beq.size(),
                    .H = std::move(file.H),
                    .c = std::move(file.c),
                    .A = std::move(rows.A),
                    .b = std::move(rows.b),
                    .Aeq = std::move(rows.Aeq),
                    .beq = std::move(rows.beq),
                    .lb = std::move(file.lower),
                    .ub = std::move(file.upper)};
    for (std::size_t j = 0; j < problem.n; ++j) {
        problem.x0.push_back(std::min(std::max(0.0, problem.lb[j]), problem.ub[j]));
    }
    return problem;
}

namespace {

void write(const std::vector<double>& values, std::ofstream& file) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes of doubles
    file.write(reinterpret_cast<const char*>(values.data()),
               static_cast<std::streamsize>(values.size() * sizeof(double)));
}

}  // namespace

void writeProblems(const std::vector<Problem>& problems, const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    for (std::size_t k = 0; k < problems.size(); ++k) {
        const Problem& problem = problems[k];
        const std::filesystem::path path = folder / (std::to_string(k) + ".bin");
        std::ofstream file(path, std::ios::binary);
        write({static_cast<double>(problem.n), static_cast<double>(problem.mIneq),
               static_cast<double>(problem.mEq)},
              file);
        for (const auto* values : {&problem.H, &problem.c, &problem.A, &problem.b, &problem.Aeq,
                                   &problem.beq, &problem.lb, &problem.ub}) {
            write(*values, file);
        }
        if (!file.flush()) {
            throw std::runtime_error(path.string() + " cannot be written");
        }
    }
}

}  // namespace activeset::bench
