// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/EventLoop.h"
#include "media/AudioRecording.h"
#include "qvlib/ISoundIn.h"

namespace tool {

/// A machine with one input, which plays a file; with none as long as no file is given.
class FileMicrophone final : public qv::ISoundIn {
public:
    /// Plays that file from its beginning, each time it is opened.
    void Plug(const std::filesystem::path& file) { file_ = qv::MakeFileSoundIn(file); }

    std::optional<std::vector<qv::SoundInDevice>> Devices() override {
        return file_ ? file_->Devices() : std::optional<std::vector<qv::SoundInDevice>>();
    }
    bool Open(const std::string& id, int channels, Take take) override {
        return file_ && file_->Open(id, channels, std::move(take));
    }
    void Close() override {
        if (file_) file_->Close();
    }
    [[nodiscard]] bool IsLost() const override { return file_ && file_->IsLost(); }
    [[nodiscard]] std::chrono::microseconds Latency() const override {
        return file_ ? file_->Latency() : std::chrono::microseconds{};
    }

private:
    std::shared_ptr<qv::ISoundIn> file_;
};

/// The person at the recorder: presses the button, speaks for a while, presses it again.
class ScriptedTake final : public mirrane::IRecAudioWindow {
public:
    /// @param loop outlives this
    explicit ScriptedTake(mirrane::EventLoop& loop) : loop_(loop) {}
    void ShowModal(mirrane::RecAudio& rules) override;

    std::chrono::milliseconds length{};  ///< 0: closes the dialog without a take

private:
    mirrane::EventLoop& loop_;
};

}  // namespace tool
