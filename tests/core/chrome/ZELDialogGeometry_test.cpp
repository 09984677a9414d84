#include "core/chrome/ZELDialogGeometry.h"

#include <gtest/gtest.h>

namespace zel::chrome {
namespace {

// Bottom edges measured down from the frame's top edge, as the dialogs are designed.
double below(const ZELRect& r, double height) {
    return height - r.y;
}

TEST(ZELDialogGeometry, LoginRowGrowsAtTheBottomAndCollapsesExactlyFeedbackFollowsTheFrame) {
    const double h = 150 + kTitleBarHeight;
    const ZELLoginLayout collapsed = loginWindowLayout(h, false);
    const struct {
        const char* name;
        ZELRect ZELLoginLayout::*control;
        double x, width, height, bottom, grownBottom;
    } rows[] = {
        {"user name", &ZELLoginLayout::usernameTextField, 22, 300, 23, 65, 65},
        {"picture", &ZELLoginLayout::verifyCodeImage, 73, 60, 40, 144, 144},
        {"refresh", &ZELLoginLayout::updateVerifyCodeButton, 140, 80, 25, 138, 138},
        {"login", &ZELLoginLayout::loginButton, 20, 144, 25, 140, 170},
        {"wheel", &ZELLoginLayout::progressIndicator, 60, 15, 15, 135, 165},
    };
    const ZELVerifyCodeChange grow = *verifyCodeChange(false, true);
    const ZELRect frame = changedFrame({100, 500, 340, h}, grow);
    EXPECT_EQ(frame, (ZELRect{100, 470, 340, h + 30}));  // the top edge (y + height) stays at 672
    EXPECT_EQ(grow.dh, 40);
    const ZELLoginLayout grown = loginWindowLayout(frame.height, true);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(collapsed.*row.control, (ZELRect{row.x, h - row.bottom, row.width, row.height}));
        EXPECT_EQ(below(grown.*row.control, frame.height), row.grownBottom);
    }
    // Only a change of state moves anything; collapsing restores the first frame and every position.
    EXPECT_FALSE(verifyCodeChange(true, true));
    EXPECT_FALSE(verifyCodeChange(false, false));
    const ZELRect back = changedFrame(frame, *verifyCodeChange(true, false));
    EXPECT_EQ(back, (ZELRect{100, 500, 340, h}));
    EXPECT_EQ(loginWindowLayout(back.height, false), collapsed);
    EXPECT_EQ(titleBarRect(340, h), (ZELRect{0, 150, 340, 22}));
    EXPECT_EQ(feedbackWindowLayout(340, 190 + kTitleBarHeight).submitButton, (ZELRect{230, 27, 100, 25}));
}

}  // namespace
}  // namespace zel::chrome
