// Looks whether a problem and a result are those that were kept.
#include "frontend/parametric/kept_factors.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/largest.hpp"
#include "frontend/problem/view_checks.hpp"

namespace activeset {

namespace {

using frontend::fits;
using frontend::ProblemData;
using frontend::Vector;

bool areSameBits(const double* a, const double* b, std::size_t count) {
    return count == 0 || std::memcmp(a, b, count * sizeof(double)) == 0;
}

bool isCopyOf(const double* values, const MatrixView& matrix) {
    const bool byColumns = matrix.order() == Order::ColumnMajor;
    const std::size_t length = matrix.rows();
    if (byColumns && matrix.leading() == length) {
        return areSameBits(values, matrix.data(), length * matrix.cols());
    }
    for (std::size_t j = 0; j < matrix.cols(); ++j) {
        const double* const column = values + j * length;
        if (byColumns) {
            if (!areSameBits(column, matrix.data() + j * matrix.leading(), length)) {
                return false;
            }
            continue;
        }
        for (std::size_t i = 0; i < length; ++i) {
            if (column[i] != matrix(i, j)) {
                return false;
            }
        }
    }
    return true;
}

// An H that is absent, or zero, has no copy.
bool isHessian(const ProblemData& data, const MatrixView& H) {
    if (!data.quadratic || H.empty()) {
        return !data.quadratic && H.rows() + H.cols() == 0;
    }
    if (!fits(H, data.n, data.n)) {
        return false;
    }
    // The copy is symmetric: its columns are its rows.
    return isCopyOf(data.H.data(), {H.data(), data.n, data.n, H.leading()});
}

bool isRows(const ProblemData& data, const MatrixView& A) {
    if (data.m * data.n == 0) {
        return A.cols() == 0 || A.cols() == data.n;
    }
    return !A.empty() && fits(A, data.m, data.n) && isCopyOf(data.A.data(), A);
}

bool areSides(const Vector& sides, const VectorView& given, double absent) {
    if (!fits(given, sides.size())) {
        return false;
    }
    for (std::size_t i = 0; i < sides.size(); ++i) {
        const bool isFault = !given.empty() && std::isinf(sides[i]) && given[i] * absent < 0.0;
        if (isFault || sides[i] != frontend::sideAt(given, i, absent)) {
            return false;
        }
    }
    return true;
}

bool isLinear(const Vector& c, const VectorView& given) {
    if (given.empty()) {
        return std::all_of(c.begin(), c.end(), [](double entry) { return entry == 0.0; });
    }
    return fits(given, c.size()) && areSameBits(c.data(), given.data(), c.size());
}

bool isCopyOf(const ProblemData& data, const Problem& problem) {
    return data.n == frontend::variablesOf(problem) && data.m == problem.A.rows() &&
           problem.rowPenalty.empty() && problem.boundPenalty.empty() &&
           std::isfinite(problem.constant) && fits(problem.start, data.n) &&
           frontend::areFinite(problem.start.data(), problem.start.size()) &&
           isLinear(data.c, problem.c) && areSides(data.rowLower, problem.rowLower, -Infinity) &&
           areSides(data.rowUpper, problem.rowUpper, Infinity) &&
           areSides(data.lower, problem.lower, -Infinity) &&
           areSides(data.upper, problem.upper, Infinity) && isRows(data, problem.A) &&
           isHessian(data, problem.H);
}

bool isKept(const Result& result) {
    return result.status == Status::Optimal && result.hessianShift == 0.0;
}

}  // namespace

frontend::RowTerms frontend::rowTermsOf(const ProblemData& data, const Vector& x) {
    RowTerms terms{product(data.A, data.m, x), Vector(data.m, 0.0)};
    for (std::size_t j = 0; j < data.n; ++j) {
        raiseToProducts(data.columnOfA(j), 1.0, terms.sizes.data(), data.m);
    }
    return terms;
}

KeptFactors::KeptFactors(std::shared_ptr<const ProblemData> data,
                         std::unique_ptr<const frontend::WorkingSystem> system,
                         const Result& result)
    : data_(std::move(data)),
      rows_(rowTermsOf(*data_, result.x)),
      system_(std::move(system)),
      point_{result.x, result.y, result.z},
      set_(result.workingSet) {}

bool KeptFactors::belongTo(const Result& result, const Problem& problem) const {
    return isKept(result) && result.x == point_.x && result.y == point_.y && result.z == point_.z &&
           result.workingSet == set_ && isCopyOf(*data_, problem);
}

namespace frontend {

std::shared_ptr<const KeptFactors> keptFactors(const SmallProblem& small,
                                               const Problem& problem,
                                               const Result& result) {
    if (!isKept(result)) {
        return nullptr;
    }
    auto data = std::make_shared<const ProblemData>(copyOf(problem));
    auto system = systemOf(small, result.workingSet);
    return std::make_shared<const KeptFactors>(std::move(data), std::move(system), result);
}

std::shared_ptr<const KeptFactors> keptFactors(std::shared_ptr<ProblemCache> cache,
                                               const Result& result) {
    if (!isKept(result)) {
        return nullptr;
    }
    auto system = systemOf(*cache, result.workingSet);
    const ProblemData* const data = &cache->user;
    return std::make_shared<const KeptFactors>(
        std::shared_ptr<const ProblemData>(std::move(cache), data), std::move(system), result);
}

}  // namespace frontend

}  // namespace activeset
