// Derivatives of batches: one adjoint solve for each problem, on several threads.
#include "activeset/batch_sensitivity.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "frontend/parametric/implicit.hpp"
#include "frontend/team.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

using frontend::Hold;
using frontend::Implicit;
using frontend::Members;
using frontend::Optimum;
using frontend::Triple;

void require(const VectorBatch& vectors, std::size_t size, bool isNeeded, const char* what) {
    const bool isThere = vectors.first.data() != nullptr || vectors.first.empty();
    if (!isThere || (vectors.first.size() != size && (isNeeded || !vectors.first.empty()))) {
        throw std::invalid_argument("activeset: backwardBatch: " + std::string(what) +
                                    " has to have " + std::to_string(size) +
                                    " numbers for each problem");
    }
}

std::vector<double> copied(const VectorView& values) {
    return {values.data(), values.data() + values.size()};
}

double* placeOf(const VectorsOut& out, std::size_t k, std::size_t size) {
    return out.data == nullptr ? nullptr : out.data + k * (out.stride != 0 ? out.stride : size);
}

void fill(const VectorsOut& out, std::size_t k, std::size_t size, double value) {
    if (double* const place = placeOf(out, k, size); place != nullptr) {
        std::fill_n(place, size, value);
    }
}

// Column 0 of the solutions, each to the side that is held.
void writeSides(const std::vector<Hold>& holds,
                const double* values,
                const VectorsOut& lower,
                const VectorsOut& upper,
                std::size_t k) {
    fill(lower, k, holds.size(), 0.0);
    fill(upper, k, holds.size(), 0.0);
    for (std::size_t i = 0; i < holds.size(); ++i) {
        const VectorsOut& side = frontend::isAtLower(holds[i]) ? lower : upper;
        if (double* const place = placeOf(side, k, holds.size());
            place != nullptr && frontend::isHeld(holds[i])) {
            place[i] = values[i];
        }
    }
}

class GradientWorker {
public:
    GradientWorker(const ProblemBatch& problems,
                   const BatchSolution& solutions,
                   const BatchLoss& loss,
                   const BatchGradients& out,
                   frontend::Team& team)
        : problems_(problems),
          solutions_(solutions),
          loss_(loss),
          out_(out),
          n_(frontend::variablesOf(problems[0])),
          m_(problems.A.first.rows()),
          team_(team) {}

    std::size_t work() noexcept {
        const FloatingPointGuard environment;
        std::size_t found = 0;
        while (const auto piece = team_.next()) {
            for (std::size_t k = piece->first; k < piece->first + piece->count; ++k) {
                found += differentiate(k) ? std::size_t{1} : std::size_t{0};
            }
            team_.report(piece->count);
        }
        return found;
    }

private:
    bool differentiate(std::size_t k) noexcept {
        try {
            if (!team_.endBefore()) {
                write(implicitOf(k), k);
                return true;
            }
        } catch (...) {  // not an optimum, or no memory: none, and no other problem is spoiled
        }
        constexpr double None = std::numeric_limits<double>::quiet_NaN();
        fill(out_.c, k, n_, None);
        fill(out_.rowLower, k, m_, None);
        fill(out_.rowUpper, k, m_, None);
        fill(out_.lower, k, n_, None);
        fill(out_.upper, k, n_, None);
        if (out_.derivative != nullptr) {
            out_.derivative[k] = -1;
        }
        return false;
    }

    [[nodiscard]] Implicit implicitOf(std::size_t k) const {
        Result result;
        result.status = Status::Optimal;
        if (solutions_.status != nullptr) {
            // Bytes: it may be an array of int.
            std::memcpy(&result.status, solutions_.status + k, sizeof result.status);
        }
        result.x = copied(solutions_.x[k]);
        result.y = copied(solutions_.y[k]);
        result.z = copied(solutions_.z[k]);
        result.certificate = {{}, {}, {}};
        Implicit implicit(Optimum(result, problems_[k], "backwardBatch", Members::Strong));
        const Optimum& optimum = implicit.optimum();
        if (implicit.flat() == 0 || (optimum.weakRows.empty() && optimum.weakBounds.empty())) {
            return implicit;
        }
        return Implicit(Optimum(result, problems_[k], "backwardBatch", Members::Touched));
    }

    void write(const Implicit& implicit, std::size_t k) const {
        Triple adjoint(n_, m_, 1);
        const auto copy = [k](const VectorBatch& from, frontend::Dense& to) {
            std::copy_n(from[k].data(), from[k].size(), to.values.data());
        };
        copy(loss_.x, adjoint.x);
        copy(loss_.y, adjoint.y);
        copy(loss_.z, adjoint.z);
        implicit.solve(adjoint);
        if (double* const c = placeOf(out_.c, k, n_); c != nullptr) {
            std::transform(adjoint.x.values.begin(), adjoint.x.values.end(), c,
                           [](double entry) { return -entry; });
        }
        writeSides(implicit.optimum().rows, adjoint.y.values.data(), out_.rowLower, out_.rowUpper,
                   k);
        writeSides(implicit.optimum().bounds, adjoint.z.values.data(), out_.lower, out_.upper, k);
        if (out_.derivative != nullptr) {
            out_.derivative[k] = static_cast<std::int8_t>(implicit.derivative());
        }
    }

    const ProblemBatch& problems_;
    const BatchSolution& solutions_;
    const BatchLoss& loss_;
    const BatchGradients& out_;
    std::size_t n_;
    std::size_t m_;
    frontend::Team& team_;
};

}  // namespace

std::size_t backwardBatch(const ProblemBatch& problems,
                          const BatchSolution& solutions,
                          const BatchLoss& loss,
                          const BatchGradients& out,
                          const ManySettings& settings) {
    if (problems.count == 0) {
        return 0;
    }
    const std::size_t n = frontend::variablesOf(problems[0]);
    const std::size_t m = problems.A.first.rows();
    require(solutions.x, n, true, "solutions.x");
    require(solutions.y, m, true, "solutions.y");
    require(solutions.z, n, true, "solutions.z");
    require(loss.x, n, false, "loss.x");
    require(loss.y, m, false, "loss.y");
    require(loss.z, n, false, "loss.z");
    frontend::Team team(problems.count, settings);
    std::atomic<std::size_t> found = 0;
    team.run([&] { found += GradientWorker(problems, solutions, loss, out, team).work(); });
    return found;
}

}  // namespace activeset
