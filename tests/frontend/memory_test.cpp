// Which solves ask for memory, and what remains after a refused request.
#include <cstdlib>
#include <new>
#include <random>

#include "activeset/batch.hpp"
#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace {

// Requests of this thread until one is refused; 0: none is refused.
thread_local std::size_t requestsLeft = 0;
thread_local std::size_t requests = 0;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    ++requests;
    if (requestsLeft > 0 && --requestsLeft == 0) {
        throw std::bad_alloc();
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    return block != nullptr ? block : throw std::bad_alloc();
}

// The sanitizers replace this operator, and their blocks must not be freed here.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

namespace activeset::test {
namespace {

class WantOfMemory : public FreshState {};

/// The number of requests during solves of a Solver or a batch.
template <class Action>
std::size_t requestsOf(Action action) {
    const std::size_t before = requests;
    action();
    return requests - before;
}

class Requests : public FreshState {};

// Sides and costs change from problem to problem. Each problem has matrices of its own, or all
// share them.
TEST_F(Requests, AreNoneForTheProblemsOfABatchOnceAThreadIsWarm) {
    constexpr std::size_t Count = 500;
    constexpr std::size_t n = 4;
    Numbers H(Count * n * n, 0.0);
    Numbers c(Count * n);
    Numbers x(Count * n);
    std::mt19937_64 bits(1);
    std::normal_distribution<double> normal;
    std::ranges::generate(c, [&] { return normal(bits); });
    for (std::size_t k = 0; k < Count * n; ++k) {
        H[k * n + k % n] = 1.0 + static_cast<double>(k % n);
    }
    Numbers lower(c);
    std::ranges::for_each(lower, [](double& side) { side = -std::abs(side); });
    const Numbers ones(2 * n, 1.0);
    const Numbers half{0.5, 0.5};
    for (const std::size_t stride : {std::size_t{0}, n * n}) {
        for (const std::size_t chain : {0U, 50U}) {
            const auto solveFirst = [&](std::size_t count) {
                return requestsOf([&] {
                    EXPECT_EQ(solveBatch({.count = count,
                                          .H = {{H.data(), n, n}, stride},
                                          .c = {{c.data(), n}, n},
                                          .A = {{ones.data(), 2, n}},
                                          .rowUpper = {half},
                                          .lower = {{lower.data(), n}, n},
                                          .start = {{c.data(), n}, n}},
                                         {.x = {x.data()}}, {.threads = 1, .chain = chain}),
                              count);
                });
            };
            const std::size_t few = solveFirst(100);
            EXPECT_EQ(solveFirst(Count), few);
            EXPECT_LT(few, 100U);
        }
    }
}

// Equalities become ranges on the way. H need not be convex along the directions that this opens.
TEST_F(WantOfMemory, LeavesNothingStaleInASolver) {
    std::map<Status, int> met;
    std::size_t refusals = 0;
    for (unsigned seed = 0; seed < 60; ++seed) {
        Sample sample = randomSample(seed, 6, true);
        if (seed % 3 == 0) {  // convex only while its second row holds x₂
            sample = {3,
                      2,
                      {1, 0, 0, 0, -1, 0, 0, 0, 1},
                      {1, 1, 1},
                      {0, 0, 0, 1, 1, 0},
                      {0, 0},
                      {0, 0},
                      {-5, -5, -5},
                      {5, 5, 5},
                      {}};
        }
        Sample opened = sample;
        for (std::size_t i = 1; i < opened.m; ++i) {
            opened.rowLower[i] -= 3.0;
        }
        const Result expected = solve(opened.view());
        ++met[expected.status];
        for (std::size_t request = 1; request < 200; request += 1 + request / 4) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", request " + std::to_string(request));
            Solver solver(sample.view(),
                          {.startMode = seed % 2 == 0 ? Start::Cold : Start::Automatic});
            static_cast<void>(solver.solve());
            solver.setRowSides(opened.rowLower, opened.rowUpper);
            requestsLeft = request;
            try {
                static_cast<void>(solver.solve());
            } catch (const std::bad_alloc&) {
                ++refusals;
            }
            requestsLeft = 0;
            const Result after = solver.solve();
            ASSERT_EQ(after.status, expected.status);
            if (after) {
                EXPECT_NEAR(after.objective, expected.objective,
                            1e-8 * (1.0 + std::abs(expected.objective)));
            }
        }
    }
    EXPECT_GT(met[Status::NotConvex], 15);
    EXPECT_GT(met[Status::Optimal], 15);
    EXPECT_GT(refusals, 500U);
}

}  // namespace
}  // namespace activeset::test
