#include "ui/windows/ZELFeedbackWindow.h"

#include "core/chrome/ZELDialogGeometry.h"

namespace zel {

ZELFeedbackWindow::ZELFeedbackWindow(int contentWidth, int contentHeight) {
    const double width = contentWidth, height = contentHeight + chrome::kTitleBarHeight;
    chrome_ = std::make_unique<ZELDialogChrome>(*this, frameView_, "意见反馈", width, height);

    // People write paragraphs: the text wraps, and Tab moves on to the contact field.
    contentText_.set_wrap_mode(Gtk::WrapMode::WORD_CHAR);
    contentText_.set_accepts_tab(false);
    contentText_.set_left_margin(4);
    contentText_.set_right_margin(4);
    contentText_.set_top_margin(3);
    contentText_.add_css_class("ostrelle-field");
    contentScroll_.set_child(contentText_);
    contentScroll_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    contentScroll_.add_css_class("ostrelle-field");
    placeholder_.set_text("感谢使用OstrelleMac版，欢迎您反馈任何意见和问题。");
    placeholder_.add_css_class("ostrelle-placeholder");
    placeholder_.set_wrap(true);
    placeholder_.set_xalign(0);
    placeholder_.set_halign(Gtk::Align::FILL);
    placeholder_.set_valign(Gtk::Align::START);
    placeholder_.set_margin_start(5);
    placeholder_.set_margin_end(5);
    placeholder_.set_margin_top(4);
    placeholder_.set_can_target(false);
    contentTextField_.set_child(contentScroll_);
    contentTextField_.add_overlay(placeholder_);
    contentText_.get_buffer()->signal_changed().connect([this] { controlTextDidChange(); });

    contactTextField_.set_placeholder_text("请留下您的联系方式");
    contactTextField_.add_css_class("ostrelle-field");
    submitButton_.set_label("发送");
    submitButton_.add_css_class("ostrelle-textured");
    submitButton_.set_sensitive(false);
    submitButton_.signal_clicked().connect([this] { submitButtonClick(); });

    const chrome::ZELFeedbackLayout l = chrome::feedbackWindowLayout(width, height);
    frameView_.add(contentTextField_, l.contentTextField);
    frameView_.add(contactTextField_, l.contactTextField);
    frameView_.add(submitButton_, l.submitButton);
    chrome_->addTrafficLights(height);
    frameView_.setLayout([this](double w, double h) {
        const chrome::ZELFeedbackLayout now = chrome::feedbackWindowLayout(w, h);
        frameView_.setFrame(contentTextField_, now.contentTextField);
        frameView_.setFrame(contactTextField_, now.contactTextField);
        frameView_.setFrame(submitButton_, now.submitButton);
        chrome_->layout(w, h);
    });
    set_focus(contentText_);
}

ZELFeedbackWindow::~ZELFeedbackWindow() = default;

std::string ZELFeedbackWindow::feedbackText() const {
    return contentText_.get_buffer()->get_text();
}

// Only the feedback text decides; the contact field never changes the button.
void ZELFeedbackWindow::controlTextDidChange() {
    const bool empty = feedbackText().empty();
    placeholder_.set_visible(empty);
    submitButton_.set_sensitive(!empty);
}

void ZELFeedbackWindow::submitButtonClick() {
    const std::string text = feedbackText();
    if (text.empty() || !delegate_) return;
    delegate_->submitFeedback(text, contactTextField_.get_text());
}

}  // namespace zel
