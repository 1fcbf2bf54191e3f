// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Colours.h"

#include "editing/Selection.h"

namespace mirrane {

namespace {

constexpr int kMiddleGrey = 128;

TimelineColours Light() {
    return {.strip = 0xE0E0E0U,
            .panel = modSelection::kPanelPlain,
            .panelSelected = modSelection::kPanelSelected,
            .canvas = 0xF0F0F0U,
            .frame = 0x9A9A9AU,
            .text = 0x1A1A1AU,
            .tick = 0x000000U,
            .cursor = 0xFF0000U,
            .ghost = 0x404040U,
            .seg = 0xDCE8F5U,
            .segSelected = 0xB3D1F2U,
            .segFrame = 0x7B97B8U,
            .segFrameSelected = 0x0F3F7AU,
            .wave = 0x4A7AB0U,
            .waveSelected = 0x174A87U,
            .clipped = 0xD02A1EU};
}

TimelineColours Dark() {
    return {.strip = 0x383838U,
            .panel = 0x383838U,
            .panelSelected = 0x5A5A5AU,
            .canvas = 0x232323U,
            .frame = 0x6C6C6CU,
            .text = 0xF0F0F0U,
            .tick = 0xD8D8D8U,
            .cursor = 0xFF5A5AU,
            .ghost = 0xB8B8B8U,
            .seg = 0x26384CU,
            .segSelected = 0x2F5680U,
            .segFrame = 0x5E7D9FU,
            .segFrameSelected = 0xCFE4FBU,
            .wave = 0x76A9E0U,
            .waveSelected = 0xC4DFFBU,
            .clipped = 0xFF8A5CU};
}

}  // namespace

TimelineColours ColoursFor(const QPalette& palette) { return IsDark(palette) ? Dark() : Light(); }

bool IsDark(const QPalette& palette) { return palette.color(QPalette::Window).lightness() < kMiddleGrey; }

}  // namespace mirrane
