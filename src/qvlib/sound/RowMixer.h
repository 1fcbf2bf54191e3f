// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qvlib/Rows.h"
#include "sound/OpusPackets.h"
#include "sound/PcmReader.h"
#include "sound/SoundFormat.h"

/// What is heard of a play list. Preview and save share this reading of the rows, so both sound the same.
namespace qv {

/// A play list's sound: its rows, where they come from, and what is to come out.
struct SoundMix {
    std::vector<AudioRow> rows;                ///< tiling the timeline from 0: pos == the posEnd before, posEnd > pos
    std::vector<std::filesystem::path> files;  ///< the sources that fileIndex counts
    SoundOpener open;                          ///< called on any thread, on several at a time
    int channels = 1;                          ///< of the result, 1 or 2
    std::int64_t totalSamples = 0;             ///< rows behind it are not heard; what the rows do not reach is silence
};

/// How loud a row is from its first sample to its last.
///
///     gain      gainFrom -> gain over the first `ramp` samples, then gain (saturates: the product stays in -1..1)
///     fade      0 -> 1 over the first `fadeIn` samples, 1 -> 0 over the last `fadeOut` (on the saturated product)
struct RowEnvelope {
    float gain = 0;
    float gainFrom = 0;
    int ramp = 0;
    int fadeIn = 0;
    int fadeOut = 0;

    /// True when the row's source is heard as it is, apart from its fades.
    [[nodiscard]] bool IsPlain() const { return gain == 1.0F && ramp == 0; }

    friend bool operator==(const RowEnvelope&, const RowEnvelope&) = default;
};

/// Samples of a fade or of a change of volume between two rows: 2 ms.
inline constexpr int kFadeSamples = 2 * kSamplesPerMs;

/// True when `row` goes on in its source where `before` ended.
[[nodiscard]] bool Continues(const AudioRow& before, const AudioRow& row);

/// The envelope of each row. A row that does not continue the one before it fades in, and the one before fades out;
/// one that continues at another volume moves there in its first 2 ms. The list's first row fades in when it begins
/// inside its source; the list's end does not fade. Fades that meet in a short row get half of it each.
[[nodiscard]] std::vector<RowEnvelope> EnvelopesOf(std::span<const AudioRow> rows);

/// The rows that are heard: those that begin before totalSamples, with each fileIndex that names no source turned into
/// silence (-1) and told once to log.
[[nodiscard]] std::vector<AudioRow> HeardRows(const SoundMix& mix, const std::function<void(const std::string&)>& log);

/// Reads the mixed sound at any place; cheap where it goes on from the last Read. Borders between rows are exact to
/// the sample. Keeps a few sources open and no sound in memory. Used by one thread.
class RowMixer {
public:
    /// @param log told of each fileIndex that names no source, and of each source that cannot be opened; may be empty
    RowMixer(SoundMix mix, OnDamage onDamage, std::function<void(const std::string&)> log = {});

    [[nodiscard]] int Channels() const { return mix_.channels; }
    [[nodiscard]] std::int64_t TotalSamples() const { return mix_.totalSamples; }
    /// Packets that were replaced by silence so far.
    [[nodiscard]] std::int64_t DamagedPackets() const;

    /// Fills out (interleaved) with the samples from `from` on; silence before 0 and from TotalSamples on. A source
    /// that cannot be opened is silence when damage is.
    /// @throws MediaError when a source cannot be opened or is damaged, when told to throw
    void Read(std::int64_t from, std::span<float> out);

    /// What is read from here on no longer depends, in its last bits, on what was read before.
    void Restart();

private:
    struct OpenSource {
        int fileIndex;
        std::optional<PcmReader> reader;  ///< nothing: it cannot be opened
    };

    [[nodiscard]] std::size_t RowAt(std::int64_t sample) const;
    void ReadRow(std::size_t index, std::int64_t from, std::span<float> out);
    [[nodiscard]] PcmReader* Source(int fileIndex);
    [[nodiscard]] std::optional<PcmReader> Open(int fileIndex) const;

    SoundMix mix_;
    OnDamage onDamage_;
    std::function<void(const std::string&)> log_;
    std::vector<RowEnvelope> envelopes_;
    std::list<OpenSource> open_;      ///< the last used first
    std::int64_t damagedBefore_ = 0;  ///< in readers that were closed since
};

}  // namespace qv
