#include "benchmarks/families.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "benchmarks/random_numbers.hpp"

namespace activeset::bench {

namespace {

using Vector = std::vector<double>;

/// y += factor·x.
void add(double factor, const double* x, double* y, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        y[i] += factor * x[i];
    }
}

/// y += M·x, M with rows(y) rows.
void addProduct(const Vector& M, const Vector& x, Vector& y) {
    for (std::size_t j = 0; j < x.size(); ++j) {
        add(x[j], &M[j * y.size()], y.data(), y.size());
    }
}

/// y += Mᵀ·x, M with rows(x) rows.
void addTransposed(const Vector& M, const Vector& x, Vector& y) {
    for (std::size_t j = 0; j < y.size(); ++j) {
        y[j] += std::inner_product(x.begin(), x.end(), &M[j * x.size()], 0.0);
    }
}

/// H += factor·M·Mᵀ, M n × k.
void addGram(double factor, const Vector& M, std::size_t n, Vector& H) {
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t k = 0; k < M.size() / n; ++k) {
            add(factor * M[k * n + j], &M[k * n + j], &H[j * n + j], n - j);
        }
        for (std::size_t i = j; i < n; ++i) {
            H[i * n + j] = H[j * n + i];
        }
    }
}

/// The identity plus M·Mᵀ/n, condition about 5.
Vector randomHessian(std::size_t n, RandomNumbers& random) {
    Vector H(n * n);
    addGram(1.0 / static_cast<double>(n), random.spread(n * n), n, H);
    for (std::size_t j = 0; j < n; ++j) {
        H[j * n + j] += 1.0;
    }
    return H;
}

/// Of norms near 1.
Vector randomRows(std::size_t rows, std::size_t n, RandomNumbers& random) {
    Vector A = random.spread(rows * n);
    const double scale = 1.0 / std::sqrt(static_cast<double>(n));
    std::ranges::for_each(A, [scale](double& entry) { entry *= scale; });
    return A;
}

Problem withoutConstraints(std::size_t n, Vector H) {
    Problem problem{n};
    problem.H = std::move(H);
    problem.c.resize(n);
    problem.lb.assign(n, -std::numeric_limits<double>::infinity());
    problem.ub.assign(n, std::numeric_limits<double>::infinity());
    problem.x0.resize(n);
    return problem;
}

}  // namespace

Problem randomProblem(std::size_t n, double share, std::uint64_t seed) {
    RandomNumbers random(seed);
    Problem problem = withoutConstraints(n, randomHessian(n, random));
    problem.mIneq = n;
    problem.mEq = n / 10;
    problem.A = randomRows(n, n, random);
    problem.Aeq = randomRows(problem.mEq, n, random);
    const Vector x = random.spread(n);
    const auto multiplier = [&] { return random(0.1, 1.1); };
    const auto isActive = [&] { return random(0.0, 1.0) < 0.5 * share; };

    Vector Hx(n);
    addProduct(problem.H, x, Hx);
    Vector y(n);
    problem.b.resize(n);
    addProduct(problem.A, x, problem.b);
    for (std::size_t i = 0; i < n; ++i) {
        if (isActive()) {
            y[i] = multiplier();
        } else {
            problem.b[i] += random(0.1, 1.1);
        }
    }
    problem.beq.resize(problem.mEq);
    addProduct(problem.Aeq, x, problem.beq);
    Vector gradient(n);  // −(Aᵀy − z_lower + z_upper); the equalities' multipliers are zero
    addTransposed(problem.A, y, gradient);
    for (std::size_t j = 0; j < n; ++j) {
        problem.lb[j] = x[j] - random(1.0, 2.0);
        problem.ub[j] = x[j] + random(1.0, 2.0);
        if (isActive()) {
            const bool isLower = random(0.0, 1.0) < 0.5;
            (isLower ? problem.lb : problem.ub)[j] = x[j];
            gradient[j] += isLower ? -multiplier() : multiplier();
        }
        problem.c[j] = -Hx[j] - gradient[j];
        problem.x0[j] = std::clamp(0.0, problem.lb[j], problem.ub[j]);
    }
    problem.optimum = 0.5 * std::inner_product(x.begin(), x.end(), Hx.begin(), 0.0) +
                      std::inner_product(x.begin(), x.end(), problem.c.begin(), 0.0);
    return problem;
}

Problem boxProblem(std::size_t n, std::uint64_t seed) {
    RandomNumbers random(seed);
    Problem problem = withoutConstraints(n, randomHessian(n, random));
    for (std::size_t j = 0; j < n; ++j) {
        problem.lb[j] = -1.0;
        problem.ub[j] = 1.0;
        problem.c[j] = 2.5 * random.spread();
    }
    return problem;
}

Problem supportVectorProblem(std::size_t n, std::uint64_t seed) {
    constexpr std::size_t Features = 5;
    constexpr double Width = 0.2;
    constexpr double Ridge = 0.01;
    constexpr double Penalty = 1.0;
    RandomNumbers random(seed);
    Vector samples = random.spread(Features * n);
    Problem problem = withoutConstraints(n, Vector(n * n));
    problem.mEq = 1;
    problem.Aeq.resize(n);
    problem.beq = {0.0};
    for (std::size_t j = 0; j < n; ++j) {
        problem.Aeq[j] = j % 2 == 0 ? 1.0 : -1.0;
        samples[Features * j] += problem.Aeq[j];
    }
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i <= j; ++i) {
            double distance = 0.0;
            for (std::size_t k = 0; k < Features; ++k) {
                const double d = samples[Features * i + k] - samples[Features * j + k];
                distance += d * d;
            }
            const double entry = problem.Aeq[i] * problem.Aeq[j] * std::exp(-Width * distance);
            problem.H[j * n + i] = problem.H[i * n + j] = entry;
        }
        problem.H[j * n + j] += Ridge;
        problem.c[j] = -1.0;
        problem.lb[j] = 0.0;
        problem.ub[j] = Penalty;
    }
    return problem;
}

Problem portfolioProblem(std::size_t n, std::uint64_t seed) {
    const std::size_t factors = std::max<std::size_t>(2, n / 10);
    RandomNumbers random(seed);
    Problem problem = withoutConstraints(n, Vector(n * n));
    addGram(0.02 / static_cast<double>(factors), random.spread(n * factors), n, problem.H);
    problem.mEq = 1;
    problem.Aeq.assign(n, 1.0);
    problem.beq = {1.0};
    for (std::size_t j = 0; j < n; ++j) {
        problem.H[j * n + j] += random(0.002, 0.02);
        problem.c[j] = -0.01 * random(0.0, 1.0);
        problem.lb[j] = 0.0;
        problem.ub[j] = std::max(0.05, 4.0 / static_cast<double>(n));
        problem.x0[j] = 1.0 / static_cast<double>(n);
    }
    return problem;
}

namespace {

/// n × n matrices, column-major.
Vector product(const Vector& P, const Vector& R, std::size_t n) {
    Vector result(n * (R.size() / n));
    for (std::size_t j = 0; j < R.size() / n; ++j) {
        for (std::size_t k = 0; k < n; ++k) {
            add(R[j * n + k], &P[k * n], &result[j * n], n);
        }
    }
    return result;
}

/// x := H⁻¹·x, H symmetric positive definite, by elimination.
void solvePositiveDefinite(Vector H, Vector& x) {
    const std::size_t n = x.size();
    for (std::size_t k = 0; k < n; ++k) {
        for (std::size_t i = k + 1; i < n; ++i) {
            const double factor = H[k * n + i] / H[k * n + k];
            for (std::size_t j = k; j < n; ++j) {
                H[j * n + i] -= factor * H[j * n + k];
            }
            x[i] -= factor * x[k];
        }
    }
    for (std::size_t k = n; k-- > 0;) {
        x[k] /= H[k * n + k];
        add(-x[k], &H[k * n], x.data(), k);
    }
}

constexpr std::size_t Masses = 4;
constexpr std::size_t States = 2 * Masses;
constexpr std::size_t Inputs = 2;

/// state' = F·state + G·input for masses of 1 in a row between two walls, held by springs of 1,
/// with a force on the first Inputs of them, sampled every half second.
struct Masspring {
    Vector F = Vector(States * States);
    Vector G = Vector(States * Inputs);

    Masspring() {
        constexpr double Period = 0.5;
        constexpr std::size_t Size = States + Inputs;
        Vector rate(Size * Size);  // of (state, input)
        for (std::size_t k = 0; k < Masses; ++k) {
            rate[(Masses + k) * Size + k] = Period;
            rate[k * Size + Masses + k] = -2.0 * Period;
            if (k > 0) {
                rate[(k - 1) * Size + Masses + k] = Period;
                rate[k * Size + Masses + k - 1] = Period;
            }
            if (k < Inputs) {
                rate[(States + k) * Size + Masses + k] = Period;
            }
        }
        Vector term(Size * Size);
        for (std::size_t k = 0; k < Size; ++k) {
            term[k * Size + k] = 1.0;
        }
        Vector exponential = term;
        for (int k = 1; k < 20; ++k) {
            term = product(rate, term, Size);
            std::ranges::for_each(term, [k](double& entry) { entry /= k; });
            add(1.0, term.data(), exponential.data(), term.size());
        }
        for (std::size_t j = 0; j < Size; ++j) {
            std::copy_n(&exponential[j * Size], States,
                        j < States ? &F[j * States] : &G[(j - States) * States]);
        }
    }
};

constexpr std::size_t Outputs = 2 * Masses;  // every position, from above and from below
constexpr double LargestForce = 0.1;

/// The states of all time steps of a horizon are free·state + forced·inputs.
struct Prediction {
    std::size_t rows;
    Vector free;
    Vector forced;

    Prediction(const Masspring& model, std::size_t horizon)
        : rows(States * horizon), free(rows * States), forced(rows * Inputs * horizon) {
        Vector power = model.F;
        Vector response = model.G;
        for (std::size_t k = 0; k < horizon; ++k) {
            for (std::size_t j = 0; j < States; ++j) {
                std::copy_n(&power[j * States], States, &free[j * rows + k * States]);
            }
            for (std::size_t j = 0; j < Inputs * (horizon - k); ++j) {
                std::copy_n(&response[j % Inputs * States], States,
                            &forced[j * rows + (j / Inputs + k) * States]);
            }
            power = product(model.F, power, States);
            response = product(model.F, response, States);
        }
    }

    /// The row of `states` that an inequality limits, with the sign that it has there.
    [[nodiscard]] static double limited(const double* states, std::size_t inequality) {
        const std::size_t output = inequality % Outputs;
        const double position = states[inequality / Outputs * States + output % Masses];
        return output < Masses ? position : -position;
    }
};

/// Everything of a problem but c and b.
Problem controlProblem(const Prediction& prediction, std::size_t horizon) {
    constexpr double ForceWeight = 0.1;
    const std::size_t n = Inputs * horizon;
    const auto states = [&](std::size_t j) { return &prediction.forced[j * prediction.rows]; };
    Problem problem = withoutConstraints(n, Vector(n * n));
    problem.mIneq = Outputs * horizon;
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < n; ++i) {
            problem.H[j * n + i] = std::inner_product(states(i), states(i) + prediction.rows,
                                                      states(j), i == j ? ForceWeight : 0.0);
        }
        for (std::size_t row = 0; row < problem.mIneq; ++row) {
            problem.A.push_back(Prediction::limited(states(j), row));
        }
        problem.lb[j] = -LargestForce;
        problem.ub[j] = LargestForce;
    }
    return problem;
}

}  // namespace

ControlChain controlChain(std::size_t horizon, std::size_t steps, std::uint64_t seed) {
    constexpr double LargestPosition = 1.0;
    constexpr double Displacement = 1.0;
    constexpr double Disturbance = 0.02;
    const Masspring model;
    const Prediction prediction(model, horizon);
    Problem problem = controlProblem(prediction, horizon);
    ControlChain chain{Inputs, Outputs};
    RandomNumbers random(seed);
    Vector state(States);
    for (std::size_t k = 0; k < Masses; ++k) {
        state[k] = random(-Displacement, Displacement);
    }
    for (std::size_t step = 0; step < steps; ++step) {
        for (std::size_t k = Masses; k < States; ++k) {
            state[k] += random(-Disturbance, Disturbance);
        }
        Vector drift(prediction.rows);
        addProduct(prediction.free, state, drift);
        problem.c.assign(problem.n, 0.0);
        addTransposed(prediction.forced, drift, problem.c);
        problem.b.assign(problem.mIneq, LargestPosition);
        for (std::size_t row = 0; row < problem.mIneq; ++row) {
            problem.b[row] -= Prediction::limited(drift.data(), row);
        }
        chain.problems.push_back(problem);
        // The plant follows the unconstrained optimum, clipped: no solver is needed to go on.
        Vector inputs = problem.c;
        solvePositiveDefinite(problem.H, inputs);
        Vector next(States);
        addProduct(model.F, state, next);
        for (std::size_t k = 0; k < Inputs; ++k) {
            add(std::clamp(-inputs[k], -LargestForce, LargestForce), &model.G[k * States],
                next.data(), States);
        }
        state = next;
    }
    return chain;
}

}  // namespace activeset::bench
