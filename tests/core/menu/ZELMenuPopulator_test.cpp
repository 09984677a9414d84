#include "core/menu/ZELMenuPopulator.h"
#include "core/i18n/ZELLocalized.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

namespace zel {
namespace {

// Each item as "title|accelerator|enabled", separators as "-".
std::vector<std::string> shown(const ZELMainMenu& menu) {
    std::vector<std::string> out;
    for (const ZELMainMenuItem& i : menu.items)
        out.push_back(i.separator ? "-" : i.title + "|" + accelerator(i) + "|" + (i.enabled() ? "1" : "0"));
    return out;
}

TEST(ZELMenuPopulator, FourMenusInOrderWithCtrlKeysAndTranslatedTitles) {
    {
        // No "CFBundleName": the fallback name, and the line about it once.
        test::LogCapture log;
        EXPECT_EQ(ZELMenuPopulator::applicationName(), "Ostrelle");
        EXPECT_EQ(ZELMenuPopulator::applicationName(), "Ostrelle");
        EXPECT_EQ(log.lines,
                  (std::vector<std::string>{
                      "[[NSBundle mainBundle] objectForInfoDictionaryKey:@\"CFBundleName\"] == nil"}));
    }
    const std::vector<std::vector<std::string>> items = {
        {"About Ostrelle||1", "-", "-", "Preferences...|<Control>comma|0", "-", "Services||0", "-",
         "Hide Ostrelle|<Control>h|1", "Hide Others|<Control><Alt>h|0", "-", "Quit Ostrelle|<Control>q|1"},
        {"Undo|<Control>z|1", "Redo|<Shift><Control>z|1", "-", "Cut|<Control>x|1", "Copy|<Control>c|1",
         "Paste|<Control>v|1", "Delete||1", "Select All|<Control>a|1"},
        {"Minimize|<Control>m|1", "Zoom||1"},
        {"Ostrelle Help|<Control>question|1", "Feedback|<Control>f|1"}};
    std::setlocale(LC_ALL, "C.UTF-8");
    setenv("LANGUAGE", "en", 1);
    const ZELMainMenu bar = ZELMenuPopulator::populateMainMenu();
    EXPECT_EQ(bar.title, "MainMenu");
    ASSERT_EQ(bar.items.size(), 4u);
    for (std::size_t m = 0; m < 4; ++m) {
        EXPECT_EQ(bar.items[m].title, (std::vector<std::string>{"Apple", "Edit", "Window", "Help"})[m]);
        EXPECT_EQ(shown(*bar.items[m].submenu), items[m]) << m;
    }
#ifdef OSTRELLE_TEST_LOCALE_DIR
    // The same menus read through the compiled catalogues; the keys stay.
    bindTranslations(OSTRELLE_TEST_LOCALE_DIR);
    setenv("LANGUAGE", "zh_CN", 1);
    const ZELMainMenu zh = ZELMenuPopulator::populateMainMenu();
    EXPECT_EQ(zh.items[1].title, "Edit");
    EXPECT_EQ(zh.items[1].submenu->title, "编辑");
    EXPECT_EQ(shown(*zh.items[0].submenu).back(), "退出 Ostrelle|<Control>q|1");
#endif
    unsetenv("LANGUAGE");
}

}  // namespace
}  // namespace zel
