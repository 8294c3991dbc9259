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
    activeset::io::Problem file = activeset::io::readProblem(path);
    Problem problem{file.n, file.mIneq,          file.mEq, std::move(file.H), file.c, file.A,
                    file.b, std::move(file.Aeq), file.beq, file.lb,           file.ub};
    Program program = programOf(problem);
    program.constant = file.constant;
    return program;
}

}  // namespace activeset::bench
