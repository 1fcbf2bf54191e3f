// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "qvlib/IQvCapture.h"

namespace doubles {

/// Inputs, levels and troubles of the test's making.
class Capture final : public qv::IQvCapture {
public:
    int qvQueryAudioDevice(std::string& list) override {
        list = inputs;
        return inputs.empty() ? 0 : 1;
    }
    int qvQueryVideoDevice(std::string& list) override {
        list = cameras;
        return cameras.empty() ? 0 : 1;
    }
    int qvSetAudioDevice(const std::string& device) override {
        told += "Audio:" + device + " ";
        return refusesInputs ? 0 : 1;
    }
    int qvSetVideoDevice(const std::string& device) override {
        told += "Video:" + device + " ";
        return 0;
    }
    int qvResetAVDevice() override { return hasSoundSystem ? 1 : 0; }
    void CheckAudioDevice(const std::filesystem::path& target, int /*bitrateKbit*/) override {
        told += "Check:" + target.filename().string() + " ";
    }
    void StartRecordAudio() override {
        told += "Start ";
        state.isRecording = true;
    }
    void StopRecordAudio() override {
        told += "Stop ";
        state.isRecording = false;
    }
    void CloseAudioDevice() override { told += "Close "; }
    [[nodiscard]] int GetAudioVolume() override { return volume; }
    void SetPlaybackDelay(qv::Ms /*delay*/) override {}
    [[nodiscard]] qv::CaptureState State() override { return state; }
    void ResetPeaks() override { state.overloadedSamples = 0; }

    std::string inputs = "Desk##d_&&_Headset##h";
    std::string cameras;
    bool refusesInputs = false;
    bool hasSoundSystem = true;
    int volume = 0;
    qv::CaptureState state;
    std::string told;  ///< "Audio:Desk Check:Rec(1).qva Start Stop Close "
};

}  // namespace doubles
