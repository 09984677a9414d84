// Where the main window's chrome goes: pure functions of the window's or a view's width W and height H.
//
// Rectangles are in the parent's coordinates with the origin at the parent's lower-left corner and y growing
// upwards, the figures the chrome is designed in. The toolkit places children from the top left: `flipped`
// turns one into the other, once, where a widget is placed. Any thread.
#pragma once

#include "core/geometry/Geometry.h"

#include <optional>
#include <vector>

namespace zel::chrome {

struct ZELChromePoint {
    double x = 0, y = 0;
    bool operator==(const ZELChromePoint&) const = default;
};

struct ZELChromeSize {
    double width = 0, height = 0;
    bool operator==(const ZELChromeSize&) const = default;
};

// A rectangle of a parent h high, from bottom-left to top-left origin (and back: the flip is its own
// inverse).
ZELRect flipped(const ZELRect& r, double parentHeight);

// The three traffic lights and the region whose hover turns all three to their rollover images.
struct ZELTrafficLights {
    ZELRect close, minimize, zoom, hover;
    bool operator==(const ZELTrafficLights&) const = default;
};

// A titled window's lights: a row whose top edge lies 4 below the top of a frame frameHeight high.
ZELTrafficLights titledWindowLights(double frameHeight);

// The main window: frame = content grown 25 at the top and at the bottom.
ZELRect frameRectForContentRect(const ZELRect& content);
ZELRect contentRectForFrameRect(const ZELRect& frame);
// The window content size that gives the content view `requested`, keeping header and margins.
ZELChromeSize contentSizeForRequest(ZELChromeSize requested, ZELChromeSize frameView, ZELChromeSize content);
// Sheets drop from the content area's top edge, 50 below the window's top.
ZELRect sheetRect(const ZELRect& proposed, double frameHeight);

constexpr double kHeaderHeight = 52;

struct ZELMainWindowLayout {
    ZELRect header;            // in the window
    ZELRect content;           // in the window; its top 2 overlap the header's bottom 2
    ZELTrafficLights lights;   // in the header
    ZELRect fullScreenButton;  // in the header
    bool operator==(const ZELMainWindowLayout&) const = default;
};
ZELMainWindowLayout mainWindowLayout(double width, double height, ZELChromeSize fullScreenButton);

struct ZELHeaderLayout {
    ZELRect background, userInfo, historyBack, historyForward, searchField, title;
    bool operator==(const ZELHeaderLayout&) const = default;
};
ZELHeaderLayout headerLayout(double width, double height);
// Where the search field lays out and edits its text, in the field's parent.
ZELRect searchTextRect(const ZELRect& field);

// The header background's outline: straight bottom, quarter curves of radius 10 at the top corners.
struct ZELPathElement {
    enum class Kind { move, line, curve } kind;
    ZELChromePoint to, control1, control2;  // controls only for curves
    bool operator==(const ZELPathElement&) const = default;
};
std::vector<ZELPathElement> headerBackgroundShape(double width, double height);

// Where a background tiled "from the view's top-left corner" starts, for a view at `viewInWindow` (window
// coordinates, y up): the view's left edge and top edge.
ZELChromePoint tilePhase(const ZELRect& viewInWindow);

// The progress wheel of an image view w by h: 32 x 32 for views of at least 64 x 64, 16 x 16 for views from
// 16 x 16 up to 63.99 in both directions, centred; none otherwise.
std::optional<ZELRect> spinningWheelFrame(double width, double height);

// The user info view, `width` wide.
struct ZELUserInfoLayout {
    ZELRect avatar, name, menuButton, login, seperator, registerButton;
    bool operator==(const ZELUserInfoLayout&) const = default;
};
ZELUserInfoLayout userInfoLayout(double width);
// After a name measuring `nameSize` is set: the name's frame and the avatar's.
struct ZELUserNamePlacement {
    ZELRect name, avatar;
    bool operator==(const ZELUserNamePlacement&) const = default;
};
ZELUserNamePlacement userNamePlacement(double width, ZELChromeSize nameSize);
// Where the user menu opens: 60 left of and 5 above the menu button's origin (user info view coordinates).
ZELChromePoint userMenuPoint(const ZELRect& menuButton);

// Inside the avatar view: the picture (shown as a disc) and the frame drawn over it.
struct ZELAvatarLayout {
    ZELRect picture, frame;
    double pictureCornerRadius;
};
ZELAvatarLayout avatarLayout();

}  // namespace zel::chrome
