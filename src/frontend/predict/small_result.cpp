// Only here the small road asks for memory: for the result's.
#include "frontend/predict/small_result.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/problem/constraints.hpp"
#include "frontend/proof/farkas.hpp"
#include "frontend/proof/gap_correction.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

/// Constraints `first` to `first + count` by side, `mark` being their signs and 0 for no member.
void list(const SmallMemory& m,
          std::size_t first,
          std::size_t count,
          std::vector<std::size_t>& equal,
          std::vector<std::size_t>& atLower,
          std::vector<std::size_t>& atUpper) {
    const auto kindOf = [&](std::size_t k) {
        const std::size_t i = first + k;
        const double mark = m.values[i];
        return m.lower[i] == m.upper[i] ? &equal
               : mark == 0.0            ? nullptr
               : mark > 0.0             ? &atUpper
                                        : &atLower;
    };
    std::size_t sizes[3] = {0, 0, 0};
    std::vector<std::size_t>* const lists[3] = {&equal, &atLower, &atUpper};
    for (std::size_t k = 0; k < count; ++k) {
        for (std::size_t kind = 0; kind < 3; ++kind) {
            sizes[kind] += kindOf(k) == lists[kind] ? 1U : 0U;
        }
    }
    for (std::size_t kind = 0; kind < 3; ++kind) {
        lists[kind]->reserve(sizes[kind]);
    }
    for (std::size_t k = 0; k < count; ++k) {
        if (auto* const members = kindOf(k)) {
            members->push_back(k);
        }
    }
}

WorkingSet workingSetOf(SmallMemory& m, const SmallDual& dual) {
    const SmallShape& shape = m.shape;
    std::fill_n(m.values, shape.constraints(), 0.0);
    for (std::size_t k = 0; k < dual.factor().size(); ++k) {
        m.values[dual.constraintOf(k)] = m.sign[k];
    }
    WorkingSet set;
    list(m, 0, shape.m, set.equalities, set.rowsAtLower, set.rowsAtUpper);
    list(m, shape.rows(), shape.n, set.fixed, set.atLower, set.atUpper);
    return set;
}

Vector startOf(const Problem& problem, const Data& data) {
    Vector x(data.n, 0.0);
    if (problem.warmStart != nullptr) {
        std::copy_n(problem.warmStart->x.begin(), std::min(data.n, problem.warmStart->x.size()),
                    x.begin());
    } else if (!problem.start.empty()) {
        std::copy_n(problem.start.data(), data.n, x.begin());
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        x[j] = std::isfinite(x[j]) ? x[j] : 0.0;
        x[j] = std::min(std::max(x[j], data.lower[j]), data.upper[j]);
    }
    return x;
}

// As of any other contradiction that was predicted: for points of all sizes that matter.
std::optional<Farkas> provedContradiction(const Data& data, Vector y) {
    constexpr double ProofTolerance = 1e-9;
    constexpr double Far = 1e12;
    Farkas farkas = judgeFarkas(data, std::move(y));
    const double size = leastSize(data);
    if (!holds(farkas, ProofTolerance, size) || !(farkas.radius >= Far * size)) {
        return std::nullopt;
    }
    return farkas;
}

void take(Result& result, Point point, const Judgement& judgement) {
    result.x = std::move(point.x);
    result.y = std::move(point.y);
    result.z = std::move(point.z);
    result.objective = judgement.objective;
    result.certificate = judgement.certificate;
}

}  // namespace

Result optimumOf(const Problem& problem,
                 SmallMemory& memory,
                 const SmallDual& dual,
                 const Judgement& judgement,
                 double tolerance) {
    constexpr double WorthIt = 1e-10;  // an absolute gap above this is made smaller if it can be
    const SmallShape& shape = memory.shape;
    const double* const z = memory.multipliers + shape.rows();
    Point point{Vector(memory.x, memory.x + shape.n),
                Vector(memory.multipliers, memory.multipliers + shape.m), Vector(z, z + shape.n)};
    Result result;
    result.status = Status::Optimal;
    result.wasPredicted = true;
    result.workingSet = workingSetOf(memory, dual);
    Judgement best = judgement;
    if (best.certificate.gap.absolute > WorthIt) {
        balance(copyOf(problem), result.workingSet, tolerance, point, best);
    }
    take(result, std::move(point), best);
    return result;
}

std::optional<Result> contradictionOf(const Problem& problem,
                                      const SmallMemory& memory,
                                      const SmallDual& dual) {
    const SmallShape& shape = memory.shape;
    Vector y(shape.m, 0.0);
    const auto set = [&](std::size_t i, double value) {
        if (i < shape.m) {
            y[i] = value * memory.inverseNorm[i];
        }
    };
    set(dual.newcomer(), dual.newcomersSign());
    for (std::size_t k = 0; k < dual.factor().size(); ++k) {
        set(dual.constraintOf(k), -memory.sign[k] * memory.p[k]);
    }
    const Data data = copyOf(problem);
    std::optional<Farkas> farkas = provedContradiction(data, std::move(y));
    if (!farkas) {
        return std::nullopt;
    }
    Result result;
    result.status = Status::Infeasible;
    result.farkas = std::move(farkas);
    if (problem.warmStart != nullptr && problem.warmStart->workingSet.size() != 0) {
        result.workingSet = Sides(data, problem.warmStart->workingSet).workingSet();
    }
    Point start{startOf(problem, data), Vector(data.m, 0.0), Vector(data.n, 0.0)};
    const Judgement judgement = judge(data, start);
    take(result, std::move(start), judgement);
    return result;
}

}  // namespace activeset::frontend
