// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/PacketSources.h"

#include <algorithm>
#include <string>

#include "MediaError.h"
#include "sound/SoundFormat.h"

namespace qv {
namespace {
constexpr std::size_t kMaxOpen = 4;
}

OpusPackets& PacketSources::Source(int fileIndex) {
    const auto found = std::ranges::find(opened_, fileIndex, [](const auto& entry) { return entry.first; });
    if (found != opened_.end()) {
        opened_.splice(opened_.begin(), opened_, found);
    } else {
        opened_.emplace_front(fileIndex, open_(fileIndex));
        if (opened_.size() > kMaxOpen) opened_.pop_back();
    }
    return *opened_.front().second;
}

OpusPacket PacketSources::Read(int fileIndex, std::int64_t packet) {
    OpusPacket data;
    if (!Source(fileIndex).Read(packet, data)) {
        throw MediaError(files_[static_cast<std::size_t>(fileIndex)],
                         "the sound at " + std::to_string(packet * kPacketMs) + " ms is missing");
    }
    return data;
}

}  // namespace qv
