// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "qvlib/IQvLib.h"
#include "qvlib/ISoundOut.h"
#include "qvlib/Rows.h"
#include "qvlib/ShownPicture.h"

namespace qv {

enum class PlayState { Stopped = 0, Playing = 1, Paused = 2 };

/// Plays a play list as a save would write it. Position is ms on the play list's timeline: constant while not playing,
/// never falling while playing, and after a seek exactly what was asked for. Used by one thread, which also gets the
/// events. Rows are read up to the first one that does not begin where the one before ends.
class IPlayer {
public:
    /// No event comes any more.
    virtual ~IPlayer() = default;

    /// Opens the project's media.qv; position and state are 0 again and the play list is gone.
    /// @returns false when it cannot be read
    virtual bool Open(const std::filesystem::path& media) = 0;
    /// Lets go of all files; the seeks that are under way tell nothing any more.
    virtual void Close() = 0;
    /// The picture that stands for the pointer in recordings that keep it apart.
    virtual void SetCursorPicture(const std::filesystem::path& picture) = 0;
    /// 0 x 0 when nothing is open.
    [[nodiscard]] virtual PictureDim PictureSize() const = 0;

    /// Replaces what is played, from the next Seek or Play on. The rows are copied.
    virtual void SetPlayList(const std::vector<std::filesystem::path>& sources, std::span<const AudioRow> audioRows,
                             std::span<const FrameRow> frameRows) = 0;

    /// Starts, or goes on from Position. At the list's end it stays there, paused.
    virtual void Play() = 0;
    /// Stops at Position; PlayState is not Playing any more when this returns.
    virtual void Pause() = 0;
    virtual void Stop() = 0;
    /// Goes to a time; returns first, then tells exactly once that it is done, whatever came of it. Picture and first
    /// sound of that time are ready then, unless a newer Seek has taken its place. What was playing goes on from there.
    virtual void Seek(Ms ms) = 0;
    /// Called from the event loop after each Seek, never inside it.
    virtual void OnSeekFinished(std::function<void()> handler) = 0;
    /// Called from the event loop with the picture that a seek has found, before its end is told, and with each new one
    /// while playing. A handler that is set later gets the picture that stands. Without a handler (an empty one) no
    /// picture is decoded.
    virtual void OnPicture(std::function<void(const ShownPicture&)> handler) = 0;
    /// The same for the camera's picture, which not every recording has.
    virtual void OnCamera(std::function<void(const ShownPicture&)> handler) = 0;

    [[nodiscard]] virtual Ms Position() const = 0;
    [[nodiscard]] virtual PlayState State() const = 0;
};

struct PlayerOptions {
    /// Runs a function later on the thread that uses the player, never inside the call, in the order of the calls. Called
    /// on any thread. Needed.
    std::function<void(std::function<void()>)> post;
    /// Where the sound goes; empty, or one that does not start: nowhere, by a steady clock.
    std::shared_ptr<ISoundOut> soundOut;
    /// Told the reason of each failure and damage, one line without an end; called on any thread. May be empty.
    std::function<void(const std::string&)> log;
};

[[nodiscard]] std::unique_ptr<IPlayer> MakePlayer(const PlayerOptions& options);

}  // namespace qv
