// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "editing/EditContext.h"

namespace mirrane {

/// The rules of frmMixSetPos, where the user types a time of the slide: hours, minutes, seconds, tenths.
class SetPos {
public:
    static constexpr std::size_t kFields = 4;

    /// Fills the fields with where the player stands.
    explicit SetPos(EditContext& ctx);

    [[nodiscard]] const std::string& txtTime(std::size_t field) const { return texts_.at(field); }
    /// @param ms in the slide
    void ResetTxtTime(Ms ms);
    /// The user typed. @returns false when the number was too large for the field, which keeps its text
    bool txtTime_Change(std::size_t field, const std::string& text);
    /// The arrows beside the fields. @param steps up; the value stays within the field's
    void VScroll_Change(std::size_t field, int steps);
    /// Seeks there, or tells why not.
    void cmdSet_Click();

private:
    [[nodiscard]] Ms PositionInSlide() const;

    EditContext& ctx_;
    std::array<std::string, kFields> texts_;
};

/// A click on the time label: opens frmMixSetPos, unless a seek runs. What plays is paused. The window is shown by
/// MainForm::isSetPosOpen.
void lPlayInfo_Click(EditContext& ctx);

}  // namespace mirrane
