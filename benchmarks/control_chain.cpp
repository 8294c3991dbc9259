// Model predictive control of a chain of masses and springs.
#include <algorithm>
#include <numeric>

#include "benchmarks/family_parts.hpp"
#include "benchmarks/random_numbers.hpp"

namespace activeset::bench {

namespace {

/// Operations on n × n matrices in column-major order.
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

/// The system state' = F·state + G·input: masses of 1 in a row between two walls, connected by
/// springs of stiffness 1. Forces act on the first `Inputs` masses. The step is half a second.
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

constexpr std::size_t Outputs = 2 * Masses;  // every position has two limits
constexpr double LargestForce = 0.1;

/// The states of all time steps of a horizon: free·state + forced·inputs.
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

    /// The entry of `states` that an inequality limits, with its sign there.
    [[nodiscard]] static double limited(const double* states, std::size_t inequality) {
        const std::size_t output = inequality % Outputs;
        const double position = states[inequality / Outputs * States + output % Masses];
        return output < Masses ? position : -position;
    }
};

/// A problem of the chain without c and b.
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
        // The plant applies the unconstrained optimum, clipped, so that no solver is needed here.
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
