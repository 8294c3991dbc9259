// Writes results. The small road allocates memory only here.
#include "frontend/predict/small_result.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "frontend/predict/small_proof.hpp"
#include "frontend/problem/constraints.hpp"
#include "frontend/proof/farkas.hpp"
#include "frontend/proof/gap_correction.hpp"
#include "frontend/proof/gradient_weight.hpp"
#include "frontend/proof/sides_sum.hpp"

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

// memory.x := the point where the solve began, between the bounds, or as near to zero as they
// allow.
void setStart(const Problem& problem, const WarmStart& start, SmallMemory& m) {
    const std::size_t n = m.shape.n;
    std::fill_n(m.x, m.shape.head(), 0.0);
    std::copy_n(start.x.begin(), std::min(n, start.x.size()), m.x);
    if (start.x.empty() && problem.warmStart == nullptr && !problem.start.empty()) {
        std::copy_n(problem.start.data(), n, m.x);
    }
    for (std::size_t j = 0; j < n; ++j) {
        const std::size_t i = m.shape.rows() + j;
        const double x = std::isfinite(m.x[j]) ? m.x[j] : 0.0;
        m.x[j] = std::min(std::max(x, m.lower[i]), m.upper[i]);
    }
}

// memory.multipliers := those by which bounds balance the gradient at the point, none of rows; the
// memory gets the sums of both.
void setBoundMultipliers(SmallMemory& m) {
    const SmallShape& shape = m.shape;
    m.kernels.exactProduct(m.stack(), m.x, m.products);
    for (double* const sums : {m.pull.value, m.pull.rest, m.pull.scale}) {
        std::fill_n(sums, shape.head(), 0.0);
    }
    std::fill_n(m.multipliers, shape.constraints(), 0.0);
    for (std::size_t j = 0; j < shape.n; ++j) {
        const std::size_t i = shape.rows() + j;
        const double force = m.products.value[j] + m.c[j];
        const bool isRounding =
            std::abs(force) <= GradientRounding * (m.products.scale[j] + std::abs(m.c[j]));
        m.multipliers[i] = isRounding ? 0.0 : projected(-force, m.lower[i], m.upper[i]);
    }
}

// The test that all predicted contradictions have to pass.
std::optional<Farkas> provedContradiction(const SmallExtent& extent,
                                          const SmallMemory& m,
                                          Vector y) {
    const double told = extent.mostTold();
    std::optional<Farkas> farkas =
        judgeFarkas(constraintsOf(m), told > 0.0 ? told : 1.0,
                    {m.pull.value, m.pull.rest, m.pull.scale}, std::move(y));
    if (!holdsFar(*farkas, extent.leastTold())) {
        farkas.reset();
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

void writePoint(const SmallMemory& m, const Judgement& judgement, Result& result) {
    const double* const z = m.multipliers + m.shape.rows();
    result.x.assign(m.x, m.x + m.shape.n);
    result.y.assign(m.multipliers, m.multipliers + m.shape.m);
    result.z.assign(z, z + m.shape.n);
    result.objective = judgement.objective;
    result.certificate = judgement.certificate;
}

}  // namespace

void writeOptimum(const Problem& problem,
                  const SmallOptimum& optimum,
                  bool isSetWanted,
                  Result& result) {
    SmallMemory& memory = optimum.memory;
    const bool isBalanced = !(optimum.judgement.certificate.gap.absolute > LargeGap);
    clear(result);
    result.status = Status::Optimal;
    result.wasPredicted = true;
    writePoint(memory, optimum.judgement, result);
    if (isSetWanted || !isBalanced) {
        writeWorkingSet(memory, optimum.size, result.workingSet);
    }
    if (!isBalanced) {
        Judgement best = optimum.judgement;
        Point point{std::move(result.x), std::move(result.y), std::move(result.z)};
        correctGap(copyOf(problem), result.workingSet, optimum.tolerance, point, best);
        result.x = std::move(point.x);
        result.y = std::move(point.y);
        result.z = std::move(point.z);
        result.objective = best.objective;
        result.certificate = best.certificate;
    }
}

bool writeContradiction(const Problem& problem,
                        const WarmStart& start,
                        const SmallExtent& extent,
                        SmallMemory& m,
                        Result& result) {
    std::optional<Farkas> farkas =
        provedContradiction(extent, m, Vector(m.multipliers, m.multipliers + m.shape.m));
    if (!farkas) {
        return false;
    }
    clear(result);
    result.status = Status::Infeasible;
    result.farkas = std::move(farkas);
    result.workingSet.clear();
    if (start.workingSet.size() != 0) {
        result.workingSet = Constraints(copyOf(problem), start.workingSet).workingSet();
    }
    setStart(problem, start, m);
    setBoundMultipliers(m);
    writePoint(m, judge(m, extent, problem.constant), result);
    result.objective = std::numeric_limits<double>::quiet_NaN();
    return true;
}

}  // namespace activeset::frontend
