#include "core/menu/ZELMenuGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zel {
namespace {

TEST(MenuGeometryTest, PagePointBecomesWindowLocationAndBack) {
    EXPECT_EQ(menuLocationInWindow({100, 30}, 600), (ZELPoint{100, 570}));
    EXPECT_EQ(menuLocationInWindow({0, 0}, 600), (ZELPoint{0, 600}));
    EXPECT_EQ(menuLocationInWindow({12.5, 7.25}, 0), (ZELPoint{12.5, -7.25}));

    // The popover points at the click in the view's own top-left coordinates.
    EXPECT_EQ(menuAnchorInView({100, 570}, 1200, 600), (ZELRect{100, 30, 1, 1}));
    EXPECT_EQ(menuAnchorInView(menuLocationInWindow({1199, 599}, 600), 1200, 600),
              (ZELRect{1199, 599, 1, 1}));
}

TEST(MenuGeometryTest, BadClickPointsStayInsideTheView) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(menuAnchorInView(menuLocationInWindow({-40, -5}, 600), 1200, 600), (ZELRect{0, 0, 1, 1}));
    EXPECT_EQ(menuAnchorInView(menuLocationInWindow({5000, 900}, 600), 1200, 600),
              (ZELRect{1199, 599, 1, 1}));
    EXPECT_EQ(menuAnchorInView({inf, -inf}, 1200, 600), (ZELRect{1199, 599, 1, 1}));
    EXPECT_EQ(menuAnchorInView({nan, nan}, 1200, 600), (ZELRect{0, 0, 1, 1}));
    // A view not yet laid out.
    EXPECT_EQ(menuAnchorInView({10, 10}, 0, 0), (ZELRect{0, 0, 1, 1}));
}

}  // namespace
}  // namespace zel
