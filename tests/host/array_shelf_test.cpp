// Arrays that a thread keeps for its next solve.
#include "host/array_shelf.hpp"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset {

namespace {

constexpr std::size_t Numbers = 1 << 14;  // twice the smallest size that is kept

ArrayShelf::Array arrayOf(std::size_t count) {
    ArrayShelf::Array array;
    array.reserve(count);
    return array;
}

TEST(ArrayShelf, GivesTheSmallestThatFitsAndNoneThatIsMuchTooLarge) {
    ArrayShelf shelf;
    for (const std::size_t count : {3 * Numbers, 2 * Numbers, 9 * Numbers}) {
        shelf.give(arrayOf(count));
    }
    shelf.give(arrayOf(ArrayShelf::LeastBytes / sizeof(double) - 1));
    EXPECT_EQ(shelf.take(Numbers + 1).capacity(), 2 * Numbers);
    EXPECT_EQ(shelf.take(2 * Numbers).capacity(), 3 * Numbers);
    EXPECT_EQ(shelf.take(Numbers).capacity(), 0U);
    EXPECT_EQ(shelf.take(9 * Numbers).capacity(), 9 * Numbers);
    EXPECT_EQ(shelf.bytes(), 0U);
}

TEST(ArrayShelf, KeepsTheLargestArraysUpToItsBound) {
    ArrayShelf shelf;
    const std::size_t half = ArrayShelf::MostBytes / sizeof(double) / 2;
    shelf.give(arrayOf(Numbers));
    shelf.give(arrayOf(half));
    shelf.give(arrayOf(half));
    EXPECT_EQ(shelf.bytes(), ArrayShelf::MostBytes);
    EXPECT_EQ(shelf.take(Numbers).capacity(), 0U);
    shelf.give(arrayOf(2 * half + 1));
    EXPECT_EQ(shelf.bytes(), ArrayShelf::MostBytes);
}

// A box problem with more than 256 variables, too large for the method for small problems, and far
// from 1, so that H is scaled.
Status solveBox(std::size_t n) {
    std::vector<double> H(n * n, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
        H[j * n + j] = 200.0;
    }
    const std::vector<double> c(n, -100.0);
    const std::vector<double> upper(n, 0.25);
    Problem problem;
    problem.H = {H, n, n};
    problem.c = c;
    problem.upper = upper;
    return solve(problem).status;
}

TEST(ArrayShelf, LastsForTheNextSolveOfTheThreadUntilItIsReleased) {
    std::thread([] {
        EXPECT_EQ(solveBox(300), Status::Optimal);
        const std::size_t kept = ArrayShelf::ofThread().bytes();
        EXPECT_GE(kept, 2 * 300 * 300 * sizeof(double));
        EXPECT_EQ(solveBox(300), Status::Optimal);
        EXPECT_EQ(ArrayShelf::ofThread().bytes(), kept);
        releaseWorkspaces();
        EXPECT_EQ(ArrayShelf::ofThread().bytes(), 0U);
    }).join();
}

}  // namespace

}  // namespace activeset
