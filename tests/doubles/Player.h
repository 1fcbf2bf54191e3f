// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qvlib/IPlayer.h"

namespace doubles {

/// A player without time, that keeps what it is to play and notes what it is told. Its position and state are the test's.
class Player : public qv::IPlayer {
public:
    bool Open(const std::filesystem::path& /*media*/) override { return true; }
    void Close() override {}
    void SetCursorPicture(const std::filesystem::path& /*picture*/) override {}
    [[nodiscard]] qv::PictureDim PictureSize() const override { return {}; }
    void SetPlayList(const std::vector<std::filesystem::path>& files, std::span<const qv::AudioRow> audio,
                     std::span<const qv::FrameRow> frames) override {
        told += "List ";
        sources = files;
        audioRows.assign(audio.begin(), audio.end());
        frameRows.assign(frames.begin(), frames.end());
    }
    void Play() override { Become(qv::PlayState::Playing, "Play "); }
    void Pause() override { Become(qv::PlayState::Paused, "Pause "); }
    void Stop() override { Become(qv::PlayState::Stopped, "Stop "); }
    void Seek(qv::Ms ms) override {
        told += "Seek:" + std::to_string(ms) + " ";
        position = ms;
        if (post && onSeekFinished_) post(onSeekFinished_);
    }
    void OnSeekFinished(std::function<void()> handler) override { onSeekFinished_ = std::move(handler); }
    void OnPicture(std::function<void(const qv::ShownPicture&)> /*handler*/) override {}
    void OnCamera(std::function<void(const qv::ShownPicture&)> /*handler*/) override {}
    [[nodiscard]] qv::Ms Position() const override { return position; }
    [[nodiscard]] qv::PlayState State() const override { return state; }

    std::vector<std::filesystem::path> sources;
    std::vector<qv::AudioRow> audioRows;
    std::vector<qv::FrameRow> frameRows;

    std::function<void(std::function<void()>)> post;  ///< takes the end of a seek; empty: no seek ends
    qv::Ms position = 0;
    qv::PlayState state = qv::PlayState::Stopped;
    std::string told;  ///< "List Seek:64 Play "

private:
    void Become(qv::PlayState newState, const char* what) {
        state = newState;
        told += what;
    }

    std::function<void()> onSeekFinished_;
};

}  // namespace doubles
