#include "core/chrome/ZELChromeGeometry.h"
#include "core/chrome/ZELColorHex.h"
#include "core/chrome/ZELDialogGeometry.h"

#include <gtest/gtest.h>

namespace zel::chrome {

TEST(ZELColorHex, ScansLikeAHexIntegerScanner) {
    const double e2 = 226 / 255.0;
    const std::pair<std::optional<std::string_view>, ZELColor> rows[] = {
        {"e2E2e2", {e2, e2, e2, 1}},   {"  0xff0000", {1, 0, 0, 1}},
        {"ffe2e2e2", {e2, e2, e2, 1}}, {"e2zz", {0, 0, e2, 1}},
        {"#e2e2e2", {0, 0, 0, 1}},     {std::nullopt, {0, 0, 0, 1}},
        {"123456789", {1, 1, 1, 1}},   {"fffffffffffffffffffff0", {1, 1, 1, 1}},
    };
    for (const auto& [text, color] : rows)
        EXPECT_EQ(colorWithHexColorString(text), color) << text.value_or("nil");
}

// A few rectangles at the designed size show each anchoring rule; layouts count y upwards, views downwards.
TEST(ZELChromeGeometry, MainWindowHeaderAndUserInfo) {
    const ZELMainWindowLayout l = mainWindowLayout(1200, 670, {20, 20});
    EXPECT_EQ(flipped(l.header, 670), (ZELRect{0, 0, 1200, 52}));
    EXPECT_EQ(flipped(l.content, 670), (ZELRect{0, 50, 1200, 620}));  // under the header's bottom 2 points
    EXPECT_EQ(l.fullScreenButton, (ZELRect{1178, 33, 20, 20}));
    EXPECT_EQ(titledWindowLights(300.5).zoom, (ZELRect{47, 280, 14, 16}));
    EXPECT_EQ(frameRectForContentRect({100, 100, 1200, 620}), (ZELRect{100, 75, 1200, 670}));
    EXPECT_EQ(contentSizeForRequest({1300, 700}, {1200, 670}, {1200, 620}), (ZELChromeSize{1300, 750}));
    EXPECT_EQ(sheetRect({10, 300, 400, 200}, 670).y, 620);
    EXPECT_EQ(tilePhase({0, 618, 1200, 52}), (ZELChromePoint{0, 670}));

    const ZELHeaderLayout h = headerLayout(1200, 52);
    EXPECT_EQ(h.userInfo, (ZELRect{785, 7, 200, 36}));
    EXPECT_EQ(h.searchField, (ZELRect{1008, 14, 174, 23}));
    EXPECT_EQ(searchTextRect(h.searchField), (ZELRect{1043, 14, 120, 22}));
    const auto shape = headerBackgroundShape(1200, 52);  // rounded at the bottom corners only
    ASSERT_EQ(shape.size(), 7u);
    EXPECT_EQ(shape[2], (ZELPathElement{ZELPathElement::Kind::curve, {10, 52}, {0, 52}, {0, 52}}));
    EXPECT_EQ(shape[4], (ZELPathElement{ZELPathElement::Kind::curve, {1200, 42}, {1200, 52}, {1200, 52}}));

    EXPECT_EQ(userInfoLayout(200).registerButton, (ZELRect{170, 12, 80, 20}));
    EXPECT_EQ(userNamePlacement(200, {60, 16}), (ZELUserNamePlacement{{120, 12, 60, 16}, {78, 0, 40, 40}}));
    EXPECT_EQ(userMenuPoint(userInfoLayout(200).menuButton), (ZELChromePoint{120, 6}));
}

TEST(ZELChromeGeometry, SpinningWheelSizes) {
    const std::tuple<double, double, std::optional<ZELRect>> rows[] = {{64, 64, ZELRect{16, 16, 32, 32}},
                                                                       {63, 63, ZELRect{23.5, 23.5, 16, 16}},
                                                                       {15, 15, {}},
                                                                       {100, 40, {}}};
    for (const auto& [w, h, wheel] : rows) EXPECT_EQ(spinningWheelFrame(w, h), wheel) << w << "x" << h;
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
        EXPECT_EQ(frame.height - (grown.*row.control).y, row.grownBottom);  // measured down from the top
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

}  // namespace zel::chrome
