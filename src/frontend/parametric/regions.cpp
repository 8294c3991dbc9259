// Critical regions, found by crossing the facets of those that are known.
#include "activeset/regions.hpp"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <utility>

#include "frontend/parametric/implicit.hpp"
#include "host/floating_point.hpp"

namespace activeset {

using frontend::Dense;
using frontend::Hold;
using frontend::Triple;
using frontend::Vector;

namespace {

constexpr double Inside = 1e-9;  // by which a parameter may miss the sides of its region

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
           const RegionSettings& settings);

    void run();

private:
    /// Half-spaces normal·θ ≤ side.
    struct HalfSpaces {
        std::vector<Vector> normals;
        Vector sides;
    };

    void visit(const Vector& theta);
    [[nodiscard]] CriticalRegion regionOf(const Result& result,
                                          const Problem& at,
                                          const Vector& theta) const;
    void keep(HalfSpaces& spaces,
              const Dense& rate,
              std::size_t row,
              double factor,
              double room,
              const Vector& theta) const;
    [[nodiscard]] std::optional<Vector> facetCentre(const HalfSpaces& spaces, std::size_t k) const;
    void cross(std::size_t region);

    Regions* regions_;
    frontend::Data data_;
    Dense c_;
    Dense rows_;
    Dense bounds_;
    RegionSettings settings_;
};

Regions::Search::Search(Regions& regions,
                        const Problem& problem,
                        const Parameters& parameters,
                        const RegionSettings& settings)
    : regions_(&regions), data_(frontend::checkedCopy(problem, "Regions")), settings_(settings) {
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
    c_ = rates(parameters.c, data_.n, p, "c");
    rows_ = rates(parameters.rows, data_.m, p, "rows");
    bounds_ = rates(parameters.bounds, data_.n, p, "bounds");
    regions.n_ = data_.n;
    Dense H(data_.n, data_.n);
    H.values = data_.quadratic ? data_.H : H.values;
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
    frontend::Data at = data_;
    move(at.c, c_, theta);
    for (Vector* sides : {&at.rowLower, &at.rowUpper}) {
        move(*sides, rows_, theta);
    }
    for (Vector* sides : {&at.lower, &at.upper}) {
        move(*sides, bounds_, theta);
    }
    Problem problem{.H = {at.H, at.n, at.n},
                    .c = at.c,
                    .rowLower = at.rowLower,
                    .rowUpper = at.rowUpper,
                    .lower = at.lower,
                    .upper = at.upper};
    if (at.m != 0) {
        problem.A = MatrixView(at.A, at.m, at.n);
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

// factor·(rate(row)·(θ' − θ)) ≤ room, unless it holds in the whole box.
void Regions::Search::keep(HalfSpaces& spaces,
                           const Dense& rate,
                           std::size_t row,
                           double factor,
                           double room,
                           const Vector& theta) const {
    const std::size_t p = theta.size();
    Vector normal(p);
    double length = 0.0;
    for (std::size_t k = 0; k < p; ++k) {
        normal[k] = factor * rate(row, k);
        length = std::hypot(length, normal[k]);
    }
    if (!(length > 1e-12) || !std::isfinite(room)) {
        return;
    }
    double side = std::max(room, 0.0) / length, farthest = -side;
    for (std::size_t k = 0; k < p; ++k) {
        normal[k] /= length;
        side += normal[k] * theta[k];
        farthest += std::max(normal[k] * (regions_->least_[k] - theta[k]),
                             normal[k] * (regions_->most_[k] - theta[k]));
    }
    if (farthest > 0.0) {
        spaces.normals.push_back(std::move(normal));
        spaces.sides.push_back(side);
    }
}

CriticalRegion Regions::Search::regionOf(const Result& result,
                                         const Problem& at,
                                         const Vector& theta) const {
    const std::size_t n = data_.n, m = data_.m, p = theta.size();
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
    HalfSpaces spaces;
    const auto look = [&](Hold hold, std::size_t k, const Dense& multiplierRate, double multiplier,
                          const Dense& rate, double value, double lower, double upper) {
        if (!frontend::isHeld(hold)) {
            keep(spaces, rate, k, 1.0, upper - value, theta);
            keep(spaces, rate, k, -1.0, value - lower, theta);
        } else if (!frontend::isEquality(hold)) {
            const double sign = frontend::isAtLower(hold) ? 1.0 : -1.0;
            keep(spaces, multiplierRate, k, sign, -sign * multiplier, theta);
        }
    };
    // Of a constraint that is not held, against its own sides, which move, too.
    Dense rowRates(m, p), boundRates = moved.x;
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
    for (std::size_t k = 0; k < spaces.sides.size();) {
        if (facetCentre(spaces, k)) {
            ++k;
        } else {
            spaces.normals.erase(spaces.normals.begin() + static_cast<std::ptrdiff_t>(k));
            spaces.sides.erase(spaces.sides.begin() + static_cast<std::ptrdiff_t>(k));
        }
    }
    for (const Vector& normal : spaces.normals) {
        region.E.insert(region.E.end(), normal.begin(), normal.end());
    }
    region.e = spaces.sides;
    return region;
}

// The centre of the largest ball on facet k; none where the facet is empty, up to rounding. A
// linear program in θ and the radius.
std::optional<Vector> Regions::Search::facetCentre(const HalfSpaces& spaces, std::size_t k) const {
    constexpr double Thinnest = 1e-8;  // of the shortest edge of the box
    const std::size_t p = regions_->parameters(), count = spaces.sides.size();
    Dense A(count + 2 * p, p + 1);
    Vector lower(A.rows, -Infinity), upper(A.rows, Infinity), c(p + 1, 0.0), least(p + 1, 0.0);
    double shortest = Infinity;
    for (std::size_t i = 0; i < count; ++i) {
        double along = 0.0;
        for (std::size_t j = 0; j < p; ++j) {
            A(i, j) = spaces.normals[i][j];
            along += spaces.normals[i][j] * spaces.normals[k][j];
        }
        A(i, p) = i == k ? 0.0 : std::sqrt(std::max(0.0, 1.0 - along * along));
        upper[i] = spaces.sides[i];
    }
    lower[k] = upper[k];
    for (std::size_t j = 0; j < p; ++j) {
        A(count + j, j) = A(count + p + j, j) = 1.0;
        A(count + j, p) = 1.0;
        A(count + p + j, p) = -1.0;
        upper[count + j] = regions_->most_[j];
        lower[count + p + j] = regions_->least_[j];
        least[j] = -Infinity;
        shortest = std::min(shortest, regions_->most_[j] - regions_->least_[j]);
    }
    c[p] = -1.0;
    Vector most(p + 1, Infinity);
    most[p] = shortest;
    const Result result = solve({.c = c,
                                 .A = {A.values, A.rows, A.cols},
                                 .rowLower = lower,
                                 .rowUpper = upper,
                                 .lower = least,
                                 .upper = most});
    // In one dimension a facet is a point.
    if (!result || (p > 1 && result.x[p] < Thinnest * shortest)) {
        return std::nullopt;
    }
    return Vector(result.x.begin(), result.x.begin() + static_cast<std::ptrdiff_t>(p));
}

// Visits what is behind the facets of a region.
void Regions::Search::cross(std::size_t region) {
    const std::size_t p = regions_->parameters();
    HalfSpaces spaces;
    spaces.sides = regions_->regions_[region].e;
    const Vector E = regions_->regions_[region].E;
    double shortest = Infinity;
    for (std::size_t j = 0; j < p; ++j) {
        shortest = std::min(shortest, regions_->most_[j] - regions_->least_[j]);
    }
    for (std::size_t k = 0; k < spaces.sides.size(); ++k) {
        const auto first = E.begin() + static_cast<std::ptrdiff_t>(k * p);
        spaces.normals.emplace_back(first, first + static_cast<std::ptrdiff_t>(p));
    }
    for (std::size_t k = 0; k < spaces.sides.size() && regions_->isComplete_; ++k) {
        std::optional<Vector> theta = facetCentre(spaces, k);
        if (!theta) {
            continue;
        }
        constexpr double Beyond = 1e-6;  // of the shortest edge of the box
        bool isInBox = true;
        for (std::size_t j = 0; j < p; ++j) {
            (*theta)[j] += Beyond * shortest * spaces.normals[k][j];
            isInBox =
                isInBox && (*theta)[j] >= regions_->least_[j] && (*theta)[j] <= regions_->most_[j];
        }
        if (isInBox) {
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

std::optional<std::size_t> Regions::find(VectorView theta) const {
    const std::size_t p = parameters();
    if (theta.size() != p) {
        refuse("theta has " + std::to_string(theta.size()) + " entries, there are " +
               std::to_string(p) + " parameters");
    }
    for (std::size_t k = 0; k < p; ++k) {
        if (!(theta[k] >= least_[k] && theta[k] <= most_[k])) {
            return std::nullopt;
        }
    }
    for (std::size_t r = 0; r < regions_.size(); ++r) {
        const CriticalRegion& region = regions_[r];
        bool isInside = true;
        for (std::size_t i = 0; i < region.e.size() && isInside; ++i) {
            double value = -region.e[i];
            for (std::size_t k = 0; k < p; ++k) {
                value += region.E[i * p + k] * theta[k];
            }
            isInside = value <= Inside;
        }
        if (isInside) {
            return r;
        }
    }
    return std::nullopt;
}

std::vector<double> Regions::x(VectorView theta) const {
    const std::optional<std::size_t> place = find(theta);
    if (!place) {
        return {};
    }
    const CriticalRegion& region = regions_[*place];
    std::vector<double> point = region.offset;
    for (std::size_t j = 0; j < n_; ++j) {
        for (std::size_t k = 0; k < theta.size(); ++k) {
            point[j] += region.gain[j * theta.size() + k] * theta[k];
        }
    }
    return point;
}

}  // namespace activeset
