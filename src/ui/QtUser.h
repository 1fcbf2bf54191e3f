// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QWidget>
#include <memory>

#include "base/User.h"

namespace mirrane {

class StatusWindow;

/// The person at the windows: message boxes, status window, waiting pointer, and the application's event loop.
class QtUser final : public IUser {
public:
    QtUser();
    ~QtUser() override;
    QtUser(const QtUser&) = delete;
    QtUser& operator=(const QtUser&) = delete;

    /// Message boxes stand on the dialog that is open, else on this window; nullptr, or gone: on none.
    void SetWindow(QWidget* window) { window_ = window; }
    /// Nobody is there any more to answer: a box that is open is given up, and none comes up from now on.
    void Leave();

    Answer Ask(const MessageBox& box) override;
    void ShowStatus(const std::string& text) override;
    void HideStatus() override;
    /// Only the pointer: whoever holds the user up keeps the window from acting by the flags of the editor.
    void SetBusyCursor(bool busy) override;
    void RunEvents() override;
    void Sleep(std::chrono::milliseconds time) override;

private:
    [[nodiscard]] QWidget* Front() const;

    QPointer<QWidget> window_;
    std::unique_ptr<StatusWindow> status_;
    int busyDepth_ = 0;
    bool hasLeft_ = false;
};

}  // namespace mirrane
