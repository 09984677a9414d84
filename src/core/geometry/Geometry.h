// Rectangles in points with double components. Screen rectangles here have their origin at the top left, as
// the display server's do.
#pragma once

namespace zel {

struct ZELRect {
    double x = 0, y = 0, width = 0, height = 0;
    bool operator==(const ZELRect&) const = default;
};

// Where a window of the given size goes when it is centred on a screen area: centred horizontally and
// somewhat above the middle (a third of the free height above it, two thirds below), never above or left of
// the area.
ZELRect centeredRect(const ZELRect& area, double width, double height);

}  // namespace zel
