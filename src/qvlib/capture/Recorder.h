// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "capture/ArrivalClock.h"
#include "capture/LineMeter.h"
#include "capture/SampleRing.h"
#include "capture/TakeFile.h"
#include "qvlib/ISoundIn.h"

namespace qv {

struct TakeOrder {
    std::filesystem::path target;
    EncodeSettings settings;
    std::function<void(const std::string&)> log;  ///< told why a take has failed; on the recorder's thread
};

/// What stands between an open input and the file: the device's thread brings sound, a thread of its own writes what
/// belongs to the take.
///
///     in the ring    ....|heard before |==== take ====|heard later ...
///                                      from           until             in the time of the microphone
class Recorder {
public:
    using Clock = ArrivalClock::Clock;

    /// @param in outlives it
    Recorder(const ISoundIn& in, TakeOrder order);
    ~Recorder() { Close(); }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// The device's thread; not behind Close.
    void Take(std::span<const float> sound) noexcept;

    /// The take begins with what is at the microphone at that time. Once.
    void Start(Clock::time_point from);
    /// It ends with what is at the microphone at that time; Start was before.
    void Stop(Clock::time_point until);
    /// Waits until the take has come in and is on the disk. One that was not stopped ends now.
    void Close();

    /// From Start on, until all of it has come in.
    [[nodiscard]] bool IsRecording() const { return isRecording_; }
    /// Samples of the take; for one that failed, those in its file.
    [[nodiscard]] std::int64_t Samples() const { return samples_; }
    [[nodiscard]] std::int64_t FramesLost() const { return isTaken_ ? ring_.Lost() - lostBefore_ : 0; }
    [[nodiscard]] std::string Failure() const;
    [[nodiscard]] LineMeter& Meter() { return meter_; }

private:
    struct Request {
        std::optional<Clock::time_point> from;
        std::optional<Clock::time_point> until;
        bool isClosing = false;
    };

    void Run();
    bool Step(const Request& request);
    bool Record(const Request& request);
    void SetFirst(Clock::time_point from);
    void PullTake();
    void Finish() noexcept;
    void Fail(const std::string& reason);
    [[nodiscard]] std::int64_t FrameHeardAt(Clock::time_point time) const;

    const ISoundIn& in_;
    const TakeOrder order_;
    LineMeter meter_;
    ArrivalClock clock_;
    SampleRing ring_;
    std::int64_t framesIn_ = 0;  ///< the device's thread

    std::optional<TakeFile> file_;       ///< this and what follows: the recorder's thread
    std::optional<std::int64_t> first_;  ///< frame of the line; nothing: not known yet
    std::optional<std::int64_t> end_;    ///< the frame behind the last
    std::vector<float> block_;

    std::atomic<bool> isRecording_ = false;
    std::atomic<bool> isTaken_ = false;
    std::atomic<std::int64_t> samples_ = 0;
    std::atomic<std::int64_t> lostBefore_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Request request_;
    std::string failure_;
    std::thread thread_;
};

}  // namespace qv
