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
    const struct {
        const char* language;
        std::vector<std::string> titles;
        std::vector<std::vector<std::string>> items;
    } rows[] = {
        {"en",
         {"Apple", "Edit", "Window", "Help"},
         {{"About Ostrelle||1", "-", "-", "Preferences...|<Control>comma|0", "-", "Services||0", "-",
           "Hide Ostrelle|<Control>h|1", "Hide Others|<Control><Alt>h|0", "-", "Quit Ostrelle|<Control>q|1"},
          {"Undo|<Control>z|1", "Redo|<Shift><Control>z|1", "-", "Cut|<Control>x|1", "Copy|<Control>c|1",
           "Paste|<Control>v|1", "Delete||1", "Select All|<Control>a|1"},
          {"Minimize|<Control>m|1", "Zoom||1"},
          {"Ostrelle Help|<Control>question|1", "Feedback|<Control>f|1"}}},
        {"zh_CN",
         {"Apple", "编辑", "窗口", "帮助"},
         {{"关于 Ostrelle||1", "-", "-", "偏好设置…|<Control>comma|0", "-", "服务||0", "-",
           "隐藏 Ostrelle|<Control>h|1", "隐藏其他|<Control><Alt>h|0", "-", "退出 Ostrelle|<Control>q|1"},
          {"撤销|<Control>z|1", "重做|<Shift><Control>z|1", "-", "剪切|<Control>x|1", "拷贝|<Control>c|1",
           "粘贴|<Control>v|1", "删除||1", "全选|<Control>a|1"},
          {"最小化|<Control>m|1", "缩放||1"},
          {"Ostrelle 帮助|<Control>question|1", "意见反馈|<Control>f|1"}}},
    };
#ifdef OSTRELLE_TEST_LOCALE_DIR
    bindTranslations(OSTRELLE_TEST_LOCALE_DIR);
#endif
    std::setlocale(LC_ALL, "C.UTF-8");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.language);
#ifndef OSTRELLE_TEST_LOCALE_DIR
        if (std::string(row.language) != "en") continue;  // a build without the catalogues
#endif
        setenv("LANGUAGE", row.language, 1);
        const ZELMainMenu bar = ZELMenuPopulator::populateMainMenu();
        EXPECT_EQ(bar.title, "MainMenu");
        ASSERT_EQ(bar.items.size(), 4u);
        for (std::size_t m = 0; m < 4; ++m) {
            SCOPED_TRACE(m);
            EXPECT_EQ(bar.items[m].title, (std::vector<std::string>{"Apple", "Edit", "Window", "Help"})[m]);
            EXPECT_EQ(bar.items[m].submenu->title, row.titles[m]);
            EXPECT_EQ(shown(*bar.items[m].submenu), row.items[m]);
        }
    }
    unsetenv("LANGUAGE");
}

}  // namespace
}  // namespace zel
