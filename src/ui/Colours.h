// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QPalette>

namespace mirrane {

/// What the timeline is painted with.
struct TimelineColours {
    QColor strip;  ///< of the buttons, and the ruler
    QColor panel;  ///< of a track
    QColor panelSelected;
    QColor canvas;  ///< of a track, where there is no sound
    QColor frame;
    QColor text;  ///< on strip and panels
    QColor tick;
    QColor cursor;
    QColor ghost;  ///< of the cursor while the ruler is dragged
    QColor seg;    ///< ground of a segment
    QColor segSelected;
    QColor segFrame;
    QColor segFrameSelected;
    QColor wave;
    QColor waveSelected;
    QColor clipped;  ///< a peak that is louder than can be played
};

/// The light look, or the dark one when the desktop's windows are dark.
[[nodiscard]] TimelineColours ColoursFor(const QPalette& palette);
[[nodiscard]] bool IsDark(const QPalette& palette);

}  // namespace mirrane
