// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <limits>

#include "mkv/Reader.h"
#include "sound/SoundFormat.h"

namespace qv {

/// The cluster at that place; nothing when there is none, or when it was not written to its end.
std::optional<Extent> MkvReader::WholeCluster(Window& window, std::int64_t offset) {
    const auto head = ebml::ParseHead(window.View(offset, ebml::kMaxHeadSize));
    if (!head || head->id != ebml::kCluster || head->unknownSize) return std::nullopt;
    const Extent extent{offset, static_cast<std::int64_t>(head->headSize), static_cast<std::int64_t>(head->size)};
    const std::int64_t left = file_.Size() - extent.Data();
    if (left < 0 || head->size > static_cast<std::uint64_t>(left)) return std::nullopt;
    if (!ebml::CrcFits(window.View(extent.Data(), head->size))) return std::nullopt;
    return extent;
}

/// Only this engine's files have a checksum in each cluster, so only of them can be told how far they are whole.
void MkvReader::FindEnd() {
    end_ = file_.Size();
    if (!segmentIsOpen_ || Fact(fact::kFormatVersion) != kFormatVersion || Fact(fact::kDuration)) return;
    Window window(file_);
    BlockParser parser(*this);
    std::int64_t packets = 0;
    end_ = firstCluster_;
    while (const auto cluster = WholeCluster(window, end_)) {
        end_ = cluster->End();
        ebml::Children walk(window.View(cluster->Data(), static_cast<std::size_t>(cluster->size)));
        while (const auto child = walk.Next()) {
            const auto block = parser.Parse(child->id, child->data);
            if (block && Sound() != nullptr && block->track == Sound()->number)
                packets = std::int64_t{block->time} / kPacketMs + 1;
        }
    }
    const std::int64_t samples = std::max<std::int64_t>(0, packets * kPacketSamples - kPreSkip);
    unfinishedMs_ = static_cast<Ms>(std::min<std::int64_t>(NearestMs(samples), std::numeric_limits<Ms>::max()));
}

}  // namespace qv
