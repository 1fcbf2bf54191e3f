// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/Progress.h"

namespace mirrane {

void ProgressWindow::Init(const std::string& title, const std::string& text) {
    isShown_ = true;
    title_ = title;
    text_ = text;
    percent_ = 0;
    Changed();
}

void ProgressWindow::Set(int percent, const std::string& text) {
    percent_ = percent;
    text_ = text;
    Changed();
}

void ProgressWindow::Finish() {
    isShown_ = false;
    Changed();
}

void ProgressWindow::Changed() const {
    if (onChanged) onChanged();
}

}  // namespace mirrane
