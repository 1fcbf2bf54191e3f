// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "qvlib/IPlayer.h"

namespace doubles {

/// A player that does nothing, and keeps what it is to play.
class Player : public qv::IPlayer {
public:
    bool Open(const std::filesystem::path& /*media*/) override { return true; }
    void Close() override {}
    void SetCursorPicture(const std::filesystem::path& /*picture*/) override {}
    [[nodiscard]] qv::PictureDim PictureSize() const override { return {}; }
    void SetPlayList(const std::vector<std::filesystem::path>& files, std::span<const qv::AudioRow> audio,
                     std::span<const qv::FrameRow> frames) override {
        sources = files;
        audioRows.assign(audio.begin(), audio.end());
        frameRows.assign(frames.begin(), frames.end());
    }
    void Play() override {}
    void Pause() override {}
    void Stop() override {}
    void Seek(qv::Ms /*ms*/) override {}
    void OnSeekFinished(std::function<void()> /*handler*/) override {}
    void OnPicture(std::function<void(const qv::ShownPicture&)> /*handler*/) override {}
    [[nodiscard]] qv::Ms Position() const override { return 0; }
    [[nodiscard]] qv::PlayState State() const override { return qv::PlayState::Stopped; }

    std::vector<std::filesystem::path> sources;
    std::vector<qv::AudioRow> audioRows;
    std::vector<qv::FrameRow> frameRows;
};

}  // namespace doubles
