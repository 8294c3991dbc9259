// Batches: reads problems from the caller's arrays, solves each like a single one, and writes the
// results to the caller's arrays.
#include "activeset/batch.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "frontend/sequence.hpp"
#include "frontend/team.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

void write(const std::vector<double>& values,
           const VectorsOut& out,
           std::size_t k,
           std::size_t size) {
    if (out.data == nullptr) {
        return;
    }
    double* const place = out.data + k * (out.stride != 0 ? out.stride : size);
    if (values.size() == size) {
        std::copy(values.begin(), values.end(), place);
    } else {
        std::fill_n(place, size, NaN);
    }
}

void write(const Result& result, const BatchOut& out, std::size_t k, const Problem& shape) {
    const std::size_t n = frontend::variablesOf(shape);
    write(result.x, out.x, k, n);
    write(result.y, out.y, k, shape.A.rows());
    write(result.z, out.z, k, n);
    if (out.objective != nullptr) {
        out.objective[k] = result.x.size() == n ? result.objective : NaN;
    }
    if (out.status != nullptr) {
        // Bytes: it may be an array of int.
        std::memcpy(out.status + k, &result.status, sizeof result.status);
    }
    if (out.certificate != nullptr) {
        out.certificate[k] = result.certificate;
    }
    if (out.iterations != nullptr) {
        out.iterations[k] = result.iterations;
    }
}

/// The work of one thread.
class Worker {
public:
    Worker(const ProblemBatch& problems,
           const BatchOut& out,
           const ManySettings& settings,
           frontend::Team& team)
        : problems_(problems),
          out_(out),
          isChained_(settings.chain > 1),
          areMatricesShared_(problems.H.isShared() && problems.A.isShared()),
          team_(team) {}

    /// Solves until there is nothing left. Returns how many problems it has proved optimal.
    std::size_t work() noexcept {
        const FloatingPointGuard environment;
        std::size_t optimal = 0;
        while (const auto piece = team_.next()) {
            for (std::size_t k = 0; k < piece->count; ++k) {
                solve(piece->first + k, k == 0 || !isChained_);
                write(result_, out_, piece->first + k, problems_[0]);
                optimal += result_.status == Status::Optimal ? 1 : 0;
            }
            team_.report(piece->count);
        }
        return optimal;
    }

private:
    void solve(std::size_t k, bool isFirst) noexcept {
        try {
            if (const std::optional<Status> end = team_.endBefore()) {
                result_ = {};
                result_.status = *end;
                return;
            }
            if (!each_) {
                each_ = team_.each();
            }
            team_.limit(*each_);
            const Problem problem = problems_[k];
            begin(problem, isFirst);
            constexpr bool IsTimed = false;
            const std::size_t n = frontend::variablesOf(problem);
            const std::size_t limit = frontend::automaticLimit(n, problem.A.rows());
            frontend::Control control(*each_, limit, IsTimed);
            sequence_->solve(problem, nullptr, *each_, control, result_);
        } catch (...) {
            result_ = {};
            sequence_.reset();
        }
    }

    void begin(const Problem& problem, bool isFirst) {
        if (!sequence_) {
            sequence_ = std::make_unique<frontend::Sequence>();
            if (areMatricesShared_) {
                sequence_->shareMatrices(problem);
            }
        }
        if (areMatricesShared_) {
            sequence_->changeVectors();
        } else {
            sequence_->changeMatrices();
        }
        if (isFirst) {
            sequence_->beginAt(problem.start);
        }
    }

    const ProblemBatch& problems_;
    const BatchOut& out_;
    bool isChained_;
    bool areMatricesShared_;
    frontend::Team& team_;
    std::optional<Settings> each_;  // one copy: its stop token is counted
    std::unique_ptr<frontend::Sequence> sequence_;
    Result result_;  // whose memory serves for all
};

}  // namespace

std::size_t solveBatch(const ProblemBatch& problems,
                       const BatchOut& out,
                       const ManySettings& settings) {
    const FloatingPointGuard environment;
    frontend::requireNoSolve();
    frontend::Team team(problems.count, settings);
    std::atomic<std::size_t> optimal = 0;
    team.run([&] { optimal += Worker(problems, out, settings, team).work(); });
    return optimal;
}

}  // namespace activeset
