#include "core/chrome/ZELChromeGeometry.h"
#include "core/chrome/ZELColorHex.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace zel::chrome {
namespace {

TEST(ZELColorHex, ScansLikeAHexIntegerScanner) {
    const double e2 = 226 / 255.0, ee = 238 / 255.0;
    const struct {
        std::optional<std::string> text;
        ZELColor color;
    } rows[] = {
        {"e2e2e2", {e2, e2, e2, 1}},
        {"EEEEEE", {ee, ee, ee, 1}},
        {"eeeeee", {ee, ee, ee, 1}},
        {"0xff0000", {1, 0, 0, 1}},
        {"  00ff00", {0, 1, 0, 1}},
        {"ffe2e2e2", {e2, e2, e2, 1}},
        {"e2", {0, 0, e2, 1}},
        {"e2zz", {0, 0, e2, 1}},
        {"#e2e2e2", {0, 0, 0, 1}},
        {std::nullopt, {0, 0, 0, 1}},
        {"", {0, 0, 0, 1}},
        {"123456789", {1, 1, 1, 1}},
        {"fffffffffffffffffffff0", {1, 1, 1, 1}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.value_or("(nil)"));
        const auto text = row.text ? std::optional<std::string_view>(*row.text) : std::nullopt;
        EXPECT_EQ(colorWithHexColorString(text), row.color);
    }
}

TEST(ZELChromeGeometry, TiledBackgroundStartsAtTheViewsTopLeft) {
    EXPECT_EQ(tilePhase({30, 0, 200, 52}), (ZELChromePoint{30, 52}));
    EXPECT_EQ(tilePhase({0, 618, 1200, 52}), (ZELChromePoint{0, 670}));
}

TEST(ZELChromeGeometry, TitledWindowLightsSitFourBelowTheTop) {
    for (double h : {300.0, 300.5}) {
        SCOPED_TRACE(h);
        EXPECT_EQ(
            titledWindowLights(h),
            (ZELTrafficLights{{6, 280, 14, 16}, {27, 280, 14, 16}, {47, 280, 14, 16}, {6, 280, 55, 30}}));
    }
}

TEST(ZELChromeGeometry, MainWindowFrameAndContent) {
    const ZELMainWindowLayout l = mainWindowLayout(1200, 670, {20, 20});
    EXPECT_EQ(l.header, (ZELRect{0, 618, 1200, 52}));
    EXPECT_EQ(l.content, (ZELRect{0, 0, 1200, 620}));
    EXPECT_EQ(l.lights.close, (ZELRect{6, 34, 14, 16}));
    EXPECT_EQ(l.lights.hover, (ZELRect{6, 34, 55, 30}));
    EXPECT_EQ(l.fullScreenButton.x + l.fullScreenButton.width, 1200 - 2);
    EXPECT_EQ(l.fullScreenButton.y, 33);
    // The toolkit's view: header at the top, content under its bottom 2 points.
    EXPECT_EQ(flipped(l.header, 670), (ZELRect{0, 0, 1200, 52}));
    EXPECT_EQ(flipped(l.content, 670), (ZELRect{0, 50, 1200, 620}));
    EXPECT_EQ(flipped(l.lights.close, 52), (ZELRect{6, 2, 14, 16}));

    EXPECT_EQ(frameRectForContentRect({100, 100, 1200, 620}), (ZELRect{100, 75, 1200, 670}));
    EXPECT_EQ(frameRectForContentRect({0, 0, 1200, 620}), (ZELRect{0, -25, 1200, 670}));
    EXPECT_EQ(contentRectForFrameRect({100, 75, 1200, 670}), (ZELRect{0, 0, 1200, 670}));
    EXPECT_EQ(contentSizeForRequest({1300, 700}, {1200, 670}, {1200, 620}), (ZELChromeSize{1300, 750}));
    EXPECT_EQ(sheetRect({10, 300, 400, 200}, 670).y, 620);
}

TEST(ZELChromeGeometry, HeaderLayoutAndShape) {
    const ZELHeaderLayout l = headerLayout(1200, 52);
    EXPECT_EQ(l.userInfo, (ZELRect{785, 7, 200, 36}));
    EXPECT_EQ(l.historyBack, (ZELRect{8, 7, 26, 23}));
    EXPECT_EQ(l.historyForward, (ZELRect{35, 7, 26, 23}));
    EXPECT_EQ(l.searchField, (ZELRect{1008, 14, 174, 23}));
    EXPECT_EQ(l.title, (ZELRect{0, 22, 1200, 20}));
    EXPECT_EQ(searchTextRect(l.searchField), (ZELRect{1043, 14, 120, 22}));

    using K = ZELPathElement::Kind;
    const auto shape = headerBackgroundShape(1200, 52);
    ASSERT_EQ(shape.size(), 7u);
    EXPECT_EQ(shape[1], (ZELPathElement{K::line, {0, 42}, {}, {}}));
    EXPECT_EQ(shape[2], (ZELPathElement{K::curve, {10, 52}, {0, 52}, {0, 52}}));
    EXPECT_EQ(shape[3].to, (ZELChromePoint{1190, 52}));
    EXPECT_EQ(shape[4], (ZELPathElement{K::curve, {1200, 42}, {1200, 52}, {1200, 52}}));
    EXPECT_EQ(shape[5].to, (ZELChromePoint{1200, 0}));
    EXPECT_EQ(shape[6], (ZELPathElement{K::line, {0, 0}, {}, {}}));
}

TEST(ZELChromeGeometry, SpinningWheelSizes) {
    const struct {
        double w, h;
        std::optional<ZELRect> wheel;
    } rows[] = {
        {64, 64, ZELRect{16, 16, 32, 32}},
        {63, 63, ZELRect{23.5, 23.5, 16, 16}},
        {15, 15, std::nullopt},
        {64, 40, std::nullopt},
        {40, 64, std::nullopt},
        {100, 40, std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.w << "x" << row.h);
        EXPECT_EQ(spinningWheelFrame(row.w, row.h), row.wheel);
    }
}

TEST(ZELChromeGeometry, UserInfoLayout) {
    const ZELUserInfoLayout l = userInfoLayout(200);
    EXPECT_EQ(l.menuButton, (ZELRect{180, 1, 15, 35}));
    EXPECT_EQ(l.login, (ZELRect{130, 12, 80, 20}));
    EXPECT_EQ(l.seperator, (ZELRect{164, 16, 1, 6}));
    EXPECT_EQ(l.registerButton, (ZELRect{170, 12, 80, 20}));
    EXPECT_EQ(userNamePlacement(200, {60, 16}), (ZELUserNamePlacement{{120, 12, 60, 16}, {78, 0, 40, 40}}));
    EXPECT_EQ(userMenuPoint(l.menuButton), (ZELChromePoint{120, 6}));
}

}  // namespace
}  // namespace zel::chrome
