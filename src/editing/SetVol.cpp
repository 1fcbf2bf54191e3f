// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/SetVol.h"

#include <algorithm>
#include <exception>

namespace mirrane {

namespace {

int BarOf(std::int64_t percent) {
    return static_cast<int>(std::clamp<std::int64_t>(SetVol::kMax - percent, 0, SetVol::kMax));
}

}  // namespace

SetVol::SetVol(EditorState& state)
    : state_(state), text_(std::to_string(state.gVolDialogValue)), bar_(BarOf(state.gVolDialogValue)) {}

void SetVol::txtVolPct_Change(const std::string& text) {
    text_ = text;
    try {
        bar_ = BarOf(StrictInteger(text));
    } catch (const std::exception&) {  // half typed: the bar waits
    }
}

void SetVol::VScroll_Change(int value) {
    bar_ = std::clamp(value, 0, kMax);
    Enter();
}

void SetVol::Step(int steps) { VScroll_Change(bar_ - kSmallChange * std::clamp(steps, -kMax, kMax)); }

void SetVol::Enter() { text_ = std::to_string(kMax - bar_); }

bool SetVol::cmdOK_Click() {
    try {
        state_.gVolDialogValue = StrictInteger(text_);
        return true;
    } catch (const std::exception&) {
        ShowMessage(state_.world,
                    GetResString(state_.world, "frmWaveSegVol", "msgInvalidValue", "Invalid input value!"));
    }
    return false;
}

}  // namespace mirrane
