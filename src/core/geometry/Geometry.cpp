#include "core/geometry/Geometry.h"

#include <algorithm>

namespace zel {

ZELRect centeredRect(const ZELRect& area, double width, double height) {
    const double x = area.x + std::max(0.0, (area.width - width) / 2);
    const double y = area.y + std::max(0.0, (area.height - height) / 3);
    return {x, y, width, height};
}

}  // namespace zel
