#include "benchmarks/front_end.hpp"

#include <algorithm>
#include <stdexcept>

namespace activeset::bench {

FrontProblem::FrontProblem(const Problem& problem)
    : problem_(&problem), lower_(problem.mIneq, -Infinity), upper_(problem.b) {
    const std::size_t m = problem.mIneq + problem.mEq;
    lower_.insert(lower_.end(), problem.beq.begin(), problem.beq.end());
    upper_.insert(upper_.end(), problem.beq.begin(), problem.beq.end());
    A_.resize(m * problem.n);
    for (std::size_t j = 0; j < problem.n; ++j) {
        std::copy_n(problem.A.data() + j * problem.mIneq, problem.mIneq, A_.data() + j * m);
        std::copy_n(problem.Aeq.data() + j * problem.mEq, problem.mEq,
                    A_.data() + j * m + problem.mIneq);
    }
}

Result FrontProblem::solve(activeset::Start start) const {
    const std::size_t n = problem_->n;
    Settings settings;
    settings.start = start;
    Result result = activeset::solve({.H = {problem_->H, n, n},
                                      .c = problem_->c,
                                      .A = {A_, upper_.size(), upper_.empty() ? 0 : n},
                                      .rowLower = lower_,
                                      .rowUpper = upper_,
                                      .lower = problem_->lb,
                                      .upper = problem_->ub,
                                      .start = problem_->x0},
                                     settings);
    if (!result) {
        throw std::runtime_error(std::string("front end: ") + textOf(result.status));
    }
    return result;
}

}  // namespace activeset::bench
