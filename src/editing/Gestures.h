// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "editing/EditContext.h"

/// What mouse and keyboard do on the timeline. Pixels on the ruler count from the left end of its canvas, on a segment
/// anywhere, as long as it is the same place during a drag.
namespace mirrane::modGestures {

enum class Button { None, Left, Right };

void imgRulerPad_MouseDown(EditContext& ctx, Button button, int x);
void imgRulerPad_MouseMove(EditContext& ctx, Button button, int x);
void imgRulerPad_MouseUp(EditContext& ctx, Button button, int x);
/// On the cursor line itself, which must not stop a drag of the ruler.
/// @param x counts from the line
void picLine_MouseDown(EditContext& ctx, Button button, int x);
void picLine_MouseMove(EditContext& ctx, Button button, int x);
void picLine_MouseUp(EditContext& ctx, Button button, int x);

/// Where a key sends the cursor.
enum class CursorKey { Left, Right, PageLeft, PageRight, Home, End };
/// Seeks by one pixel, by what a click on an arrow of the scroll bar moves, or to an end of the slide. What is under the
/// cursor then is selected, and the cursor is in view.
void picTrackGroup_KeyDown(EditContext& ctx, CursorKey key);

void waveSeg_MouseDown(EditContext& ctx, std::int32_t segIndex, Button button, int x);
void waveSeg_MouseMove(EditContext& ctx, std::int32_t segIndex, Button button, int x);
void waveSeg_MouseUp(EditContext& ctx, std::int32_t segIndex, Button button, int x);

}  // namespace mirrane::modGestures
