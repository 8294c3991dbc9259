// Critical regions, found by crossing the facets of those that are known.
#include "activeset/regions.hpp"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <utility>

#include "frontend/parametric/half_spaces.hpp"
#include "frontend/parametric/implicit.hpp"
#include "host/floating_point.hpp"

namespace activeset {

using frontend::Dense;
using frontend::HalfSpaces;
using frontend::Hold;
using frontend::Triple;
using frontend::Vector;

namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw std::invalid_argument("activeset: Regions: " + text);
}

// Written out, column-major; zero where the part is absent.
Dense rates(const MatrixView& given, std::size_t rows, std::size_t p, const char* name) {
    Dense result(rows, p);
    if (given.empty()) {
        return result;
    }
    if (given.rows() != rows || given.cols() != p || given.data() == nullptr ||
        given.available() < rows * p) {
        refuse(std::string(name) + " has to be " + std::to_string(rows) + " x " +
               std::to_string(p));
    }
    for (std::size_t k = 0; k < p; ++k) {
        for (std::size_t i = 0; i < rows; ++i) {
            if (!std::isfinite(given(i, k))) {
                refuse(std::string(name) + " has an entry that is not finite");
            }
            result(i, k) = given(i, k);
        }
    }
    return result;
}

void move(Vector& values, const Dense& by, const Vector& theta) {
    for (std::size_t k = 0; k < theta.size(); ++k) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] += by(i, k) * theta[k];
        }
    }
}

}  // namespace

class Regions::Search {
public:
    Search(Regions& regions,
           const Problem& problem,
           const Parameters& parameters,
           RegionSettings settings);

    void run();

private:
    void visit(const Vector& theta);
    [[nodiscard]] CriticalRegion regionOf(const Result& result,
                                          const Problem& at,
                                          const Vector& theta) const;
    void cross(std::size_t region);

    Regions* regions_;
    frontend::Box box_;
    frontend::ProblemData data_;
    Dense c_;
    Dense rows_;
    Dense bounds_;
    RegionSettings settings_;
};

Regions::Search::Search(Regions& regions,
                        const Problem& problem,
                        const Parameters& parameters,
                        RegionSettings settings)
    : regions_(&regions),
      data_(frontend::checkedCopy(problem, "Regions")),
      settings_(std::move(settings)) {
    const std::size_t p = parameters.least.size();
    if (p == 0 || parameters.most.size() != p) {
        refuse("least and most have to have an entry for each parameter");
    }
    for (std::size_t k = 0; k < p; ++k) {
        if (!(std::isfinite(parameters.least[k]) && std::isfinite(parameters.most[k]) &&
              parameters.least[k] < parameters.most[k])) {
            refuse("the box has to be finite, and least below most");
        }
        regions.least_.push_back(parameters.least[k]);
        regions.most_.push_back(parameters.most[k]);
    }
    box_ = {regions.least_, regions.most_};
    c_ = rates(parameters.c, data_.n, p, "c");
    rows_ = rates(parameters.rows, data_.m, p, "rows");
    bounds_ = rates(parameters.bounds, data_.n, p, "bounds");
    regions.n_ = data_.n;
    Dense H(data_.n, data_.n);
    H.values = data_.quadratic ? data_.H.copy() : H.values;
    if (data_.n == 0 || !factoriseUpper(H, 1e-14)) {
        refuse("H has to be positive definite");
    }
}

void Regions::Search::run() {
    const std::size_t p = regions_->parameters();
    Vector centre(p);
    for (std::size_t k = 0; k < p; ++k) {
        centre[k] = 0.5 * (regions_->least_[k] + regions_->most_[k]);
    }
    visit(centre);
    std::mt19937_64 bits(1);
    std::size_t crossed = 0;
    const auto crossAll = [&] {
        for (; crossed < regions_->regions_.size() && regions_->isComplete_; ++crossed) {
            cross(crossed);
        }
    };
    crossAll();
    for (std::size_t k = 0; k < settings_.samples && regions_->isComplete_; ++k) {
        Vector theta(p);
        for (std::size_t i = 0; i < p; ++i) {
            const double part = static_cast<double>(bits() >> 11U) * 0x1p-53;
            theta[i] = regions_->least_[i] + part * (regions_->most_[i] - regions_->least_[i]);
        }
        visit(theta);
        crossAll();
    }
}

// Adds the region of θ, unless it is known.
void Regions::Search::visit(const Vector& theta) {
    if (regions_->find(theta)) {
        return;
    }
    frontend::ProblemData at = data_;
    move(at.c, c_, theta);
    for (Vector* sides : {&at.rowLower, &at.rowUpper}) {
        move(*sides, rows_, theta);
    }
    for (Vector* sides : {&at.lower, &at.upper}) {
        move(*sides, bounds_, theta);
    }
    Problem problem{.H = {at.H.data(), at.n, at.n},
                    .c = at.c,
                    .rowLower = at.rowLower,
                    .rowUpper = at.rowUpper,
                    .lower = at.lower,
                    .upper = at.upper};
    if (at.m != 0) {
        problem.A = MatrixView(at.A.data(), at.m, at.n);
    }
    const Result result = solve(problem, settings_.each);
    if (!result) {
        regions_->isComplete_ = regions_->isComplete_ && result.status == Status::Infeasible;
        return;
    }
    CriticalRegion region = regionOf(result, problem, theta);
    const auto isKnown = [&](const CriticalRegion& other) {
        return other.workingSet == region.workingSet;
    };
    if (std::none_of(regions_->regions_.begin(), regions_->regions_.end(), isKnown)) {
        regions_->regions_.push_back(std::move(region));
        regions_->isComplete_ = regions_->regions_.size() < settings_.most;
    }
}

CriticalRegion Regions::Search::regionOf(const Result& result,
                                         const Problem& at,
                                         const Vector& theta) const {
    const std::size_t n = data_.n;
    const std::size_t m = data_.m;
    const std::size_t p = theta.size();
    const frontend::Implicit implicit(frontend::Optimum(result, at, "Regions"));
    const frontend::Optimum& optimum = implicit.optimum();
    Triple moved(n, m, p);
    moved.x = c_;
    moved.y = rows_;
    moved.z = bounds_;
    for (double& entry : moved.x.values) {
        entry = -entry;
    }
    implicit.solve(moved);
    HalfSpaces spaces(box_);
    const auto look = [&](Hold hold, std::size_t k, const Dense& multiplierRate, double multiplier,
                          const Dense& rate, double value, double lower, double upper) {
        if (!frontend::isHeld(hold)) {
            spaces.keep(rate, k, 1.0, upper - value, theta);
            spaces.keep(rate, k, -1.0, value - lower, theta);
        } else if (!frontend::isEquality(hold)) {
            const double sign = frontend::isAtLower(hold) ? 1.0 : -1.0;
            spaces.keep(multiplierRate, k, sign, -sign * multiplier, theta);
        }
    };
    // Of a constraint that is not held, against its own sides, which move, too.
    Dense rowRates(m, p);
    Dense boundRates = moved.x;
    for (std::size_t k = 0; k < p; ++k) {
        for (std::size_t j = 0; j < n; ++j) {
            frontend::axpy(moved.x(j, k), data_.columnOfA(j), rowRates.column(k), m);
        }
        frontend::axpy(-1.0, rows_.column(k), rowRates.column(k), m);
        frontend::axpy(-1.0, bounds_.column(k), boundRates.column(k), n);
    }
    for (std::size_t i = 0; i < m; ++i) {
        look(optimum.rows[i], i, moved.y, result.y[i], rowRates, optimum.rowValues[i],
             optimum.data.rowLower[i], optimum.data.rowUpper[i]);
    }
    for (std::size_t j = 0; j < n; ++j) {
        look(optimum.bounds[j], j, moved.z, result.z[j], boundRates, result.x[j],
             optimum.data.lower[j], optimum.data.upper[j]);
    }
    CriticalRegion region{.workingSet = result.workingSet, .offset = result.x};
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t k = 0; k < p; ++k) {
            region.gain.push_back(moved.x(j, k));
            region.offset[j] -= moved.x(j, k) * theta[k];
        }
    }
    spaces.removeRedundant();
    for (const Vector& normal : spaces.normals()) {
        region.E.insert(region.E.end(), normal.begin(), normal.end());
    }
    region.e = spaces.sides();
    return region;
}

// Visits what is behind the facets of a region.
void Regions::Search::cross(std::size_t region) {
    constexpr double StepBeyondFacet = 1e-6;  // of the shortest edge of the box
    const std::size_t p = box_.size();
    HalfSpaces spaces(box_);
    // A copy: visits add regions.
    const Vector E = regions_->regions_[region].E;
    const Vector e = regions_->regions_[region].e;
    for (std::size_t k = 0; k < e.size(); ++k) {
        const auto first = E.begin() + static_cast<std::ptrdiff_t>(k * p);
        spaces.add(Vector(first, first + static_cast<std::ptrdiff_t>(p)), e[k]);
    }
    for (std::size_t k = 0; k < e.size() && regions_->isComplete_; ++k) {
        std::optional<Vector> theta = spaces.facetCentre(k);
        if (!theta) {
            continue;
        }
        frontend::axpy(StepBeyondFacet * box_.shortestEdge(), spaces.normals()[k].data(),
                       theta->data(), p);
        if (box_.contains(*theta)) {
            visit(*theta);
        }
    }
}

Regions::Regions(const Problem& problem,
                 const Parameters& parameters,
                 const RegionSettings& settings) {
    const FloatingPointGuard environment;
    Search(*this, problem, parameters, settings).run();
}

}  // namespace activeset
