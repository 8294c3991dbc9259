// Many problems of one shape, from arrays to arrays.
#include "activeset/batch.hpp"

#include <vector>

#include "c_interface/convert.hpp"
#include "c_interface/guard.hpp"
#include "c_interface/handles.hpp"

namespace c = activeset::c_interface;

namespace {

using activeset::Certificate;
using activeset::ProblemBatch;

std::size_t strideOf(std::int64_t given) {
    c::require(given >= 0);
    return static_cast<std::size_t>(given);
}

ProblemBatch problemsOf(const activeset_batch& given, const std::vector<double>& zeros) {
    const std::size_t n = c::sizeOf(given.n);
    const std::size_t m = c::sizeOf(given.m);
    c::require(given.A != nullptr || m == 0);
    ProblemBatch problems;
    problems.count = c::sizeOf(given.count);
    problems.H = {c::matrixOf(given.H, n, n, 0, given.order), strideOf(given.H_stride)};
    problems.c = {given.c == nullptr ? activeset::VectorView(zeros) : c::vectorOf(given.c, n),
                  given.c == nullptr ? 0 : strideOf(given.c_stride)};
    problems.A = {c::matrixOf(given.A, m, n, 0, given.order), strideOf(given.A_stride)};
    problems.rowLower = {c::vectorOf(given.row_lower, m), strideOf(given.row_lower_stride)};
    problems.rowUpper = {c::vectorOf(given.row_upper, m), strideOf(given.row_upper_stride)};
    problems.lower = {c::vectorOf(given.lower, n), strideOf(given.lower_stride)};
    problems.upper = {c::vectorOf(given.upper, n), strideOf(given.upper_stride)};
    return problems;
}

void solve(const activeset_batch& given, activeset::ManySettings settings) {
    c::require(given.threads >= 0 && given.chain >= 0 && settings.timeLimit.count() >= 0.0);
    settings.threads = static_cast<unsigned>(given.threads);
    settings.chain = static_cast<std::size_t>(given.chain);
    const std::vector<double> zeros(given.c == nullptr ? c::sizeOf(given.n) : 0);
    const ProblemBatch problems = problemsOf(given, zeros);
    std::vector<Certificate> certificates(given.residuals != nullptr ? problems.count : 0);
    activeset::BatchOut out;
    out.x.data = given.x;
    out.y.data = given.y;
    out.z.data = given.z;
    out.objective = given.objective;
    static_assert(sizeof(activeset::Status) == sizeof(std::int32_t));
    out.status = reinterpret_cast<activeset::Status*>(given.status);  // written as bytes
    out.certificate = certificates.empty() ? nullptr : certificates.data();
    activeset::solveBatch(problems, out, settings);
    for (std::size_t k = 0; k < certificates.size(); ++k) {
        given.residuals[3 * k] = certificates[k].primal.relative;
        given.residuals[3 * k + 1] = certificates[k].dual.relative;
        given.residuals[3 * k + 2] = certificates[k].gap.relative;
    }
}

}  // namespace

void activeset_batch_init(activeset_batch* batch) {
    if (batch != nullptr) {
        *batch = {};
        batch->struct_size = sizeof *batch;
    }
}

int activeset_solve_batch(const activeset_batch* batch, const activeset_options* options) {
    return c::guarded([&] {
        c::require(batch != nullptr);
        const activeset_batch known =
            c::known(batch, activeset_batch{}, offsetof(activeset_batch, residuals));
        activeset::ManySettings settings;
        settings.each = c::settingsOf(options);
        settings.timeLimit = settings.each.timeLimit;
        solve(known, std::move(settings));
    });
}
