// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qv {

/// An input that sound can be recorded from.
struct SoundInDevice {
    std::string name;  ///< for a user to read, UTF-8
    std::string id;    ///< what the sound system calls it; stays the same when the device comes back
};

/// Where the sound of a recording comes from: 48 kHz, 1 or 2 channels, interleaved, -1 to 1. Used by one thread, but for
/// what says otherwise.
class ISoundIn {
public:
    /// Takes the sound that has just come in, without a gap to what came before. It runs on the device's own thread and
    /// takes no lock, no memory and no file.
    using Take = std::function<void(std::span<const float>)>;

    virtual ~ISoundIn() = default;

    /// Looks anew which inputs there are, the one that is usually wanted first.
    /// @returns nothing when no sound system answers
    virtual std::optional<std::vector<SoundInDevice>> Devices() = 0;
    /// Begins to call take, until Close.
    /// @param id of the input; empty: the usual one
    /// @returns false when it cannot be opened; then nothing is called
    virtual bool Open(const std::string& id, int channels, Take take) = 0;
    /// Take is not called any more when this returns.
    virtual void Close() = 0;

    /// True once the input that was opened has vanished or does not answer any more. Any thread.
    [[nodiscard]] virtual bool IsLost() const = 0;
    /// How long ago a sound was at the microphone when take gets it, as far as the sound system tells. Any thread.
    [[nodiscard]] virtual std::chrono::microseconds Latency() const = 0;
    /// Ms of sound that come in 1 ms. Any thread.
    [[nodiscard]] virtual double Speed() const { return 1; }
};

/// The inputs of the machine, which may come and go. A sound server that does not answer is given up after some
/// seconds; none of the calls waits longer.
/// @param log told why an input cannot be used, one line without an end; called on any thread. May be empty
[[nodiscard]] std::shared_ptr<ISoundIn> MakeDeviceSoundIn(std::function<void(const std::string&)> log);

/// A sound file that plays the microphone, from its beginning at each Open. Behind its end there is silence.
/// @param speed ms of the file that come in 1 ms; 1 is what a microphone does
[[nodiscard]] std::shared_ptr<ISoundIn> MakeFileSoundIn(std::filesystem::path file, double speed = 1);

}  // namespace qv
