#include "support/exact/truth.hpp"

#include <cmath>
#include <iomanip>
#include <sstream>

namespace activeset::test::exact {

namespace {

Vector rationals(const std::vector<double>& values, std::size_t size) {
    Vector result(values.begin(), values.end());
    result.resize(size);
    return result;
}

/// The points x = origin + basis·v that satisfy equations, by elimination.
class AffineSpace {
public:
    AffineSpace(Matrix rows, Vector rhs, std::size_t n) : origin(n) {
        std::vector<std::size_t> pivots;
        std::size_t rank = 0;
        std::vector<bool> isPivot(n);
        for (std::size_t j = 0; j < n; ++j) {
            std::size_t source = rank;
            while (source < rows.size() && sgn(rows[source][j]) == 0) {
                ++source;
            }
            if (source == rows.size()) {
                continue;
            }
            std::swap(rows[source], rows[rank]);
            std::swap(rhs[source], rhs[rank]);
            const Rational pivot = rows[rank][j];
            for (Rational& entry : rows[rank]) {
                entry /= pivot;
            }
            rhs[rank] /= pivot;
            for (std::size_t i = 0; i < rows.size(); ++i) {
                const Rational factor = i == rank ? Rational(0) : rows[i][j];
                for (std::size_t k = 0; k < n && sgn(factor) != 0; ++k) {
                    rows[i][k] -= factor * rows[rank][k];
                }
                rhs[i] -= factor * rhs[rank];
            }
            pivots.push_back(j);
            isPivot[j] = true;
            ++rank;
        }
        for (std::size_t i = rank; i < rows.size(); ++i) {
            isEmpty |= sgn(rhs[i]) != 0;
        }
        for (std::size_t i = 0; i < rank; ++i) {
            origin[pivots[i]] = rhs[i];
        }
        for (std::size_t j = 0; j < n; ++j) {
            if (isPivot[j]) {
                continue;
            }
            basis.emplace_back(n)[j] = 1;
            for (std::size_t i = 0; i < rank; ++i) {
                basis.back()[pivots[i]] = -rows[i][j];
            }
        }
    }

    Vector origin;
    Matrix basis{};  ///< one vector per row
    bool isEmpty = false;
};

/// The constraints of a problem: equalities, and one row per finite side.
class Sides {
public:
    Sides(const Sample& sample, const ProblemData& data) : n_(data.n) {
        for (std::size_t i = 0; i < sample.m; ++i) {
            add(data.A[i], sample.rowLower, sample.rowUpper, i);
        }
        for (std::size_t j = 0; j < n_; ++j) {
            Vector row(n_);
            row[j] = 1;
            add(row, sample.lower, sample.upper, j);
        }
    }

    Matrix equalities{};
    Vector equalTo{};
    Matrix inequalities{};  ///< row·x ≤ rhs
    Vector upTo{};

private:
    void add(const Vector& row,
             const std::vector<double>& lower,
             const std::vector<double>& upper,
             std::size_t k) {
        const double least = lower.empty() ? -Infinity : lower[k];
        const double most = upper.empty() ? Infinity : upper[k];
        if (least == most) {
            equalities.push_back(row);
            equalTo.emplace_back(most);
            return;
        }
        if (std::isfinite(most)) {
            inequalities.push_back(row);
            upTo.emplace_back(most);
        }
        if (std::isfinite(least)) {
            Vector negative = row;
            for (Rational& entry : negative) {
                entry = -entry;
            }
            inequalities.push_back(negative);
            upTo.emplace_back(-least);
        }
    }

    std::size_t n_;
};

ConvexProgram reduced(const ProblemData& data, const Sides& sides, const AffineSpace& space) {
    ConvexProgram program;
    Vector gradient = product(data.H, space.origin);
    for (std::size_t j = 0; j < data.n; ++j) {
        gradient[j] += data.c[j];
    }
    for (const Vector& direction : space.basis) {
        program.Q.push_back(product(space.basis, product(data.H, direction)));
        program.g.push_back(dot(direction, gradient));
    }
    for (std::size_t i = 0; i < sides.inequalities.size(); ++i) {
        program.G.push_back(product(space.basis, sides.inequalities[i]));
        program.h.emplace_back(sides.upTo[i] - dot(sides.inequalities[i], space.origin));
    }
    return program;
}

/// Minimises the amount s by which all sides are relaxed: min s subject to G·v − s ≤ h, s ≥ 0.
bool isFeasible(const ConvexProgram& program) {
    const std::size_t k = program.g.size();
    ConvexProgram relaxed{Matrix(k + 1, Vector(k + 1)), Vector(k + 1), program.G, program.h};
    relaxed.g[k] = 1;
    for (Vector& row : relaxed.G) {
        row.emplace_back(-1);
    }
    relaxed.G.emplace_back(k + 1)[k] = -1;
    relaxed.h.emplace_back(0);
    const std::optional<Optimum> optimum = minimise(relaxed);
    require(optimum.has_value());
    if (sgn(optimum->v[k]) == 0) {
        return true;
    }
    const Vector farkas(optimum->multipliers.begin(), optimum->multipliers.end() - 1);
    for (const Rational& entry : transposedProduct(program.G, farkas, k)) {
        require(sgn(entry) == 0);
    }
    require(sgn(dot(farkas, program.h)) < 0);
    return false;
}

/// A feasible convex program without an optimum has a ray: minimise gᵀd, at least −1, subject to
/// Q·d = 0 and G·d ≤ 0.
void requireRay(const ConvexProgram& program) {
    const std::size_t k = program.g.size();
    ConvexProgram cone{Matrix(k, Vector(k)), program.g, program.G, Vector(program.h.size())};
    const auto add = [&](const Vector& row, int sign, int rhs) {
        cone.G.push_back(row);
        for (Rational& entry : cone.G.back()) {
            entry *= sign;
        }
        cone.h.emplace_back(rhs);
    };
    for (const Vector& row : program.Q) {
        add(row, 1, 0);
        add(row, -1, 0);
    }
    add(program.g, -1, 1);
    const std::optional<Optimum> ray = minimise(cone);
    require(ray && dot(program.g, ray->v) == -1);
}

}  // namespace

ProblemData::ProblemData(const Sample& sample)
    : n(sample.n), H(n, Vector(n)), A(sample.m, Vector(n)), c(rationals(sample.c, n)) {
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < n && !sample.H.empty(); ++i) {
            H[i][j] = (Rational(sample.H[j * n + i]) + Rational(sample.H[i * n + j])) / 2;
        }
        for (std::size_t i = 0; i < sample.m; ++i) {
            A[i][j] = sample.entryOfA(i, j);
        }
    }
}

Rational ProblemData::objective(const Vector& x) const {
    return dot(c, x) + dot(x, product(H, x)) / 2;
}

Truth truthOf(const Sample& sample) {
    const ProblemData data(sample);
    const Sides sides(sample, data);
    const AffineSpace space(sides.equalities, sides.equalTo, data.n);
    const ConvexProgram program = reduced(data, sides, space);
    Truth truth;
    truth.isConvex = isPositiveSemidefinite(program.Q);
    if (space.isEmpty) {
        return truth;
    }
    const std::optional<Optimum> optimum =
        truth.isConvex ? minimise(program) : std::optional<Optimum>();
    if (!optimum) {
        truth.isFeasible = isFeasible(program);
        if (truth.isFeasible && truth.isConvex) {
            requireRay(program);
        }
        return truth;
    }
    truth.isFeasible = true;
    truth.isBounded = true;
    truth.x = space.origin;
    const Vector step = transposedProduct(space.basis, optimum->v, data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        truth.x[j] += step[j];
    }
    truth.optimum = data.objective(truth.x);
    return truth;
}

std::string textOf(const Sample& sample) {
    std::ostringstream text;
    text << std::setprecision(17) << "n " << sample.n << ", m " << sample.m;
    const auto list = [&](const char* name, const std::vector<double>& values) {
        text << '\n' << name << " = {";
        for (std::size_t k = 0; k < values.size(); ++k) {
            text << (k == 0 ? "" : ", ") << values[k];
        }
        text << '}';
    };
    list("H", sample.H);
    list("c", sample.c);
    list("A", sample.A);
    list("rowLower", sample.rowLower);
    list("rowUpper", sample.rowUpper);
    list("lower", sample.lower);
    list("upper", sample.upper);
    list("start", sample.start);
    text << '\n';
    return text.str();
}

}  // namespace activeset::test::exact
