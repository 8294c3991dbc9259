// Gradients from adjoint solutions, changes from direct ones.
#include "activeset/sensitivity.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

#include "frontend/algebra/outer_products.hpp"
#include "frontend/parametric/implicit.hpp"
#include "frontend/problem/view_checks.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

using frontend::Dense;
using frontend::fits;
using frontend::Hold;
using frontend::OuterProduct;
using frontend::ProblemData;
using frontend::Triple;

void require(bool isRight, const char* function, const char* what) {
    if (!isRight) {
        throw std::invalid_argument("activeset: Sensitivity::" + std::string(function) + ": " +
                                    what);
    }
}

void copyTo(Dense& target, const MatrixView& source) {
    for (std::size_t k = 0; k < source.cols(); ++k) {
        for (std::size_t i = 0; i < source.rows() && !source.empty(); ++i) {
            target(i, k) = source(i, k);
        }
    }
}

// y += factor·a·x, or aᵀ·x; a is empty or fits.
void addProduct(const MatrixView& a, bool transpose, double factor, const double* x, double* y) {
    for (std::size_t j = 0; j < a.cols() && !a.empty(); ++j) {
        for (std::size_t i = 0; i < a.rows(); ++i) {
            if (transpose) {
                y[j] += factor * a(i, j) * x[i];
            } else {
                y[i] += factor * a(i, j) * x[j];
            }
        }
    }
}

// Change of the side that is held.
double moved(Hold hold, const VectorView& lower, const VectorView& upper, std::size_t k) {
    const VectorView& side = frontend::isAtLower(hold) ? lower : upper;
    return !frontend::isHeld(hold) || side.empty() ? 0.0 : side[k];
}

// Column k of the solutions, over the sides that are held.
void toSides(const std::vector<Hold>& holds,
             const double* values,
             std::vector<double>& lower,
             std::vector<double>& upper,
             std::size_t k) {
    for (std::size_t i = 0; i < holds.size(); ++i) {
        if (frontend::isHeld(holds[i])) {
            (frontend::isAtLower(holds[i]) ? lower : upper)[k * holds.size() + i] = values[i];
        }
    }
}

// Appends the sum of outer products, a few columns at a time so that they stay in the cache from
// where they are made to where they are written.
void append(std::vector<double>& matrix,
            std::size_t rows,
            std::size_t cols,
            double factor,
            OuterProduct first,
            OuterProduct second) {
    constexpr std::size_t Together = 2048;  // entries
    const std::size_t most = std::max<std::size_t>(1, Together / std::max<std::size_t>(1, rows));
    for (std::size_t done = 0; done < cols; done += most) {
        const std::size_t width = std::min(most, cols - done);
        matrix.resize(matrix.size() + rows * width, 0.0);
        double* const target = matrix.data() + matrix.size() - rows * width;
        frontend::writeOuterProducts(factor, first, second, target, rows, width);
        first.row += width;
        second.row += width;
    }
}

MatrixView asColumn(const VectorView& vector) {
    return {vector.data(), vector.size(), vector.empty() ? std::size_t{0} : std::size_t{1}};
}

}  // namespace

const char* textOf(Derivative derivative) noexcept {
    switch (derivative) {
        case Derivative::Full:
            return "full";
        case Derivative::OneSided:
            return "one-sided";
        case Derivative::LeastSquares:
            break;
    }
    return "least-squares";
}

class Sensitivity::Factors {
public:
    Factors(const Result& result, const Problem& problem)
        : implicit_(frontend::Optimum(result, problem, "Sensitivity"),
                    frontend::Implicit::Factors::Kept) {
        const frontend::Optimum& optimum = implicit_.optimum();
        smoothness_.weakRows = optimum.weakRows;
        smoothness_.weakBounds = optimum.weakBounds;
        smoothness_.dependent = implicit_.dependent();
        smoothness_.flat = implicit_.flat();
        smoothness_.derivative = implicit_.derivative();
    }

    [[nodiscard]] const Smoothness& smoothness() const { return smoothness_; }
    [[nodiscard]] Gradients backward(const MatrixView& dx,
                                     const MatrixView& dy,
                                     const MatrixView& dz) const;
    [[nodiscard]] SolutionChange forward(std::span<const Change> changes) const;

private:
    void addMatrixGradients(const Triple& adjoint, std::size_t k, Gradients& gradients) const;
    void requireShapes(const Change& change) const;

    frontend::Implicit implicit_;
    Smoothness smoothness_;
};

// With K·(u, v, w) = (dx, dy, dz), K symmetric, the loss gains −u in c, v and w in the sides, and
// by the product rule −½(u·xᵀ + x·uᵀ) in H and −(y·uᵀ + v·xᵀ) in A.
Gradients Sensitivity::Factors::backward(const MatrixView& dx,
                                         const MatrixView& dy,
                                         const MatrixView& dz) const {
    const frontend::Optimum& optimum = implicit_.optimum();
    const std::size_t n = optimum.data.n;
    const std::size_t m = optimum.data.m;
    const std::size_t count = std::max({dx.cols(), dy.cols(), dz.cols()});
    require(fits(dx, n, count) && fits(dz, n, count), "backward",
            "dx and dz have a row for each variable and a column for each right-hand side");
    require(fits(dy, m, count), "backward",
            "dy has a row for each row of A and a column for each right-hand side");
    Triple adjoint(n, m, count);
    copyTo(adjoint.x, dx);
    copyTo(adjoint.y, dy);
    copyTo(adjoint.z, dz);
    implicit_.solve(adjoint);
    Gradients gradients;
    gradients.H.reserve(n * n * count);
    gradients.A.reserve(m * n * count);
    for (auto part : {&Gradients::rowLower, &Gradients::rowUpper}) {
        (gradients.*part).assign(m * count, 0.0);
    }
    for (auto part : {&Gradients::lower, &Gradients::upper}) {
        (gradients.*part).assign(n * count, 0.0);
    }
    for (std::size_t k = 0; k < count; ++k) {
        addMatrixGradients(adjoint, k, gradients);
        toSides(optimum.rows, adjoint.y.column(k), gradients.rowLower, gradients.rowUpper, k);
        toSides(optimum.bounds, adjoint.z.column(k), gradients.lower, gradients.upper, k);
    }
    gradients.c = std::move(adjoint.x.values);
    for (double& entry : gradients.c) {
        entry = -entry;
    }
    return gradients;
}

void Sensitivity::Factors::addMatrixGradients(const Triple& adjoint,
                                              std::size_t k,
                                              Gradients& gradients) const {
    const frontend::Point& point = implicit_.optimum().point;
    const std::size_t n = point.x.size();
    const std::size_t m = point.y.size();
    const double* u = adjoint.x.column(k);
    const double* v = adjoint.y.column(k);
    const double* x = point.x.data();
    const double* y = point.y.data();
    append(gradients.H, n, n, -0.5, {u, x}, {x, u});
    append(gradients.A, m, n, -1.0, {y, u}, {v, x});
}

void Sensitivity::Factors::requireShapes(const Change& change) const {
    const ProblemData& data = implicit_.optimum().data;
    require(fits(change.H, data.n, data.n) && fits(change.A, data.m, data.n) &&
                fits(change.c, data.n) && fits(change.rowLower, data.m) &&
                fits(change.rowUpper, data.m) && fits(change.lower, data.n) &&
                fits(change.upper, data.n),
            "forward", "each part of a change has the shape of that part of the problem");
}

SolutionChange Sensitivity::Factors::forward(std::span<const Change> changes) const {
    const frontend::Optimum& optimum = implicit_.optimum();
    const std::size_t n = optimum.data.n;
    const std::size_t m = optimum.data.m;
    Triple change(n, m, changes.size());
    for (std::size_t k = 0; k < changes.size(); ++k) {
        const Change& d = changes[k];
        requireShapes(d);
        double* x = change.x.column(k);
        for (std::size_t j = 0; j < n; ++j) {
            x[j] = d.c.empty() ? 0.0 : -d.c[j];
            change.z(j, k) = moved(optimum.bounds[j], d.lower, d.upper, j);
        }
        for (std::size_t i = 0; i < m; ++i) {
            change.y(i, k) = moved(optimum.rows[i], d.rowLower, d.rowUpper, i);
        }
        addProduct(d.H, false, -0.5, optimum.point.x.data(), x);
        addProduct(d.H, true, -0.5, optimum.point.x.data(), x);
        addProduct(d.A, true, -1.0, optimum.point.y.data(), x);
        addProduct(d.A, false, -1.0, optimum.point.x.data(), change.y.column(k));
    }
    implicit_.solve(change);
    return {std::move(change.x.values), std::move(change.y.values), std::move(change.z.values)};
}

Sensitivity::Sensitivity(const Result& result, const Problem& problem) {
    const FloatingPointGuard environment;
    factors_ = std::make_unique<const Factors>(result, problem);
}

Sensitivity::Sensitivity(Sensitivity&& other) noexcept = default;
Sensitivity& Sensitivity::operator=(Sensitivity&& other) noexcept = default;
Sensitivity::~Sensitivity() = default;

const Smoothness& Sensitivity::smoothness() const noexcept {
    return factors_->smoothness();
}

Gradients Sensitivity::backward(const MatrixView& dx,
                                const MatrixView& dy,
                                const MatrixView& dz) const {
    const FloatingPointGuard environment;
    return factors_->backward(dx, dy, dz);
}

Gradients Sensitivity::backward(const VectorView& dx,
                                const VectorView& dy,
                                const VectorView& dz) const {
    return backward(asColumn(dx), asColumn(dy), asColumn(dz));
}

SolutionChange Sensitivity::forward(std::span<const Change> changes) const {
    const FloatingPointGuard environment;
    return factors_->forward(changes);
}

SolutionChange Sensitivity::forward(const Change& change) const {
    return forward(std::span(&change, 1));
}

}  // namespace activeset
