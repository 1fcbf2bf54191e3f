// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace qv {

/// The packets of one sound track on the 20 ms grid (SoundFormat.h). Reading in rising order is cheap; a jump costs a
/// seek. Used by one thread; threads that share a source open it once each.
class OpusPackets {
public:
    virtual ~OpusPackets() = default;

    /// 1 or 2.
    [[nodiscard]] virtual int Channels() const = 0;

    /// Samples of sound that the track holds (48 per ms), the codec's delay and the padding of the last packet left out.
    [[nodiscard]] virtual std::int64_t Samples() const = 0;

    /// Fills data with packet n (0-based).
    /// @returns false when the track has no such packet (behind its end, or a hole); data is then empty
    /// @throws MediaError when the file cannot be read or is damaged there
    virtual bool Read(std::int64_t n, std::vector<std::uint8_t>& data) = 0;
};

/// Opens the sound track of a media.qv or .qva.
/// @throws MediaError when there is no such file, or no sound of this format in it
[[nodiscard]] std::unique_ptr<OpusPackets> OpenSound(const std::filesystem::path& file);

/// Opens source number fileIndex of a play list anew, for the calling thread.
using SoundOpener = std::function<std::unique_ptr<OpusPackets>(int fileIndex)>;

}  // namespace qv
