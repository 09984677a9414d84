#include "core/geometry/Geometry.h"

#include <gtest/gtest.h>

namespace zel {

TEST(GeometryTest, WindowsCentredAboveTheMiddleOfTheirScreen) {
    // Free space split 1:1 across and 1:2 down; a second monitor keeps its origin; too large starts at 0,0.
    EXPECT_EQ(centeredRect({0, 0, 1920, 1080}, 1200, 620), (ZELRect{360, 460.0 / 3, 1200, 620}));
    EXPECT_EQ(centeredRect({1920, 0, 1280, 1024}, 340, 150).x, 1920 + 470);
    EXPECT_EQ(centeredRect({0, 0, 800, 600}, 1200, 620), (ZELRect{0, 0, 1200, 620}));
}

}  // namespace zel
