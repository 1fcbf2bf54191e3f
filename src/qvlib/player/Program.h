// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <vector>

#include "qvlib/Rows.h"

namespace qv {

/// A play list as the player's threads share it; never changed after it was made.
struct Program {
    std::vector<std::filesystem::path> sources;
    std::vector<AudioRow> audioRows;  ///< tiling the timeline from 0, like frameRows
    std::vector<FrameRow> frameRows;

    /// Where it ends: as in a save, with the last picture.
    [[nodiscard]] Ms Length() const {
        if (!frameRows.empty()) return frameRows.back().posEnd;
        return audioRows.empty() ? 0 : audioRows.back().posEnd;
    }

    /// Whether there is nothing to hear in it.
    [[nodiscard]] bool IsSilent() const {
        return std::all_of(audioRows.begin(), audioRows.end(),
                           [](const AudioRow& row) { return row.fileIndex < 0 || row.volPercent == 0; });
    }
};
using SharedProgram = std::shared_ptr<const Program>;

/// How many rows, from the first on, tile the timeline from 0.
template <typename Row>
[[nodiscard]] std::size_t TilingRows(const std::vector<Row>& rows) {
    Ms pos = 0;
    const auto isWrong = [&pos](const Row& row) {
        const bool wrong = row.pos != pos || row.posEnd <= row.pos;
        pos = row.posEnd;
        return wrong;
    };
    return static_cast<std::size_t>(std::find_if(rows.begin(), rows.end(), isWrong) - rows.begin());
}

}  // namespace qv
