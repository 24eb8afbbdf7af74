#include "NivexDesign/RadialLayout.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace nivex {
namespace {

double distance(const LayoutPoint& one, const LayoutPoint& other)
{
    return std::hypot(one.x - other.x, one.y - other.y);
}

TEST(RadialLayout, KeepsBubblesApartOutsideTheSphereAndInsideTheScreen)
{
    const LayoutArea screen{0, 0, 1280, 800};
    struct Case {
        const char* name;
        LayoutPoint center;
        std::size_t count;
        std::size_t expected;
    };
    const Case cases[] = {
        {"in the middle of the screen", {640, 400}, 8, 8},
        {"more than one ring holds", {640, 400}, 30, 30},
        {"at the right edge", {1240, 400}, 8, 8},
        {"in a corner", {30, 30}, 8, 8},
        {"beyond the edge, after a screen was unplugged", {1400, 400}, 3, 3},
        {"none", {640, 400}, 0, 0},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const RadialLayout layout{
            .center = each.center, .sphereRadius = 90, .bubbleRadius = 34, .gap = 10, .area = screen};
        const std::vector<LayoutPoint> bubbles = layout.bubbles(each.count);
        EXPECT_EQ(bubbles.size(), each.expected);
        for (std::size_t i = 0; i < bubbles.size(); ++i) {
            EXPECT_GE(distance(bubbles[i], each.center), 90 + 34 + 10 - 1e-6);
            EXPECT_GE(bubbles[i].x - 34, screen.left);
            EXPECT_LE(bubbles[i].x + 34, screen.right);
            EXPECT_GE(bubbles[i].y - 34, screen.top);
            EXPECT_LE(bubbles[i].y + 34, screen.bottom);
            for (std::size_t j = 0; j < i; ++j)
                EXPECT_GE(distance(bubbles[i], bubbles[j]), 2 * 34 + 10 - 1e-6) << i << " and " << j;
        }
    }
}

TEST(RadialLayout, BeginsAtTheTopAndGoesClockwise)
{
    const RadialLayout layout{
        .center = {500, 500}, .sphereRadius = 100, .bubbleRadius = 30, .gap = 10, .area = {0, 0, 1000, 1000}};
    const std::vector<LayoutPoint> four = layout.bubbles(4);
    ASSERT_EQ(four.size(), 4U);
    EXPECT_LT(four[0].y, 400);
    EXPECT_GT(four[1].x, 600);
    EXPECT_GT(four[2].y, 600);
    EXPECT_LT(four[3].x, 400);
    EXPECT_TRUE((RadialLayout{.center = {5, 5}, .sphereRadius = 3, .bubbleRadius = 9, .gap = 1, .area = {0, 0, 10, 10}}
                     .bubbles(3)
                     .empty()))
        << "a place too small holds none";
}

} // namespace
} // namespace nivex
