#include "core/chrome/ZELChromeGeometry.h"

#include <cmath>

namespace zel::chrome {

ZELRect flipped(const ZELRect& r, double parentHeight) {
    return {r.x, parentHeight - r.y - r.height, r.width, r.height};
}

namespace {

constexpr double kLightWidth = 14, kLightHeight = 16;

ZELTrafficLights lightsAt(double y) {
    return {{6, y, kLightWidth, kLightHeight},
            {27, y, kLightWidth, kLightHeight},
            {47, y, kLightWidth, kLightHeight},
            {6, y, 55, 30}};
}

}  // namespace

ZELTrafficLights titledWindowLights(double frameHeight) {
    return lightsAt(std::trunc(frameHeight - kLightHeight - 4));
}

ZELRect frameRectForContentRect(const ZELRect& content) {
    return {content.x, content.y - 25, content.width, content.height + 50};
}

ZELRect contentRectForFrameRect(const ZELRect& frame) {
    return {0, 0, frame.width, frame.height};
}

ZELChromeSize contentSizeForRequest(ZELChromeSize requested, ZELChromeSize frameView, ZELChromeSize content) {
    return {frameView.width + requested.width - content.width,
            frameView.height + requested.height - content.height};
}

ZELRect sheetRect(const ZELRect& proposed, double frameHeight) {
    return {proposed.x, frameHeight - 50, proposed.width, proposed.height};
}

ZELMainWindowLayout mainWindowLayout(double width, double height, ZELChromeSize fullScreenButton) {
    return {{0, height - kHeaderHeight, width, kHeaderHeight},
            {0, 0, width, height - 50},
            lightsAt(kHeaderHeight - kLightHeight - 2),
            {width - fullScreenButton.width - 2, 33, fullScreenButton.width, fullScreenButton.height}};
}

ZELHeaderLayout headerLayout(double width, double height) {
    return {{0, 0, width, height},
            {width - 415, height - 45, 200, 36},
            {8, height - 45, 26, 23},
            {35, height - 45, 26, 23},
            {width - 174 - 18, height - 23 - 15, 174, 23},
            {0, height - 30, width, 20}};
}

ZELRect searchTextRect(const ZELRect& field) {
    return {field.x + 35, field.y, 120, 22};
}

std::vector<ZELPathElement> headerBackgroundShape(double w, double h) {
    using K = ZELPathElement::Kind;
    return {{K::move, {0, 0}, {}, {}},
            {K::line, {0, h - 10}, {}, {}},
            {K::curve, {10, h}, {0, h}, {0, h}},
            {K::line, {w - 10, h}, {}, {}},
            {K::curve, {w, h - 10}, {w, h}, {w, h}},
            {K::line, {w, 0}, {}, {}},
            {K::line, {0, 0}, {}, {}}};
}

ZELChromePoint tilePhase(const ZELRect& viewInWindow) {
    return {viewInWindow.x, viewInWindow.y + viewInWindow.height};
}

std::optional<ZELRect> spinningWheelFrame(double w, double h) {
    if (h >= 64 && w >= 64) return ZELRect{w * 0.5 - 16, h * 0.5 - 16, 32, 32};
    if (h >= 16 && h < 64 && w >= 16 && w < 64) return ZELRect{w * 0.5 - 8, h * 0.5 - 8, 16, 16};
    return std::nullopt;
}

ZELUserInfoLayout userInfoLayout(double w) {
    return {{0, 0, 40, 40},       {30, 0, 100, 20},   {w - 20, 1, 15, 35},
            {w - 70, 12, 80, 20}, {w - 36, 16, 1, 6}, {w - 30, 12, 80, 20}};
}

ZELUserNamePlacement userNamePlacement(double w, ZELChromeSize name) {
    return {{w - name.width - 20, 12, name.width, name.height}, {w - name.width - 62, 0, 40, 40}};
}

ZELChromePoint userMenuPoint(const ZELRect& menuButton) {
    return {menuButton.x - 60, menuButton.y + 5};
}

ZELAvatarLayout avatarLayout() {
    return {{1, 4, 32, 31}, {0, 2, 34, 34}, 17};
}

}  // namespace zel::chrome
