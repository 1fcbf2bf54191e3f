// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "sound/Opus.h"
#include "sound/RowMixer.h"

namespace qv {

/// The packets of a play list's sound, in order: copied where nobody touched them, encoded on all cores elsewhere, with
/// joints that cannot be heard. What comes out depends on the mix alone, never on the number of threads. Memory does
/// not grow with the length.
///
/// Next is called on one thread; the sources are opened on several.
class SoundStream {
public:
    /// @param settings its channels are the mix's
    /// @param log      told of each fileIndex that names no source, on the calling thread; may be empty
    /// @param stop     makes Next throw Abandoned
    /// @throws MediaError when a source that is heard cannot be opened
    SoundStream(SoundMix mix, EncodeSettings settings, const std::function<void(const std::string&)>& log,
                std::stop_token stop = {});
    /// Ends the work that is under way and waits for its threads.
    ~SoundStream();
    SoundStream(const SoundStream&) = delete;
    SoundStream& operator=(const SoundStream&) = delete;

    /// How many packets come in all.
    [[nodiscard]] std::int64_t PacketCount() const;
    /// How many of the packets given so far were copied.
    [[nodiscard]] std::int64_t CopiedPackets() const;

    /// Gives the next packet.
    /// @returns false behind the last one
    /// @throws MediaError when a source is damaged where it is heard, Abandoned when told to stop
    bool Next(OpusPacket& packet);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace qv
