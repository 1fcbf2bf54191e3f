// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

namespace qv {

/// Recording of a voice-over into a .qva. Used by one thread.
class IQvCapture {
public:
    virtual ~IQvCapture() = default;

    /// The inputs as "name##id_&&_name##id", at most 1023 bytes, cut at a whole record.
    /// @returns 1 when list was filled; anything else: there is none
    virtual int qvQueryAudioDevice(std::string& list) = 0;
    virtual int qvQueryVideoDevice(std::string& list) = 0;
    /// Select an input by its name or id; 0 means failure.
    virtual int qvSetAudioDevice(const std::string& device) = 0;
    virtual int qvSetVideoDevice(const std::string& device) = 0;
    /// Makes the devices ready for a recording; 0 means failure.
    virtual int qvResetAVDevice() = 0;

    /// Opens the selected input and starts metering; target is made only when recording starts.
    virtual void CheckAudioDevice(const std::filesystem::path& target, int bitrateKbit) = 0;
    virtual void StartRecordAudio() = 0;
    virtual void StopRecordAudio() = 0;
    /// When this has returned, the target's length is final.
    virtual void CloseAudioDevice() = 0;
    /// 0 to 100, on a scale that moves with speech; any time between Check and Close.
    [[nodiscard]] virtual int GetAudioVolume() = 0;
};

}  // namespace qv
