// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "player/FeederThread.h"
#include "player/Program.h"
#include "player/SoundLine.h"
#include "player/SoundPool.h"
#include "sound/RowMixer.h"

namespace qv {

/// Reads a play list's sound ahead into a line, on a thread of its own. Its methods are the player's thread's.
class SoundFeeder {
public:
    /// Called on the feeder's thread.
    struct Events {
        std::function<void(std::uint64_t ticket)> ready;  ///< the first sound is in the line, or there is none
        std::function<bool()> isOver;                     ///< asked while it is heard: was all of it?
        std::function<void(std::uint64_t ticket)> over;   ///< told once when it was
        std::function<void(const std::string&)> log;      ///< may be empty
    };

    /// What is to be heard.
    struct Task {
        SharedProgram program = {};  ///< nothing: closes all files
        Ms from = 0;
        int channels = 1;
        std::uint64_t ticket = 0;
    };

    /// @param line outlives it
    SoundFeeder(SoundLine& line, Events events);

    /// Empties the line and begins anew. Nobody fills from the line before it is ready.
    void Prepare(Task task) { thread_.Give(std::move(task)); }
    /// Whether the device takes from the line.
    void SetHeard(bool isHeard) { thread_.SetOn(isHeard); }

private:
    std::chrono::milliseconds Turn(std::optional<Task> task, bool isHeard);
    void Step(std::optional<Task> task);
    void Begin(Task task);
    void ReadOn();

    SoundLine& line_;
    Events events_;

    // The thread's own.
    Task task_;
    SoundPool pool_;
    std::optional<RowMixer> mixer_;
    SharedProgram mixed_;  ///< what mixer_ reads
    int mixedChannels_ = 0;
    std::vector<float> block_;
    std::int64_t at_ = 0;  ///< the next sample to read
    std::int64_t end_ = 0;
    bool isReady_ = true;  ///< it was told
    bool isOver_ = true;   ///< it was told

    FeederThread<Task> thread_;
};

}  // namespace qv
