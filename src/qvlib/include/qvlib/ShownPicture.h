// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "qvlib/IQvLib.h"
#include "qvlib/Rows.h"

namespace qv {

/// A picture that a player shows, as the decoder left it: three planes (Y, Cb, Cr, or G, B, R when isRgb; one plane when
/// grey). Copying it copies no picture. Whoever holds one may read it on any thread; nobody ever writes to it.
struct ShownPicture {
    Ms pos = 0;  ///< stands on the play list's timeline from here on
    PictureDim size = {};
    std::array<const std::uint8_t*, 3> planes = {};
    std::array<std::ptrdiff_t, 3> strides = {};  ///< bytes from one line to the next
    int planeCount = 0;
    int chromaShiftX = 0;  ///< planes 1 and 2 are (width + (1 << shift) - 1) >> shift wide
    int chromaShiftY = 0;
    int bits = 8;  ///< of a sample; above 8 it takes two bytes, the low one first
    bool isRgb = false;
    bool isFullRange = false;
    std::shared_ptr<const void> owner = {};  ///< of the planes
};

/// Where a picture is to be drawn: lines of pixels of four bytes, blue first, the fourth 255.
struct BgraTarget {
    std::span<std::uint8_t> bytes = {};
    std::ptrdiff_t stride = 0;  ///< bytes from one line to the next, at least 4 * size.width
    PictureDim size = {};       ///< the picture is scaled to it
};

/// Draws a picture.
/// @returns false when the target is too small for its own size, or the picture is empty or cannot be converted
[[nodiscard]] bool DrawBgra(const ShownPicture& picture, const BgraTarget& target);

}  // namespace qv
