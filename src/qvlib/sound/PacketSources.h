// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "sound/Opus.h"
#include "sound/OpusPackets.h"

namespace qv {

/// The packets of a play list's sources; keeps a few sources open. Used by one thread.
class PacketSources {
public:
    PacketSources(std::vector<std::filesystem::path> files, SoundOpener open)
        : files_(std::move(files)), open_(std::move(open)) {}

    /// @throws MediaError when the source cannot be opened
    [[nodiscard]] OpusPackets& Source(int fileIndex);

    /// @throws MediaError when the source has no such packet, or it cannot be read
    [[nodiscard]] OpusPacket Read(int fileIndex, std::int64_t packet);

private:
    std::vector<std::filesystem::path> files_;
    SoundOpener open_;
    std::list<std::pair<int, std::unique_ptr<OpusPackets>>> opened_;  ///< the last used first
};

}  // namespace qv
