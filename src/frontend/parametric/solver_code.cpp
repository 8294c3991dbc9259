// A dual active-set solver written out in C: the letters are those of Goldfarb and Idnani 1983, A
// numerically stable dual method for solving strictly convex quadratic programs.
#include <cmath>
#include <sstream>
#include <stdexcept>

#include "activeset/regions.hpp"
#include "frontend/algebra/dense.hpp"
#include "frontend/parametric/c_text.hpp"
#include "frontend/parametric/optimum.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

// What does not depend on the problem. N variables, M rows; J0·J0ᵀ = H⁻¹. Side k is row or bound
// k mod (M + N): its lower side as a·x ≥ b for k < M + N, else the upper one as −a·x ≥ −b.
constexpr const char* Method = R"(
enum { N = PROBLEM_N, M = PROBLEM_M, K = M + N, SIDES = 2 * K };
static double J[N * N], R[N * N], u[N + 1], r[N], d[N], z[N];
static int W[N], q;

static double entry(int k, int j) {
    const int i = k % K;
    const double a = i < M ? A[i * N + j] : (i - M == j ? 1.0 : 0.0);
    return k < K ? a : -a;
}

static void rotate(double *a, double *b, double c, double s) {
    const double t = c * *a + s * *b;
    *b = c * *b - s * *a;
    *a = t;
}

/* Turns d = J'a so that one entry is left behind q, and appends it to R; 0 if a depends. */
static int append(void) {
    int i, j;
    double size = 0.0;
    for (i = 0; i < N; ++i) size += d[i] * d[i];
    for (i = N - 1; i > q && i > 0; --i) {
        const double h = sqrt(d[i - 1] * d[i - 1] + d[i] * d[i]);
        const double c = h > 0.0 ? d[i - 1] / h : 1.0, s = h > 0.0 ? d[i] / h : 0.0;
        d[i - 1] = h;
        d[i] = 0.0;
        for (j = 0; j < N; ++j) rotate(&J[j * N + i - 1], &J[j * N + i], c, s);
    }
    if (!(d[q] * d[q] > 1e-24 * size)) return 0;
    for (i = 0; i <= q; ++i) R[i * N + q] = d[i];
    return 1;
}

static void leave(int place) {
    int i, j, k;
    for (k = place; k + 1 < q; ++k) {
        W[k] = W[k + 1];
        u[k] = u[k + 1];
        for (i = 0; i <= k + 1; ++i) R[i * N + k] = R[i * N + k + 1];
    }
    u[q - 1] = u[q];
    --q;
    for (k = place; k < q; ++k) {
        const double a = R[k * N + k], b = R[(k + 1) * N + k], h = sqrt(a * a + b * b);
        const double c = h > 0.0 ? a / h : 1.0, s = h > 0.0 ? b / h : 0.0;
        for (j = k; j < q; ++j) rotate(&R[k * N + j], &R[(k + 1) * N + j], c, s);
        for (j = 0; j < N; ++j) rotate(&J[j * N + k], &J[j * N + k + 1], c, s);
    }
}

/* d = J'a, z = J2 d2, r = R^-1 d1 for side p. */
static void directions(int p) {
    int i, j;
    for (i = 0; i < N; ++i) {
        d[i] = 0.0;
        for (j = 0; j < N; ++j) d[i] += J[j * N + i] * entry(p, j);
    }
    for (j = 0; j < N; ++j) {
        z[j] = 0.0;
        for (i = q; i < N; ++i) z[j] += J[j * N + i] * d[i];
    }
    for (i = q - 1; i >= 0; --i) {
        r[i] = d[i];
        for (j = i + 1; j < q; ++j) r[i] -= R[i * N + j] * r[j];
        r[i] /= R[i * N + i];
    }
}
)";

constexpr const char* Loop = R"({
    int i, j, k, step;
    q = 0;
    for (i = 0; i < N * N; ++i) J[i] = J0[i];
    for (i = 0; i < N; ++i) {
        d[i] = 0.0;
        for (j = 0; j < N; ++j) d[i] -= J[j * N + i] * c[j];
    }
    for (j = 0; j < N; ++j) {
        x[j] = 0.0;
        for (i = 0; i < N; ++i) x[j] += J[j * N + i] * d[i];
    }
    for (step = 0; step < 50 * (SIDES + 1); ++step) {
        int p = -1, isEquality = 0;
        double worst = 0.0, slack = 0.0;
        for (k = 0; k < SIDES; ++k) {
            const int row = k % K, other = k < K ? k + K : k - K;
            const double low = row < M ? row_lower[row] : lower[row - M];
            const double high = row < M ? row_upper[row] : upper[row - M];
            const double side = k < K ? low : -high;
            double value = -side, size = fabs(side), length = 0.0;
            int held = 0;
            if (!(side > -1e20)) continue;
            for (i = 0; i < q; ++i) held = held || W[i] == k || (low == high && W[i] == other);
            if (held) continue;
            for (j = 0; j < N; ++j) {
                const double a = entry(k, j);
                value += a * x[j];
                size += fabs(a * x[j]);
                length += a * a;
            }
            if (value < -1e-12 * (size > 1.0 ? size : 1.0) && length == 0.0) return 1;
            length = sqrt(length);
            if (value < -1e-12 * (size > 1.0 ? size : 1.0) && value / length < worst) {
                worst = value / length;
                slack = value;
                p = k;
                isEquality = low == high;
            }
        }
        if (p < 0) return 0;
        (void)isEquality;
        u[q] = 0.0;
        for (;;) {
            int out = -1;
            double t1 = 0.0, t2 = 0.0, curve = 0.0, size = 0.0, t;
            directions(p);
            for (i = 0; i < N; ++i) size += d[i] * d[i];
            for (i = q; i < N; ++i) curve += d[i] * d[i];
            for (i = 0; i < q; ++i) {
                const int row = W[i] % K;
                const int fixed = row < M ? row_lower[row] == row_upper[row]
                                          : lower[row - M] == upper[row - M];
                if (!fixed && r[i] > 0.0 && (out < 0 || u[i] / r[i] < t1)) {
                    out = i;
                    t1 = u[i] / r[i];
                }
            }
            const int isFlat = q == N || !(curve > 1e-24 * size);
            if (isFlat && out < 0) return 1;
            if (!isFlat) t2 = -slack / curve;
            t = isFlat || (out >= 0 && t1 < t2) ? t1 : t2;
            for (i = 0; i < q; ++i) u[i] -= t * r[i];
            u[q] += t;
            if (!isFlat) {
                for (j = 0; j < N; ++j) x[j] += t * z[j];
                slack += t * curve;
            }
            if (isFlat || (out >= 0 && t1 < t2)) {
                leave(out);
                continue;
            }
            if (!append()) return 2;
            W[q++] = p;
            break;
        }
    }
    return 2;
}
)";

}  // namespace

std::string solverCode(const Problem& problem, const std::string& name) {
    const FloatingPointGuard environment;
    frontend::requireName(name, "solverCode");
    const frontend::ProblemData data = frontend::checkedCopy(problem, "solverCode");
    const std::size_t n = data.n;
    const std::size_t m = data.m;
    frontend::Dense U(n, n);
    U.values = data.quadratic ? data.H.copy() : U.values;
    if (n == 0 || !factoriseUpper(U, 1e-14)) {
        throw std::invalid_argument("activeset: solverCode: H has to be positive definite");
    }
    frontend::Dense inverse(n, n);  // U⁻¹, so that J·Jᵀ = H⁻¹
    for (std::size_t k = 0; k < n; ++k) {
        inverse(k, k) = 1.0;
    }
    solveUpper(U, inverse.values.data(), n);
    frontend::Vector rows;
    frontend::Vector J;
    for (std::size_t i = 0; i < std::max(m, std::size_t{1}); ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            rows.push_back(m == 0 ? 0.0 : data.columnOfA(j)[i]);
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            J.push_back(inverse(i, j));
        }
    }
    std::ostringstream text;
    text << "/* The optimum of one strictly convex problem by the dual active-set method.\n"
            "   Returns 0, or 1 without a feasible point, or 2. Sides of 1e20 and beyond are "
            "absent.\n   Static memory: not for two threads at once. */\n#include <math.h>\n\n"
            "#define PROBLEM_N "
         << n << "\n#define PROBLEM_M " << m << '\n';
    frontend::writeArray(text, "J0", J);
    frontend::writeArray(text, "A", rows);
    text << Method;
    const std::string arguments =
        "(const double *c, const double *row_lower, const double *row_upper,\n"
        "    const double *lower, const double *upper, double *x) ";
    return frontend::named(name, text.str(), arguments + Loop, "solverCode");
}

}  // namespace activeset
