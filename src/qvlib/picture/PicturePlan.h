// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>
#include <vector>

#include "qvlib/Rows.h"

/// Which pictures of a saved file are its source's own packets, and which are made anew.
namespace qv {

/// One stretch of picture.
///
///     Copy     packets shown in [srcFrom, srcTo) go over as they are; srcFrom is a key of the source, or the step goes
///              on where the Copy before it ended (a hold between them costs nothing)
///     Encode   the picture that stands at srcFrom, then all up to srcTo, are made anew, the first one as a key
///     Hold     the picture that stands at srcFrom, as one key, stands still until dstTo
struct PictureStep {
    enum class Kind { Copy, Encode, Hold };
    Kind kind = Kind::Copy;
    Ms srcFrom = 0;
    Ms srcTo = 0;         ///< exclusive; of a Hold: srcFrom
    Ms dstFrom = 0;       ///< where srcFrom lands on the timeline
    Ms dstTo = 0;         ///< exclusive
    bool goesOn = false;  ///< Copy only: the packets follow those of the step before

    friend bool operator==(const PictureStep&, const PictureStep&) = default;
};

/// A frame row as everyone reads it: source and timeline run side by side, or the source stands still.
struct PicturePiece {
    Ms dst = 0;
    Ms dstEnd = 0;
    Ms src = 0;  ///< at dst; of a hold: the source time whose picture stands
    bool isHold = false;
    bool needsKey = false;

    [[nodiscard]] Ms SrcEnd() const { return isHold ? src : src + (dstEnd - dst); }
};

/// A hold shows the last picture before its place, a cut the first picture of what was kept behind it.
[[nodiscard]] PicturePiece ToPicturePiece(const FrameRow& row);

/// Refuses rows that no play list can mean: they must tile the timeline from 0, with times that are not negative, and
/// each be a normal row, a hold or a cut.
/// @throws std::invalid_argument that names the row and the fault
void CheckFrameRows(std::span<const FrameRow> rows);

/// Work out the steps. A cut shows the first picture of what was kept behind it, a hold the last picture before its
/// place; rows that go on in the source where the one before ended are one stretch.
/// @param rows       checked rows
/// @param sourceKeys times at which the source can be entered, rising
/// @returns steps in the order of the timeline. A hold that goes on showing what stands there already has no step.
[[nodiscard]] std::vector<PictureStep> PlanPicture(std::span<const FrameRow> rows, std::span<const Ms> sourceKeys);

/// One line a step: "copy 0-64000 to 0", "go on 64000-70000 to 65000", "encode 30000-32000 to 20000",
/// "hold 63999 to 64000-69968".
[[nodiscard]] std::string PicturePlanToText(std::span<const PictureStep> plan);

}  // namespace qv
