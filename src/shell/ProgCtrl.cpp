// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ProgCtrl.h"

#include <algorithm>

#include "base/Numbers.h"

namespace mirrane::QvProgCtrl {

namespace {

// The border takes a pixel on each side, and the fill keeps one away from the last.
constexpr int kFirst = 2;
constexpr int kBorders = 3;

float FractionInside(int x, int width) { return static_cast<float>(x - 1) / static_cast<float>(width - kBorders); }

}  // namespace

float Stored(float value) { return value < 1 ? value : 1; }

int Filled(float value, int width) {
    return std::max(0, RoundHalfEven(static_cast<float>(width - kBorders) * Stored(value)));
}

std::optional<float> FractionAt(int x, int width) {
    if (x < kFirst || x > width - kFirst) return std::nullopt;
    return FractionInside(x, width);
}

float FractionOfRelease(int x, int width) {
    if (x < kFirst) return 0;
    return x >= width - kFirst ? 1 : FractionInside(x, width);
}

}  // namespace mirrane::QvProgCtrl
