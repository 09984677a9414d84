#include "ui/windows/ZELFeedbackWindow.h"

namespace zel {

ZELFeedbackWindow::ZELFeedbackWindow(int contentWidth, int contentHeight) {
    set_title("意见反馈");
    set_default_size(contentWidth, contentHeight);
    set_resizable(false);
    set_hide_on_close(true);

    feedback_.set_placeholder_text("请输入您的意见或建议");
    contact_.set_placeholder_text("联系方式(可选)");
    submit_.set_label("发送");
    submit_.set_sensitive(false);
    box_.set_margin(12);
    box_.append(feedback_);
    box_.append(contact_);
    box_.append(submit_);
    set_child(box_);

    // Only the feedback text decides whether there is anything to send.
    feedback_.signal_changed().connect([this] { submit_.set_sensitive(!feedback_.get_text().empty()); });
    submit_.signal_clicked().connect([this] {
        if (feedback_.get_text().empty()) return;
        if (delegate_) delegate_->submitFeedback(feedback_.get_text(), contact_.get_text());
    });
}

}  // namespace zel
