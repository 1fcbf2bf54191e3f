// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace qv {

/// Where a player's sound goes, and the clock that the player goes by: 48 kHz, 1 or 2 channels, interleaved, -1 to 1.
/// Start and Stop are called on the player's thread, in turns.
class ISoundOut {
public:
    /// Fills all of the span. It runs on the device's own thread and takes no lock, no memory and no file.
    /// @returns how many sample frames of it, from its first on, are the play list's; what follows them is silence, since
    ///          nothing more was ready or nothing more is to come
    using Fill = std::function<std::size_t(std::span<float>)>;

    virtual ~ISoundOut() = default;

    /// Begins to call fill, until Stop.
    /// @returns false when there is no device; then nothing is called
    virtual bool Start(int channels, Fill fill) = 0;
    /// Fill is not called any more when this returns.
    virtual void Stop() = 0;
    /// How many of the sample frames that were filled since the last Start have been heard. Never falls between two
    /// Starts, and stands still after a Stop. Any thread.
    [[nodiscard]] virtual std::int64_t Played() const = 0;
};

/// Sound that goes nowhere, in real time: 10 ms each 10 ms. Always starts.
[[nodiscard]] std::shared_ptr<ISoundOut> MakeSteadySoundOut();

/// The default sound device, which may come and go: Start always starts. What plays when it is lost, does not answer for
/// half a second (three until it has begun), or is not there, goes nowhere from then on, in real time; the next Start asks
/// for the device again.
/// None of its calls waits for the sound server, but that its end gives it half a second to let go.
/// @param log told when a device is missed, one line without an end; called on a thread of its own. May be empty
[[nodiscard]] std::shared_ptr<ISoundOut> MakeDeviceSoundOut(std::function<void(const std::string&)> log);

}  // namespace qv
