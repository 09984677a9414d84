// The header's search field: a frameless text input over "search_bg.png", its text laid out 35 points from
// the field's left edge in a 120 x 22 box, placeholder "搜索".
//
// Reports to its delegate: focus in -> showSearchSuggestion; every change the user makes -> updateSearchQuery
// with the whole text, then showSearchSuggestion; Return or Enter -> submitSearchQuery with the whole text
// (consumed); focus out -> hideSearchSuggestion. Arrows, Tab and Escape keep their usual behaviour and report
// nothing; text set with setText reports nothing. The delegate is not owned. Main thread.
#pragma once

#include "ui/controls/ZELImage.h"

#include <gtkmm.h>

#include <string>

namespace zel {

class ZELSearchTextFieldDelegate {
  public:
    virtual ~ZELSearchTextFieldDelegate() = default;
    virtual void submitSearchQuery(const std::string& /*query*/) {}
    virtual void updateSearchQuery(const std::string& /*query*/) {}
    virtual void showSearchSuggestion() {}
    virtual void hideSearchSuggestion() {}
};

class ZELSearchTextField : public Gtk::Widget {
  public:
    ZELSearchTextField();
    ~ZELSearchTextField() override;

    void setSearchTextFieldDelegate(ZELSearchTextFieldDelegate* delegate) { delegate_ = delegate; }
    std::string text() const { return text_.get_text(); }
    void setText(const std::string& text);
    Gtk::Text& editor() { return text_; }

  protected:
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                       int& minimumBaseline, int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

  private:
    bool handleKey(guint keyval, Gdk::ModifierType state);

    ZELSearchTextFieldDelegate* delegate_ = nullptr;
    ZELImage background_{"search_bg.png"};
    Gtk::Text text_;
    bool settingText_ = false;
    bool editing_ = false;
    Glib::RefPtr<Gtk::EventControllerFocus> focus_;
    Glib::RefPtr<Gtk::EventControllerKey> keys_;
};

}  // namespace zel
