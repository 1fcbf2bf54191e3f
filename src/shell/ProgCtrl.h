// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

/// The arithmetic of the flat slider ProgCtrl: pixels of its inner width, fractions from 0 to 1.
namespace mirrane::QvProgCtrl {

/// What is stored of a value: at most 1; there is no lower bound.
[[nodiscard]] float Stored(float value);
/// Width of the filled part, which begins at pixel 1; 0: none is painted.
[[nodiscard]] int Filled(float value, int width);
/// Where the mouse points; nothing over the border.
[[nodiscard]] std::optional<float> FractionAt(int x, int width);
/// Where the left button was let go: over the border, the nearer end.
[[nodiscard]] float FractionOfRelease(int x, int width);

}  // namespace mirrane::QvProgCtrl
