#include "core/menu/ZELMenuGeometry.h"

#include <algorithm>
#include <cmath>

namespace zel {
namespace {

double clampInto(double value, double extent) {
    if (std::isnan(value)) return 0;
    return std::clamp(value, 0.0, std::max(0.0, extent - 1));
}

}  // namespace

ZELPoint menuLocationInWindow(ZELPoint pageOrigin, double webViewHeight) {
    return {pageOrigin.x, webViewHeight - pageOrigin.y};
}

ZELRect menuAnchorInView(ZELPoint windowLocation, double webViewWidth, double webViewHeight) {
    const double x = clampInto(windowLocation.x, webViewWidth);
    const double y = clampInto(webViewHeight - windowLocation.y, webViewHeight);
    return {x, y, 1, 1};
}

}  // namespace zel
