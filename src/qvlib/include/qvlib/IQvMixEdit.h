// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "qvlib/Rows.h"

namespace qv {

/// Progress of a job that has failed or was abandoned.
inline constexpr int kJobFailed = -1;

/// What there is to hear in a file made elsewhere. NoDecoder: something, but no codec for it is installed.
enum class SoundKind { Unreadable, NoSound, NoDecoder, Sound };

/// One part of a sound's waveform: [start, end) ms in samples.size() equal parts.
struct WaveSpan {
    Ms start = 0;
    Ms end = 0;
    std::span<std::int16_t> samples;  ///< filled; outlives the job
};

/// The long jobs. A start call returns at once, never throws, and has set its progress back to 0; the work goes on in
/// the engine's own threads. Progress is a percentage that never falls: 100 only when the result is complete, closed and
/// flushed to disk, negative after a failure (the reason goes to the log), and it stays so until the next start. A job
/// that failed leaves no half file under its target's name. One job at a time; a new start abandons one that still runs.
/// Used by one thread.
class IQvMixEdit {
public:
    virtual ~IQvMixEdit() = default;

    /// Starts making tempFolder/media.qv.
    /// @param fileList   the sources' paths joined by "?" in the order that fileIndex counts; inside a path "?" is
    ///                   written %3F and "%" %25. The first one gives the picture and is never written to.
    /// @param fileCount  how many they are
    /// @param audioRows  tiling the timeline from 0; copied before the call returns, like frameRows
    /// @param frameRows  tiling the timeline from 0; the last posEnd is the new file's length
    virtual void qvMixSave(const std::filesystem::path& tempFolder, const std::string& fileList, int fileCount,
                           std::span<const AudioRow> audioRows, std::span<const FrameRow> frameRows) = 0;
    [[nodiscard]] virtual int qvGetSavePercent() = 0;

    /// Starts filling span.samples with peaks: the largest |sample| (0 to 32767) of each part, widened to whole 8 ms;
    /// 0 behind the sound's end. The samples are written just before the progress becomes 100.
    /// @param fileKind 1 for a media.qv, 0 for a .qva; either is taken for both
    virtual void qvWaveSampling(const std::filesystem::path& file, WaveSpan span, int fileKind) = 0;
    [[nodiscard]] virtual int qvGetWaveSamplingProgress() = 0;

    /// Starts converting the sound of a file to a .qva at the bit rate of qvSetAudioBitrate. Each takes whatever the
    /// codecs decode; channels beyond two are mixed down to two.
    virtual void qvImportWave(const std::filesystem::path& source, const std::filesystem::path& target) = 0;
    virtual void qvImportWmv(const std::filesystem::path& source, const std::filesystem::path& target) = 0;
    /// Starts decoding the first sound track of any file to a WAV: 16 bits, 48 kHz, at most two channels. An import of it
    /// gives what an import of the source gives. Fails where it would pass 4 GB.
    virtual void qvTranscode(const std::filesystem::path& source, const std::filesystem::path& targetWave) = 0;
    /// Of the import or transcoding that was started last.
    [[nodiscard]] virtual int GetImportProgress() = 0;
    /// Whether there is sound in a file that the codecs decode. Quick.
    [[nodiscard]] virtual SoundKind qvSoundKind(const std::filesystem::path& file) = 0;

    /// Length of a .qva to the nearest ms; 0 for a missing, empty or foreign file.
    [[nodiscard]] virtual Ms qvaGetDuration(const std::filesystem::path& file) = 0;
    /// -3: the path cannot be read; 0: no sound; 1: frames come at a constant rate, or there are none; -2: they do not.
    [[nodiscard]] virtual int IsWmvConstFrmRate(const std::filesystem::path& file) = 0;
    /// kbit/s for all that is encoded from now on; 0: what the first source of a mix tells, else 64.
    virtual void qvSetAudioBitrate(int kbit) = 0;

    /// Ends the running job, if any, and waits for its threads; its progress becomes negative.
    virtual void Abandon() = 0;
};

}  // namespace qv
