// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "editing/EditContext.h"

namespace mirrane {

/// The rules of the dialog frmWaveSegVol, "Set Volume": a box with a percentage and a scroll bar, which runs against the
/// value, so that up is louder. In and out by EditorState::gVolDialogValue.
class SetVol {
public:
    static constexpr int kMax = 9999;
    static constexpr int kSmallChange = 25;
    static constexpr int kLargeChange = 100;

    explicit SetVol(EditorState& state);

    [[nodiscard]] const std::string& txtVolPct() const { return text_; }
    /// 0 to kMax.
    [[nodiscard]] int VScroll() const { return bar_; }

    /// The user typed: the bar follows, unless the box is empty or no number.
    void txtVolPct_Change(const std::string& text);
    /// The user moved the bar: the box follows.
    void VScroll_Change(int value);
    /// Up and down arrow in the box. @param steps louder; softer below 0
    void Step(int steps);
    /// The Enter key in the box.
    void Enter();
    /// @returns true when the dialog is done; false after a message that the text is no number
    bool cmdOK_Click();

private:
    EditorState& state_;
    std::string text_;
    int bar_ = 0;
};

}  // namespace mirrane
