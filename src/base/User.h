// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <string>

namespace mirrane {

/// The program's name, and the title of a message box that has none of its own.
inline constexpr char kApplicationTitle[] = "Mirrane Audio Editor";

enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
enum class Answer { Ok, Cancel, Yes, No };

/// Lines end in CRLF; the one who shows it makes them plain.
struct MessageBox {
    std::string text;
    std::string title = {};  ///< empty: kApplicationTitle
    Buttons buttons = Buttons::Ok;
    bool isFailure = false;  ///< something has gone wrong, other than that the user asked for what cannot be
};

/// Talking to the user. A window with message boxes, or a script that answers in the user's place.
class IUser {
public:
    virtual ~IUser() = default;

    /// Shows a message box and waits for its answer.
    virtual Answer Ask(const MessageBox& box) = 0;
    /// Shows the small status window `frmStatus` with a text, painted when this returns, over what blocks next.
    virtual void ShowStatus(const std::string& text) = 0;
    virtual void HideStatus() = 0;
    /// Shows the waiting pointer, or takes it back; calls are counted.
    virtual void SetBusyCursor(bool busy) = 0;
    /// Lets pending events run.
    virtual void RunEvents() = 0;
    /// Lets events run for so long.
    virtual void Sleep(std::chrono::milliseconds time) = 0;
};

}  // namespace mirrane
