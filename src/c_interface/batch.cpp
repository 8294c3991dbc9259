// Many problems of one shape, from arrays to arrays.
#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

#include "c_interface/convert.hpp"
#include "c_interface/guard.hpp"
#include "c_interface/handles.hpp"

namespace c = activeset::c_interface;

namespace {

using activeset::Problem;
using activeset::Result;

/// How many results are held at a time, at least one chain.
constexpr std::size_t Share = 4096;

class Batch {
public:
    explicit Batch(const activeset_batch& given)
        : given_(given),
          count_(c::sizeOf(given.count)),
          n_(c::sizeOf(given.n)),
          m_(c::sizeOf(given.m)) {
        c::require(given.threads >= 0 && given.chain >= 0);
        c::require(given.A != nullptr || m_ == 0);
        zeros_.resize(given.c == nullptr ? n_ : 0);
        for (const std::int64_t stride :
             {given.H_stride, given.c_stride, given.A_stride, given.row_lower_stride,
              given.row_upper_stride, given.lower_stride, given.upper_stride}) {
            c::require(stride >= 0);
        }
    }

    void solve(activeset::ManySettings settings) const {
        using Clock = std::chrono::steady_clock;
        const auto begin = Clock::now();
        const auto limit = settings.timeLimit;
        const std::size_t chain = std::max<std::size_t>(settings.chain, 1);
        const std::size_t share = std::max<std::size_t>(Share / chain, 1) * chain;
        std::vector<Problem> problems;
        for (std::size_t first = 0; first < count_; first += share) {
            const std::size_t count = std::min(share, count_ - first);
            problems.resize(count);
            for (std::size_t k = 0; k < count; ++k) {
                problems[k] = problem(first + k);
            }
            settings.timeLimit = std::max(limit - (Clock::now() - begin), {});
            const std::vector<Result> results = activeset::solveMany(problems, settings);
            for (std::size_t k = 0; k < count; ++k) {
                write(results[k], first + k);
            }
        }
    }

private:
    static const double* part(const double* data, std::int64_t stride, std::size_t k) {
        return data == nullptr ? nullptr : data + static_cast<std::size_t>(stride) * k;
    }

    [[nodiscard]] Problem problem(std::size_t k) const {
        Problem problem;
        problem.H = c::matrixOf(part(given_.H, given_.H_stride, k), n_, n_, 0, given_.order);
        problem.c = given_.c == nullptr ? activeset::VectorView(zeros_)
                                        : c::vectorOf(part(given_.c, given_.c_stride, k), n_);
        problem.A = c::matrixOf(part(given_.A, given_.A_stride, k), m_, n_, 0, given_.order);
        problem.rowLower = c::vectorOf(part(given_.row_lower, given_.row_lower_stride, k), m_);
        problem.rowUpper = c::vectorOf(part(given_.row_upper, given_.row_upper_stride, k), m_);
        problem.lower = c::vectorOf(part(given_.lower, given_.lower_stride, k), n_);
        problem.upper = c::vectorOf(part(given_.upper, given_.upper_stride, k), n_);
        return problem;
    }

    static void copy(const std::vector<double>& values,
                     double* target,
                     std::size_t k,
                     std::size_t size) {
        if (target == nullptr) {
            return;
        }
        double* const place = target + k * size;
        if (values.size() == size) {
            std::copy(values.begin(), values.end(), place);
        } else {
            std::fill_n(place, size, std::numeric_limits<double>::quiet_NaN());
        }
    }

    void write(const Result& result, std::size_t k) const {
        copy(result.x, given_.x, k, n_);
        copy(result.y, given_.y, k, m_);
        copy(result.z, given_.z, k, n_);
        if (given_.status != nullptr) {
            given_.status[k] = static_cast<std::int32_t>(result.status);
        }
        if (given_.objective != nullptr) {
            given_.objective[k] = result.x.empty() && n_ != 0
                                      ? std::numeric_limits<double>::quiet_NaN()
                                      : result.objective;
        }
        if (given_.residuals != nullptr) {
            const activeset::Certificate& certificate = result.certificate;
            double* const place = given_.residuals + 3 * k;
            place[0] = certificate.primal.relative;
            place[1] = certificate.dual.relative;
            place[2] = certificate.gap.relative;
        }
    }

    const activeset_batch& given_;
    std::size_t count_;
    std::size_t n_;
    std::size_t m_;
    std::vector<double> zeros_;
};

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
        settings.threads = static_cast<unsigned>(known.threads);
        settings.chain = static_cast<std::size_t>(known.chain);
        settings.timeLimit = settings.each.timeLimit;
        c::require(settings.timeLimit.count() >= 0.0);
        Batch(known).solve(std::move(settings));
    });
}
