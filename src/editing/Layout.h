// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "editing/EditContext.h"

/// Where things lie on the timeline of the shown slide. A pixel stands for zoom * 64 ms; pixels count from 1 at the
/// slide's start, a Left counts from 0.
namespace mirrane::modLayout {

/// @param ms in the slide
[[nodiscard]] int TimeToPixelAt(Ms ms, std::int32_t zoom);
[[nodiscard]] int TimeToPixel(const EditContext& ctx, Ms ms);
/// Not the inverse: a multiple of zoom * 64 ms. @throws std::overflow_error
[[nodiscard]] Ms PixelToTimeAt(int px, std::int32_t zoom);
[[nodiscard]] Ms PixelToTime(const EditContext& ctx, int px);

/// Of the shown slide: wave samples a pixel.
[[nodiscard]] std::int32_t Zoom(const EditContext& ctx);
/// Start of the shown slide, ms on the timeline.
[[nodiscard]] Ms SlideStart(const EditContext& ctx);

/// Where [pos, posEnd) of the timeline lies on a track of the shown slide. Its last pixel is inside, so that neighbours
/// share one.
[[nodiscard]] WavePlace PlaceOf(const EditContext& ctx, Ms pos, Ms posEnd);

/// How a slide that is shown for the first time is zoomed: the closest power of two at which all of it is seen.
struct FirstView {
    std::int32_t zoom = 1;
    int width = 1;  ///< of the slide, pixels
};
[[nodiscard]] FirstView FirstViewOf(Ms duration, int viewportWidth);

/// ms between two labels of the ruler, so that they are at least 100 pixels apart.
[[nodiscard]] Ms PickRulerStep(Ms spanMs, int widthPx);

/// Lays out the empty area, with Track 1 selected.
void InitLayout(EditContext& ctx);
/// The window's width has changed.
void SetViewportWidth(EditContext& ctx, int width);

/// The right-most segment of the shown slide, of both tracks; nullptr: there is none.
[[nodiscard]] const CWaveSeg* GetLastSeg(const EditContext& ctx);
/// Where it ends, in pixels; 0 when there is none.
[[nodiscard]] int GetTimelineRight(const EditContext& ctx);

/// For newValue: the value stays.
inline constexpr int kKeepValue = -1;
enum class KeepRatio { No, Yes };
/// Lets the scroll bar reach over the whole timeline.
/// @param keepRatio Yes: the value stands where it stood in proportion
void SetScrollRange(EditContext& ctx, KeepRatio keepRatio, int newValue = kKeepValue);
/// Scrolls, within the bar's range.
void Scroll(EditContext& ctx, int value);

/// Puts the cursor at a time of the slide; pages forward when it leaves the view on the right.
void PlaceCursor(EditContext& ctx, Ms ms);
/// Scrolls so that the cursor is seen, if it is not.
void ShowCursor(EditContext& ctx);
/// Works out the ruler's ticks for a slide of that length.
void DrawRuler(EditContext& ctx, Ms durationMs);
void UpdateZoomButtons(EditContext& ctx);

enum class ResetView { No, Yes };
/// Zooms the shown slide. @param resetView Yes: cursor and view go to the start; No: both stay where they are in time
void doZoom(EditContext& ctx, std::int32_t zoom, ResetView resetView);
void cmdZoomIn_Click(EditContext& ctx);
void cmdZoomOut_Click(EditContext& ctx);

/// For segIndex: the one that ends last.
inline constexpr std::int32_t kLastSeg = -1;
/// Lets the shown slide end with a segment; what lies behind the slide moves along. Closes frmMixSetPos.
void SyncSlideEnd(EditContext& ctx, std::int32_t segIndex = kLastSeg);

[[nodiscard]] bool IsSegDragging(const EditContext& ctx);
/// Ends a drag as if it had not been: the segment lies where it was pressed.
void CancelDrag(EditContext& ctx);

}  // namespace mirrane::modLayout
