// Checks that a result belongs to the problem, so that its working set can be differentiated.
#include "frontend/parametric/optimum.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

namespace {

[[noreturn]] void refuse(const char* caller, const std::string& text) {
    throw std::invalid_argument("activeset: " + std::string(caller) + ": " + text);
}

constexpr double WeaklyActive = 1e-9;  // of the largest term of the gradient, or of the row

bool touches(double value, double side, double scale) {
    return std::isfinite(side) &&
           std::abs(value - side) <= WeaklyActive * std::max(std::abs(side), scale);
}

// The side that the equality moves with, by the sign of its multiplier.
Hold equalityBy(double multiplier) {
    return multiplier >= 0.0 ? Hold::EqualUpper : Hold::EqualLower;
}

}  // namespace

ProblemData checkedCopy(const Problem& problem, const char* caller) {
    const std::vector<Fault> faults = faultsOf(problem);
    if (!faults.empty()) {
        refuse(caller, "the problem has faults: " + messageOf(faults));
    }
    if (!problem.rowPenalty.empty() || !problem.boundPenalty.empty()) {
        refuse(caller,
               "the problem has soft sides (rowPenalty, boundPenalty), which it cannot "
               "follow");
    }
    return copyOf(problem);
}

namespace {

std::shared_ptr<const ProblemData> dataOf(const Result& result,
                                          const Problem& problem,
                                          const char* caller) {
    auto data = std::make_shared<ProblemData>(checkedCopy(problem, caller));
    if (result.hessianShift != 0.0) {
        *data = frontend::shifted(*data, result.hessianShift);
    }
    return data;
}

std::shared_ptr<const KeptFactors> keptOf(const Result& result, const Problem& problem) {
    const bool belong = result.factors && result.factors->belongTo(result, problem);
    return belong ? result.factors : nullptr;
}

}  // namespace

Optimum::Optimum(const Result& result, const Problem& problem, const char* caller, Members members)
    : kept_(keptOf(result, problem)),
      ownData_(kept_ ? kept_->data() : dataOf(result, problem, caller)),
      data(*ownData_),
      point{result.x, result.y, result.z},
      rows(data.m, Hold::None),
      bounds(data.n, Hold::None) {
    if (result.status != Status::Optimal) {
        refuse(caller, "the result is not optimal but " + std::string(textOf(result.status)));
    }
    if (point.x.size() != data.n || point.z.size() != data.n || point.y.size() != data.m) {
        refuse(caller, "the result is of another problem: it has " +
                           std::to_string(point.x.size()) + " variables and " +
                           std::to_string(point.y.size()) + " rows, the problem " +
                           std::to_string(data.n) + " and " + std::to_string(data.m));
    }
    RowTerms terms = kept_ ? kept_->rows() : rowTermsOf(data, point.x);
    rowValues = std::move(terms.values);
    rowSizes = std::move(terms.sizes);
    if (members == Members::OfTheSet) {
        requireMembers(result.workingSet, caller);
    } else {
        holdByMultipliers(members == Members::Touched, caller);
    }
    if (!kept_) {
        requirePoint(result, caller);
    }
    findWeak();
}

const WorkingSystem* Optimum::keptSystem() const {
    return kept_ ? kept_->system() : nullptr;
}

double Optimum::sizeOfGradient() const {
    return std::max(
        {largestMagnitude(data.c), largestMagnitude(point.y), largestMagnitude(point.z)});
}

std::vector<std::size_t> Optimum::freeVariables() const {
    std::vector<std::size_t> free;
    free.reserve(data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        if (!isHeld(bounds[j])) {
            free.push_back(j);
        }
    }
    return free;
}

std::vector<std::size_t> Optimum::heldRows() const {
    std::vector<std::size_t> held;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (isHeld(rows[i])) {
            held.push_back(i);
        }
    }
    return held;
}

void Optimum::requireMembers(const WorkingSet& set, const char* caller) {
    const auto hold = [&](const std::vector<std::size_t>& members, const Vector& sides,
                          const Vector& others, std::vector<Hold>& holds, Hold side) {
        for (const std::size_t k : members) {
            if (k >= holds.size() || !std::isfinite(sides[k])) {
                refuse(caller,
                       "the result is of another problem: its working set holds a side "
                       "that the problem does not have");
            }
            // If the sides are equal both are held, whichever the set names.
            holds[k] = sides[k] != others[k]
                           ? side
                           : equalityBy(&holds == &rows ? point.y[k] : point.z[k]);
        }
    };
    hold(set.equalities, data.rowUpper, data.rowLower, rows, Hold::Upper);
    hold(set.rowsAtLower, data.rowLower, data.rowUpper, rows, Hold::Lower);
    hold(set.rowsAtUpper, data.rowUpper, data.rowLower, rows, Hold::Upper);
    hold(set.fixed, data.upper, data.lower, bounds, Hold::Upper);
    hold(set.atLower, data.lower, data.upper, bounds, Hold::Lower);
    hold(set.atUpper, data.upper, data.lower, bounds, Hold::Upper);
}

void Optimum::holdByMultipliers(bool touched, const char* caller) {
    const double gradient = sizeOfGradient();
    const double size = largestMagnitude(point.x);
    const auto hold = [&](double multiplier, double value, double lower, double upper,
                          double scale) {
        if (lower == upper) {
            return equalityBy(multiplier);
        }
        if (std::abs(multiplier) * scale > WeaklyActive * gradient) {
            if (!std::isfinite(multiplier < 0.0 ? lower : upper)) {
                refuse(caller,
                       "the result is of another problem: it has a multiplier for a side that the "
                       "problem does not have");
            }
            return multiplier < 0.0 ? Hold::Lower : Hold::Upper;
        }
        return touched && touches(value, lower, scale * size)   ? Hold::Lower
               : touched && touches(value, upper, scale * size) ? Hold::Upper
                                                                : Hold::None;
    };
    for (std::size_t i = 0; i < data.m; ++i) {
        rows[i] = hold(point.y[i], rowValues[i], data.rowLower[i], data.rowUpper[i], rowSizes[i]);
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        bounds[j] = hold(point.z[j], point.x[j], data.lower[j], data.upper[j], 1.0);
    }
}

// Whether the point satisfies the optimality conditions of these data, to what its certificate
// says and a little more.
void Optimum::requirePoint(const Result& result, const char* caller) {
    constexpr double LargestMiss = 1e-6;
    const double allowed = std::max({LargestMiss, 10.0 * result.certificate.dual.relative,
                                     10.0 * result.certificate.primal.relative});
    const double size = std::max(1.0, largestMagnitude(point.x));
    const auto requireSide = [&](double value, double side, double scale) {
        if (!(std::abs(value - side) <= allowed * std::max(std::abs(side), scale))) {
            refuse(caller,
                   "the result is of another problem: its point is not on the sides that "
                   "its working set holds");
        }
    };
    for (std::size_t i = 0; i < data.m; ++i) {
        if (isHeld(rows[i])) {
            requireSide(rowValues[i], isAtLower(rows[i]) ? data.rowLower[i] : data.rowUpper[i],
                        rowSizes[i] * size);
        }
    }
    const Vector curved = data.quadratic ? product(data.H, data.n, point.x) : Vector(data.n, 0.0);
    for (std::size_t j = 0; j < data.n; ++j) {
        if (isHeld(bounds[j])) {
            requireSide(point.x[j], isAtLower(bounds[j]) ? data.lower[j] : data.upper[j], size);
        }
        const double* column = data.columnOfA(j);
        double largest = 1.0 + std::abs(curved[j]) + std::abs(data.c[j]) + std::abs(point.z[j]);
        double sum = curved[j] + data.c[j] + point.z[j];
        for (std::size_t i = 0; i < data.m; ++i) {
            sum += column[i] * point.y[i];
            largest += std::abs(column[i] * point.y[i]);
        }
        if (!(std::abs(sum) <= allowed * largest)) {
            refuse(caller, "the result is of another problem: its multipliers do not fit");
        }
    }
}

void Optimum::findWeak() {
    const double gradient = sizeOfGradient();
    const double size = largestMagnitude(point.x);
    for (std::size_t i = 0; i < data.m; ++i) {
        const double scale = rowSizes[i];
        const double value = rowValues[i];
        const bool isOn = isHeld(rows[i]) ? !isEquality(rows[i])
                                          : touches(value, data.rowLower[i], scale * size) ||
                                                touches(value, data.rowUpper[i], scale * size);
        if (isOn && std::abs(point.y[i]) * scale <= WeaklyActive * gradient) {
            weakRows.push_back(i);
        }
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        const bool isOn = isHeld(bounds[j]) ? !isEquality(bounds[j])
                                            : touches(point.x[j], data.lower[j], size) ||
                                                  touches(point.x[j], data.upper[j], size);
        if (isOn && std::abs(point.z[j]) <= WeaklyActive * gradient) {
            weakBounds.push_back(j);
        }
    }
}

}  // namespace activeset::frontend
