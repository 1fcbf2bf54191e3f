// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

#include "qvlib/Rows.h"

namespace qv {

/// The rows of a play list and the files they read.
struct PlayList {
    std::vector<std::filesystem::path> sources;  ///< as they are written; fileIndex counts them from 0
    std::vector<AudioRow> audioRows;
    std::vector<FrameRow> frameRows;
};

/// Reads the text form of a play list: one row a line, line ends of either kind, three blocks in this order.
///
///     S, <index>, <path>                                            index counts from 0
///     F, <pos>, <posEnd>, <srcPos>, <srcPosEnd>, <isSlideStart>
///     A, <pos>, <posEnd>, <fileIndex>, <srcPos>, <srcPosEnd>, <volPercent>
///
/// Whether the rows make sense together is not asked here.
/// @throws std::runtime_error "line 3: ..." at the first line that is none of these
[[nodiscard]] PlayList ParsePlayList(std::string_view text);

}  // namespace qv
