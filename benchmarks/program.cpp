#include "benchmarks/program.hpp"

#include <algorithm>
#include <utility>

#include "io/reader.hpp"

namespace activeset::bench {

activeset::Problem Program::view() const {
    return {.H = {H, H.empty() ? 0 : n, H.empty() ? 0 : n},
            .c = c,
            .A = {A, m, m == 0 ? 0 : n},
            .rowLower = rowLower,
            .rowUpper = rowUpper,
            .lower = lower,
            .upper = upper,
            .constant = constant,
            .start = start};
}

Program programOf(const Problem& problem) {
    Program program{.n = problem.n,
                    .m = problem.mIneq + problem.mEq,
                    .H = problem.H,
                    .c = problem.c,
                    .rowLower = std::vector<double>(problem.mIneq, -Infinity),
                    .rowUpper = problem.b,
                    .lower = problem.lb,
                    .upper = problem.ub,
                    .start = problem.x0};
    program.rowLower.insert(program.rowLower.end(), problem.beq.begin(), problem.beq.end());
    program.rowUpper.insert(program.rowUpper.end(), problem.beq.begin(), problem.beq.end());
    program.A.resize(program.m * problem.n);
    for (std::size_t j = 0; j < problem.n; ++j) {
        double* const column = program.A.data() + j * program.m;
        std::copy_n(problem.A.data() + j * problem.mIneq, problem.mIneq, column);
        std::copy_n(problem.Aeq.data() + j * problem.mEq, problem.mEq, column + problem.mIneq);
    }
    return program;
}

Program programOfFile(const std::string& path) {
    activeset::io::Model file = activeset::io::readModel(path);
    return {.n = file.n(),
            .m = file.m(),
            .H = std::move(file.H),
            .c = std::move(file.c),
            .A = std::move(file.A),
            .rowLower = std::move(file.rowLower),
            .rowUpper = std::move(file.rowUpper),
            .lower = std::move(file.lower),
            .upper = std::move(file.upper),
            .constant = file.constant};
}

}  // namespace activeset::bench
