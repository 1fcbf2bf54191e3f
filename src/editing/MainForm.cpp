// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/MainForm.h"

namespace mirrane {

const char* NameOf(Control control) {
    constexpr std::array<const char*, kControls> kNames = {
        "Save",     "Undo",       "Redo",      "Exit",       "ListView",       "cmdPlay",
        "cmdStop",  "cmdPrev",    "cmdNext",   "ProgCtrl",   "cmdImportAudio", "cmdRecAudio",
        "cmdVolUp", "cmdVolDown", "cmdZoomIn", "cmdZoomOut", "imgRulerPad",    "imgTrackPanel"};
    return kNames.at(static_cast<std::size_t>(control));
}

}  // namespace mirrane
