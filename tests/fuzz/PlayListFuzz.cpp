// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "mix/Mix.h"
#include "picture/PicturePlan.h"
#include "qvlib/PlayList.h"

/// Rows that are taken must also be planned, whatever numbers they hold.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    (void)qv::SplitFileList(std::string(text));
    try {
        const qv::PlayList list = qv::ParsePlayList(text);
        qv::CheckFrameRows(list.frameRows);
        const qv::Ms keys[] = {0, 3000, 64000};
        (void)qv::PicturePlanToText(qv::PlanPicture(list.frameRows, keys));
    } catch (const std::runtime_error&) {
    } catch (const std::invalid_argument&) {
    }
    return 0;
}
