// Writes results. The small road allocates memory only here.
#include "frontend/predict/small_result.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "frontend/problem/constraints.hpp"
#include "frontend/proof/farkas.hpp"
#include "frontend/proof/gap_correction.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

/// Lists constraints `first` to `first + count` by side. memory.values has the sign of a member, 0
/// for others.
void list(const SmallMemory& m,
          std::size_t first,
          std::size_t count,
          std::vector<std::size_t>& equal,
          std::vector<std::size_t>& atLower,
          std::vector<std::size_t>& atUpper) {
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = first + k;
        const double mark = m.values[i];
        if (m.lower[i] == m.upper[i]) {
            equal.push_back(k);
        } else if (mark != 0.0) {
            (mark > 0.0 ? atUpper : atLower).push_back(k);
        }
    }
}

void writeWorkingSet(SmallMemory& m, std::size_t size, WorkingSet& set) {
    const SmallShape& shape = m.shape;
    std::size_t counts[2][3] = {};  // of rows and bounds: equal, at the lower, at the upper side
    std::fill_n(m.values, shape.constraints(), 0.0);
    for (std::size_t k = 0; k < size; ++k) {
        const auto i = static_cast<std::size_t>(m.member[k]);
        m.values[i] = m.sign[k];
        ++counts[i < shape.rows() ? 0 : 1][m.isEquality[k] != 0.0 ? 0 : m.sign[k] < 0.0 ? 1 : 2];
    }
    std::vector<std::size_t>* const lists[2][3] = {
        {&set.equalities, &set.rowsAtLower, &set.rowsAtUpper},
        {&set.fixed, &set.atLower, &set.atUpper}};
    for (std::size_t part = 0; part < 2; ++part) {
        for (std::size_t kind = 0; kind < 3; ++kind) {
            lists[part][kind]->clear();
            lists[part][kind]->reserve(counts[part][kind]);
        }
    }
    list(m, 0, shape.m, set.equalities, set.rowsAtLower, set.rowsAtUpper);
    list(m, shape.rows(), shape.n, set.fixed, set.atLower, set.atUpper);
}

Vector startOf(const Problem& problem, const WarmStart& start, const ProblemData& data) {
    Vector x(data.n, 0.0);
    std::copy_n(start.x.begin(), std::min(data.n, start.x.size()), x.begin());
    if (start.x.empty() && problem.warmStart == nullptr && !problem.start.empty()) {
        std::copy_n(problem.start.data(), data.n, x.begin());
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        x[j] = std::isfinite(x[j]) ? x[j] : 0.0;
        x[j] = std::min(std::max(x[j], data.lower[j]), data.upper[j]);
    }
    return x;
}

// The test that all predicted contradictions have to pass.
std::optional<Farkas> provedContradiction(const ProblemData& data, Vector y) {
    Farkas farkas = judgeFarkas(data, std::move(y));
    const double size = leastSize(data);
    if (!holds(farkas, FarkasTolerance, size) || !(farkas.radius >= PredictedRadius * size)) {
        return std::nullopt;
    }
    return farkas;
}

/// Resets what the functions below do not write. x, y, z and the working set keep their memory.
void clear(Result& result) {
    result.exitCode = -5;
    result.hessianShift = 0.0;
    result.farkas.reset();
    result.direction.clear();
    result.directionResidual = {};
    result.faults.clear();
    result.message.clear();
    result.wasPredicted = false;
    result.iterations = {};
    result.workingSet.softViolated.clear();
    result.factors.reset();
}

void take(Result& result, Point point, const Judgement& judgement) {
    result.x = std::move(point.x);
    result.y = std::move(point.y);
    result.z = std::move(point.z);
    result.objective = judgement.objective;
    result.certificate = judgement.certificate;
}

}  // namespace

void writeOptimum(const Problem& problem,
                  const SmallOptimum& optimum,
                  bool isSetWanted,
                  Result& result) {
    SmallMemory& memory = optimum.memory;
    const SmallShape& shape = memory.shape;
    const double* const z = memory.multipliers + shape.rows();
    const bool isBalanced = !(optimum.judgement.certificate.gap.absolute > LargeGap);
    clear(result);
    result.status = Status::Optimal;
    result.wasPredicted = true;
    result.x.assign(memory.x, memory.x + shape.n);
    result.y.assign(memory.multipliers, memory.multipliers + shape.m);
    result.z.assign(z, z + shape.n);
    result.objective = optimum.judgement.objective;
    result.certificate = optimum.judgement.certificate;
    if (isSetWanted || !isBalanced) {
        writeWorkingSet(memory, optimum.size, result.workingSet);
    }
    if (!isBalanced) {
        Judgement best = optimum.judgement;
        Point point{std::move(result.x), std::move(result.y), std::move(result.z)};
        correctGap(copyOf(problem), result.workingSet, optimum.tolerance, point, best);
        take(result, std::move(point), best);
    }
}

bool writeContradiction(const Problem& problem,
                        const WarmStart& start,
                        const SmallMemory& memory,
                        const SmallDual& dual,
                        Result& result) {
    const SmallShape& shape = memory.shape;
    Vector y(shape.m, 0.0);
    const double unit = memory.inverseNorm[dual.newcomer()];  // so that the newcomer counts as 1
    const auto set = [&](std::size_t i, double value) {
        if (i < shape.m) {
            y[i] = value * (memory.inverseNorm[i] / unit);
        }
    };
    set(dual.newcomer(), dual.newcomersSign());
    for (std::size_t k = 0; k < dual.factor().size(); ++k) {
        set(dual.constraintOf(k), -memory.sign[k] * memory.p[k]);
    }
    const ProblemData data = copyOf(problem);
    std::optional<Farkas> farkas = provedContradiction(data, std::move(y));
    if (!farkas) {
        return false;
    }
    clear(result);
    result.status = Status::Infeasible;
    result.farkas = std::move(farkas);
    result.workingSet.clear();
    if (start.workingSet.size() != 0) {
        result.workingSet = Constraints(data, start.workingSet).workingSet();
    }
    Point point{startOf(problem, start, data), Vector(data.m, 0.0), Vector(data.n, 0.0)};
    const Judgement judgement = judge(data, point);
    take(result, std::move(point), judgement);
    result.objective = std::numeric_limits<double>::quiet_NaN();
    return true;
}

}  // namespace activeset::frontend
