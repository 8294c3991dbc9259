// An error for want of memory in the middle of a solve leaves a Solver that goes on as if nothing
// had happened.
#include <cstdlib>
#include <new>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace {

// Requests of this thread until one is refused; 0 for none.
thread_local std::size_t requestsLeft = 0;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (requestsLeft > 0 && --requestsLeft == 0) {
        throw std::bad_alloc();
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    return block != nullptr ? block : throw std::bad_alloc();
}

// The sanitizers have one of their own, whose blocks must not be freed here.
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

// Equalities become ranges on the way, which opens directions to H that were closed before.
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
