// Model predictive control of a cart: position and speed from forces of at most 1, with steps of
// 0.1 s. In every step the forces of the next 30 steps are chosen, and the first one is applied.
// They minimise the sum of ½(position² + 0.1·speed² + 0.01·force²). Matrices stay, c follows the
// state.
//
// From position 2 at rest the first force is −1, its bound; the cart comes to rest at 0.
#include <activeset/qp.hpp>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr std::size_t Horizon = 30;
constexpr double Step = 0.1;

struct State {
    double position;
    double speed;

    [[nodiscard]] State after(double force) const {
        return {position + Step * speed + 0.5 * Step * Step * force, speed + Step * force};
    }
};

// The change that force k makes to the state after step t ≥ k.
State response(std::size_t t, std::size_t k) {
    const double since = Step * (static_cast<double>(t - k) + 0.5);
    return {Step * since, Step};
}

std::vector<double> hessian() {
    std::vector<double> H(Horizon * Horizon, 0.0);
    for (std::size_t i = 0; i < Horizon; ++i) {
        H[i * Horizon + i] = 0.01;
    }
    for (std::size_t t = 0; t < Horizon; ++t) {
        for (std::size_t i = 0; i <= t; ++i) {
            for (std::size_t j = 0; j <= t; ++j) {
                const State a = response(t, i);
                const State b = response(t, j);
                H[j * Horizon + i] += a.position * b.position + 0.1 * a.speed * b.speed;
            }
        }
    }
    return H;
}

std::vector<double> gradient(State state) {
    std::vector<double> c(Horizon, 0.0);
    for (std::size_t t = 0; t < Horizon; ++t) {
        state = state.after(0.0);
        for (std::size_t k = 0; k <= t; ++k) {
            const State r = response(t, k);
            c[k] += r.position * state.position + 0.1 * r.speed * state.speed;
        }
    }
    return c;
}

}  // namespace

int main() {
    State state{2.0, 0.0};
    const std::vector<double> H = hessian();
    const std::vector<double> c = gradient(state);
    const std::vector<double> least(Horizon, -1.0);
    const std::vector<double> most(Horizon, 1.0);
    activeset::Solver solver({.H = {H, Horizon, Horizon}, .c = c, .lower = least, .upper = most});
    double first = 0.0;
    std::size_t without = 0;
    activeset::Result r;
    for (int k = 0; k < 100; ++k) {
        solver.setLinear(gradient(state));
        solver.solve(r);
        if (!r) {
            std::printf("step %d: %s\n", k, textOf(r.status));
            return 1;
        }
        first = k == 0 ? r.x[0] : first;
        without += r.iterations.main == 0 ? 1 : 0;
        state = state.after(r.x[0]);
    }
    std::printf(
        "first force %g, at the end position %.1e, speed %.1e; %zu of 100 solves without a "
        "pass\n",
        first, state.position, state.speed, without);
    return first == -1.0 && std::abs(state.position) + std::abs(state.speed) < 1e-3 ? 0 : 1;
}
