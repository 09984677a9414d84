// Where the login and feedback windows put their controls: pure functions of the window frame's size.
//
// The dialogs are titled windows whose 22-point title bar is part of the frame, so a frame is the content
// (340 x 150 for login, 340 x 190 for feedback) plus 22. Rectangles use the origin at the frame's lower-left
// corner and y up, like the rest of the chrome; a control at y = H - k has its bottom edge k below the top
// edge. Any thread.
#pragma once

#include "core/chrome/ZELChromeGeometry.h"

#include <optional>

namespace zel::chrome {

constexpr double kTitleBarHeight = 22;

// The title's band at the top of a frame width x height.
ZELRect titleBarRect(double width, double height);

struct ZELLoginLayout {
    ZELRect usernameTextField, passwordTextField, verifyCodeTextField, verifyCodeImage,
        updateVerifyCodeButton, loginButton, progressIndicator, forgetTextField;
    bool operator==(const ZELLoginLayout&) const = default;
};
// The login window whose frame is `height` high with or without the verification-code row. The row's
// growth is added at the bottom: title, lights and the two fields keep their distance to the top, the code
// row sits below the password, the button, wheel and link move down by the growth.
ZELLoginLayout loginWindowLayout(double height, bool verifyCodeShown);

// Showing or hiding the verification-code row: the frame grows (dy > 0) or shrinks at the bottom, the top
// edge staying where it is. Nothing when the row already is as wanted.
struct ZELVerifyCodeChange {
    double dy, dh;  // frame height change; the content view's height change
    bool operator==(const ZELVerifyCodeChange&) const = default;
};
std::optional<ZELVerifyCodeChange> verifyCodeChange(bool shown, bool need);
// The frame after a change: height + dy, origin y - dy (y up), so the top edge stays.
ZELRect changedFrame(const ZELRect& frame, const ZELVerifyCodeChange& change);

struct ZELFeedbackLayout {
    ZELRect contentTextField, contactTextField, submitButton;
    bool operator==(const ZELFeedbackLayout&) const = default;
};
ZELFeedbackLayout feedbackWindowLayout(double width, double height);

}  // namespace zel::chrome
