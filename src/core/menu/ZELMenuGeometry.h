// Where a context menu appears. The web app gives the click point in page pixels from the web view's top
// left; the menu is placed at that point expressed in the window's bottom-left-origin coordinates (the web
// view fills the window's content area), and the toolkit finally points the menu at a one-point rectangle in
// the web view's own top-left-origin coordinates. Pure functions; any thread.
#pragma once

#include "core/geometry/Geometry.h"
#include "core/plugins/ZELMenuPlugin.h"

namespace zel {

// x stays; y becomes webViewHeight - y. Without a web view pass a height of 0.
ZELPoint menuLocationInWindow(ZELPoint pageOrigin, double webViewHeight);

// The 1 x 1 rectangle, in the web view's coordinates with the origin at its top left, that the menu points
// at for a window location. Points outside the view (or not numbers at all) are moved to its nearest edge,
// so a bad click point from the page still opens the menu inside the view.
ZELRect menuAnchorInView(ZELPoint windowLocation, double webViewWidth, double webViewHeight);

}  // namespace zel
