#include "core/chrome/ZELDialogGeometry.h"

namespace zel::chrome {
namespace {

constexpr double kVerifyCodeGrowth = 30, kVerifyCodeContentGrowth = 40;

}  // namespace

ZELRect titleBarRect(double width, double height) {
    return {0, height - kTitleBarHeight, width, kTitleBarHeight};
}

ZELLoginLayout loginWindowLayout(double height, bool verifyCodeShown) {
    const double h = height;
    // The button, wheel and link sit below the code row while it is shown.
    const double moved = verifyCodeShown ? kVerifyCodeGrowth : 0;
    return {{22, h - 65, 300, 23},         {22, h - 100, 300, 23},        {22, h - 135, 45, 23},
            {73, h - 144, 60, 40},         {140, h - 138, 80, 25},        {20, h - 140 - moved, 144, 25},
            {60, h - 135 - moved, 15, 15}, {180, h - 130 - moved, 64, 10}};
}

std::optional<ZELVerifyCodeChange> verifyCodeChange(bool shown, bool need) {
    if (!shown && need) return ZELVerifyCodeChange{kVerifyCodeGrowth, kVerifyCodeContentGrowth};
    if (shown && !need) return ZELVerifyCodeChange{-kVerifyCodeGrowth, -kVerifyCodeContentGrowth};
    return std::nullopt;
}

ZELRect changedFrame(const ZELRect& frame, const ZELVerifyCodeChange& change) {
    return {frame.x, frame.y - change.dy, frame.width, frame.height + change.dy};
}

ZELFeedbackLayout feedbackWindowLayout(double width, double height) {
    const double w = width, h = height;
    return {{10, h - 115, w - 20, 80}, {10, h - 150, w - 20, 25}, {w - 110, h - 185, 100, 25}};
}

}  // namespace zel::chrome
