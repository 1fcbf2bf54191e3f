// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QPalette>
#include <filesystem>

#include "editing/MainForm.h"

namespace mirrane {

/// The picture on a button: the program's own drawing from icons/ in its folder, in the colour of the window's text; sharp
/// at any scale.
class Icons {
public:
    explicit Icons(std::filesystem::path programFolder) : folder_(std::move(programFolder)) {}
    /// Empty when there is none for the control.
    [[nodiscard]] QIcon Of(Control control, const QPalette& palette) const;
    /// Of the play button while it plays.
    [[nodiscard]] QIcon Pause(const QPalette& palette) const;
    [[nodiscard]] QIcon Application() const;

private:
    [[nodiscard]] QIcon Load(const char* name, const QPalette& palette) const;

    std::filesystem::path folder_;
};

}  // namespace mirrane
