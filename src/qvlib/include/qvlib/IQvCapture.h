// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "qvlib/ISoundIn.h"
#include "qvlib/Rows.h"

namespace qv {

/// A sample of that height does not fit: 0 dBFS.
inline constexpr int kFullScale = 32767;

/// What there is to be told about the line and the take. All of it can be asked for ten times a second.
struct CaptureState {
    std::string device;        ///< name of the input that was opened; of the usual one, its name as listed, or empty
    bool isOpen = false;       ///< sound comes in
    bool isRecording = false;  ///< between StartRecordAudio and StopRecordAudio, or the end that the failure below made
    bool isDeviceLost = false;  ///< vanished since CheckAudioDevice; what was heard until then is in the file
    std::string failure;        ///< why there is no take, or why it has ended early; one line, as the log tells it

    Ms recorded = 0;                     ///< captured for the take so far; after CloseAudioDevice its length
    std::int64_t framesLost = 0;         ///< of the take, 48 in a ms: silence stands in their place
    int peak = 0;                        ///< 0 to kFullScale, of the last tenth of a second
    int highestPeak = 0;                 ///< the same, since CheckAudioDevice or ResetPeaks
    std::int64_t overloadedSamples = 0;  ///< at full scale, since CheckAudioDevice or ResetPeaks
    /// For how long there has been digital silence on the line, as from a microphone that is switched off.
    Ms digitalSilence = 0;
    /// For how long the take has held nothing but the room's noise: nothing over -60 dBFS, or not more than a little above
    /// the quietest that was heard lately. 0 while there is no take.
    Ms quiet = 0;
};

/// Recording of a voice-over into a .qva. Used by one thread; no call waits for the disk but StopRecordAudio's end in
/// CloseAudioDevice, none for a sound server longer than some seconds.
///
///     CheckAudioDevice   the line is open, the meter moves     no file
///     StartRecordAudio   the take begins                       the file grows; a crash leaves all but the last second
///     StopRecordAudio    the take ends
///     CloseAudioDevice                                         the file is whole, or there is none
class IQvCapture {
public:
    virtual ~IQvCapture() = default;

    /// The inputs as "name##id_&&_name##id", at most 1023 bytes, cut at a whole record, the usual one first. No name or id
    /// holds a separator, and no two names are equal.
    /// @returns 1 when list was filled; anything else: there is none
    virtual int qvQueryAudioDevice(std::string& list) = 0;
    /// There is none.
    virtual int qvQueryVideoDevice(std::string& list) = 0;
    /// Select an input by its name or id as listed; empty: the usual one. 0 means failure: there is no such input, and the
    /// selection stays.
    virtual int qvSetAudioDevice(const std::string& device) = 0;
    /// 0: there is none.
    virtual int qvSetVideoDevice(const std::string& device) = 0;
    /// Makes the devices ready for a recording: what was plugged in or out is known from here on. 0 means failure: no
    /// sound system answers.
    virtual int qvResetAVDevice() = 0;

    /// Opens the selected input and starts metering; target is made only when recording starts. When it cannot be opened,
    /// State tells why, and no file will be made.
    virtual void CheckAudioDevice(const std::filesystem::path& target, int bitrateKbit) = 0;
    /// The take begins with what is at the microphone now, whenever it comes in, plus the playback delay.
    virtual void StartRecordAudio() = 0;
    /// The take ends with what is at the microphone now.
    virtual void StopRecordAudio() = 0;
    /// When this has returned, the target's length is final; a take without a sample leaves no file.
    virtual void CloseAudioDevice() = 0;
    /// 0 to 100, on a scale that moves with speech (-60 dBFS to 0 dBFS); any time between Check and Close, else 0.
    [[nodiscard]] virtual int GetAudioVolume() = 0;

    /// By how much what the speaker sees and hears lags behind what the program has started, 0 to 1000 ms: takes begin so
    /// much later, and what he says lies where he saw the picture. 0 until told.
    virtual void SetPlaybackDelay(Ms delay) = 0;
    /// Stays as it was after CloseAudioDevice, until the next CheckAudioDevice.
    [[nodiscard]] virtual CaptureState State() = 0;
    /// Forgets the highest peak and the overloaded samples.
    virtual void ResetPeaks() = 0;
};

struct CaptureOptions {
    /// Where the sound comes from. Needed.
    std::shared_ptr<ISoundIn> soundIn;
    /// Of the takes, 1 or 2.
    int channels = 1;
    /// Told the reason of each failure, one line without an end; called on any thread. May be empty.
    std::function<void(const std::string&)> log;
};

[[nodiscard]] std::unique_ptr<IQvCapture> MakeCapture(const CaptureOptions& options);

/// What a finished take is worth.
struct TakeCheck {
    std::string failure;                 ///< why it cannot be used: missing, damaged, of another length; empty: it can
    Ms length = 0;                       ///< ms
    int peak = 0;                        ///< 0 to kFullScale
    std::int64_t overloadedSamples = 0;  ///< at full scale; the codec may add a few to those that were recorded
    bool isSilent = false;               ///< nothing in it over -60 dBFS
};

/// Decodes a take from its first sample to its last, some hundred times faster than it was spoken. Never throws.
/// @param recorded its length as CaptureState tells it after CloseAudioDevice
[[nodiscard]] TakeCheck CheckTake(const std::filesystem::path& file, Ms recorded);

}  // namespace qv
