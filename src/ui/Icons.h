// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QPalette>
#include <filesystem>

#include "editing/MainForm.h"

namespace mirrane {

/// The pictures on buttons, in the colour of the window's text; sharp at any scale.
///
/// They are those of the desktop's theme, as long as it has all of them as symbols: these are made to be filled with a
/// colour, while the coloured ones of a light theme are hard to see in dark windows, and half of a theme's pictures
/// beside half of our own look like a mistake. Otherwise, and for what no theme has, they are the program's own drawings
/// from icons/ in its folder.
class Icons {
public:
    explicit Icons(std::filesystem::path programFolder) : folder_(std::move(programFolder)) {}
    /// Empty when there is none for the control.
    [[nodiscard]] QIcon Of(Control control, const QPalette& palette) const;
    /// By the name of the program's own drawing, such as "split"; empty when there is none.
    [[nodiscard]] QIcon Named(const char* drawing, const QPalette& palette) const;
    [[nodiscard]] QIcon Application() const;

private:
    std::filesystem::path folder_;
};

}  // namespace mirrane
