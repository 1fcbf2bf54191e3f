// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <vector>

#include "qvlib/IQvLib.h"
#include "qvlib/Rows.h"

namespace qv {

enum class PlayState { Stopped = 0, Playing = 1, Paused = 2 };

/// Plays a play list as a save would write it. Position is ms on the play list's timeline: constant while not playing,
/// never falling while playing, and after a seek exactly what was asked for. Used by one thread, which also gets the
/// event.
class IPlayer {
public:
    virtual ~IPlayer() = default;

    /// Opens the project's media.qv; position and state are 0 again and the play list is gone.
    /// @returns false when it cannot be read
    virtual bool Open(const std::filesystem::path& media) = 0;
    virtual void Close() = 0;
    /// The picture that stands for the pointer in recordings that keep it apart.
    virtual void SetCursorPicture(const std::filesystem::path& picture) = 0;
    [[nodiscard]] virtual PictureDim PictureSize() const = 0;

    /// Replaces what is played, from the next Seek or Play on. The rows are copied.
    virtual void SetPlayList(const std::vector<std::filesystem::path>& sources, std::span<const AudioRow> audioRows,
                             std::span<const FrameRow> frameRows) = 0;

    /// Starts, or goes on from Position. At the list's end it stays there, paused.
    virtual void Play() = 0;
    /// Stops at Position; PlayState is not Playing any more when this returns.
    virtual void Pause() = 0;
    virtual void Stop() = 0;
    /// Goes to a time; returns first, then tells exactly once that it is done, whatever came of it.
    virtual void Seek(Ms ms) = 0;
    /// Called from the event loop after each Seek, never inside it.
    virtual void OnSeekFinished(std::function<void()> handler) = 0;

    [[nodiscard]] virtual Ms Position() const = 0;
    [[nodiscard]] virtual PlayState State() const = 0;
};

}  // namespace qv
