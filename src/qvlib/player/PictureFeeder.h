// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "player/FeederThread.h"
#include "player/PictureTrack.h"
#include "player/Program.h"
#include "qvlib/ShownPicture.h"

namespace qv {

/// Decodes a play list's pictures a little ahead and hands each one out when it is due, on a thread of its own. Its
/// methods are the player's thread's.
class PictureFeeder {
public:
    /// Called on the feeder's thread.
    struct Events {
        std::function<void(std::uint64_t ticket, ShownPicture picture)> show;
        std::function<void(std::uint64_t ticket)> ready;  ///< the first picture was handed out, or there is none
        std::function<Ms()> now;                          ///< asked while playing: the time that is heard
        std::function<void(const std::string&)> log;      ///< may be empty
    };

    /// What is to be seen.
    struct Task {
        std::shared_ptr<PictureTrack> track = {};  ///< nothing: no pictures
        SharedProgram program = {};
        Ms from = 0;
        std::uint64_t ticket = 0;
    };

    explicit PictureFeeder(Events events);

    /// Gives up what is under way and begins anew.
    void Prepare(Task task) { thread_.Give(std::move(task)); }
    /// Whether time runs.
    void SetPlaying(bool isPlaying) { thread_.SetOn(isPlaying); }

private:
    struct Due {
        Ms at = 0;
        ShownPicture picture;
    };

    std::chrono::milliseconds Turn(std::optional<Task> task, bool isPlaying);
    [[nodiscard]] bool HasToDecode() const;
    void Step(std::optional<Task> task, bool isPlaying);
    void Begin(Task task);
    void Decode(Ms time);
    /// Hands out what is due. @returns how long nothing will be
    Ms ShowDue();
    void TellReady();

    Events events_;

    // The thread's own.
    Task task_;
    std::deque<Due> queue_;  ///< decoded ahead, in order
    Ms nextAt_ = 0;          ///< where the picture after the last in the queue begins
    bool isOver_ = true;     ///< there is none
    Picture last_;           ///< that was queued last
    bool isReady_ = true;    ///< it was told

    FeederThread<Task> thread_;
};

}  // namespace qv
