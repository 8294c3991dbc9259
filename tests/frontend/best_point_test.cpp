// Which of two points is kept as the best one.
#include <gtest/gtest.h>

#include "frontend/loop/best_point.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using frontend::Point;
using frontend::Vector;

class BestPoint : public FreshState {};

// ½‖x‖² − x₁ with x₁ ≤ ½.
TEST_F(BestPoint, PolishedForItsSidesMissesThemByLessWhateverIsBetterElse) {
    frontend::ProblemData data;
    data.n = 2;
    data.m = 1;
    data.quadratic = true;
    data.H.change() = {1, 0, 0, 1};
    data.c = {-1, 0};
    data.A.change() = {1, 0};
    data.rowLower = {-Infinity};
    data.rowUpper = {0.5};
    data.lower = {-Infinity, -Infinity};
    data.upper = {Infinity, Infinity};
    frontend::ProblemCache cache(data);
    const Settings settings;
    frontend::Control control(settings, 100);
    frontend::BestPoint best(cache, settings, control);
    const auto point = [&](Vector x, double y) {
        return cache.scaling.scaled({std::move(x), {y}, {0, 0}});
    };
    best.consider(point({0.5 + 1e-14, 0}, 0.5 - 1e-14), {});
    const Point missing = best.point();
    best.polishSides(point({0.5, 0}, 0.5 - 1e-6), {});  // far from level
    EXPECT_EQ(best.point().x, missing.x);
    const Point level = point({0.5, 0}, 0.5 - 1e-13);
    best.polish(level, {});
    EXPECT_EQ(best.point().x, missing.x);
    best.polishSides(level, {});
    EXPECT_EQ(best.point().x, level.x);
}

}  // namespace
}  // namespace activeset::test
