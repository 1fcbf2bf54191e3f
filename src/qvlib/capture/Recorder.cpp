// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/Recorder.h"

#include <algorithm>
#include <utility>

#include "mkv/Reader.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

using namespace std::chrono_literals;

/// A disk may keep the recorder waiting for so long before anything is lost.
constexpr std::size_t kRingFrames = std::size_t{15} * kSampleRate;
constexpr std::size_t kBlockFrames = 4096;
constexpr auto kLookEvery = 20ms;
/// What is kept of the sound before a take, since it may begin a little before what has come in.
constexpr std::int64_t kKeptFrames = std::int64_t{500} * kSamplesPerMs;
/// So long the line is watched behind the begin of a take before it is told which frame the first one is.
constexpr auto kWatchedFirst = 400ms;
/// A line that is slow to begin is made up for by so much at most.
constexpr std::int64_t kLongestSilence = std::int64_t{10} * kSampleRate;
/// The end of a take that has not come in by then does not come any more.
constexpr auto kPatience = 2s;

}  // namespace

Recorder::Recorder(const ISoundIn& in, TakeOrder order)
    : in_(in),
      order_(std::move(order)),
      meter_(order_.settings.channels),
      clock_(in.Speed()),
      ring_(kRingFrames, order_.settings.channels),
      block_(kBlockFrames * static_cast<std::size_t>(order_.settings.channels)),
      thread_([this] { Run(); }) {}

void Recorder::Take(std::span<const float> sound) noexcept {
    framesIn_ += static_cast<std::int64_t>(sound.size()) / order_.settings.channels;
    clock_.Add(Clock::now(), framesIn_);
    meter_.Add(sound);
    ring_.Push(sound);
}

void Recorder::Start(Clock::time_point from) {
    const std::lock_guard lock(mutex_);
    lostBefore_ = ring_.Lost();
    isTaken_ = true;
    isRecording_ = true;
    meter_.BeginTake();
    request_.from = from;
    changed_.notify_all();
}

void Recorder::Stop(Clock::time_point until) {
    const std::lock_guard lock(mutex_);
    request_.until = std::max(until, *request_.from);
    changed_.notify_all();
}

void Recorder::Close() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        request_.isClosing = true;
        if (request_.from && !request_.until) request_.until = std::max(Clock::now(), *request_.from);
        changed_.notify_all();
    }
    thread_.join();
}

std::string Recorder::Failure() const {
    const std::lock_guard lock(mutex_);
    return failure_;
}

void Recorder::Run() {
    for (bool goesOn = true; goesOn;) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, kLookEvery);
        const Request request = request_;
        lock.unlock();
        goesOn = Step(request);
    }
}

/// @returns false when there is nothing more to do
bool Recorder::Step(const Request& request) {
    if (request.from && isRecording_) {
        try {
            if (Record(request)) return true;
            Finish();
        } catch (const std::exception& error) {
            Fail(error.what());
        }
        isRecording_ = false;
    }
    ring_.Skip(ring_.Held() - kKeptFrames);
    return !request.isClosing;
}

/// @returns false when all of the take has come in
bool Recorder::Record(const Request& request) {
    if (!file_) file_.emplace(order_.target, order_.settings);
    const bool isLost = in_.IsLost();  // before the ring is emptied: what came until then belongs to the take
    const auto now = Clock::now();
    const bool isWatched = request.until || isLost || (now - *request.from) * in_.Speed() > kWatchedFirst;
    const bool isGivenUp = isLost || (request.until && now - *request.until > kPatience);
    if (isWatched && clock_.IsSettled()) {
        if (!first_) SetFirst(*request.from);
        if (request.until && !end_) end_ = FrameHeardAt(*request.until);
        PullTake();
    }
    return !isGivenUp && (!end_ || ring_.Position() < *end_);
}

/// What is not there any more is made up for, so that the rest keeps its time.
void Recorder::SetFirst(Clock::time_point from) {
    first_ = FrameHeardAt(from);
    file_->PutSilence(std::clamp<std::int64_t>(ring_.Position() - *first_, 0, kLongestSilence));
    samples_ = file_->Samples();
}

void Recorder::PullTake() {
    ring_.Skip(*first_ - ring_.Position());
    if (ring_.Position() < *first_) return;
    while (ring_.Held() > 0) {
        const std::int64_t left = end_ ? *end_ - ring_.Position() : ring_.Held();
        if (left <= 0) return;
        const auto wanted = std::min<std::size_t>(kBlockFrames, static_cast<std::size_t>(left));
        const auto room = std::span(block_).first(wanted * static_cast<std::size_t>(order_.settings.channels));
        file_->Put(ring_.Pull(room));
        samples_ = file_->Samples();
    }
}

/// A take without a sample leaves no file.
void Recorder::Finish() noexcept {
    try {
        if (file_->Samples() > 0) file_->Finish();
        const bool isEmpty = file_->Samples() == 0;
        file_.reset();
        if (isEmpty) std::filesystem::remove(order_.target);
    } catch (const std::exception& error) {
        Fail(error.what());
    }
}

/// What has been brought to the disk is the take.
void Recorder::Fail(const std::string& reason) {
    const bool wasThere = file_.has_value();
    file_.reset();
    Ms length = 0;
    try {
        if (wasThere) length = MkvReader(order_.target).Duration();
    } catch (const std::exception&) {
        length = 0;
    }
    std::error_code ignored;
    if (wasThere && length == 0) std::filesystem::remove(order_.target, ignored);
    samples_ = std::int64_t{length} * kSamplesPerMs;
    if (order_.log) order_.log(reason);
    const std::lock_guard lock(mutex_);
    failure_ = reason;
}

/// What is at the microphone now comes in later.
std::int64_t Recorder::FrameHeardAt(Clock::time_point time) const {
    const auto late = std::chrono::duration_cast<Clock::duration>(in_.Latency());
    return clock_.FrameAt(time + late);
}

}  // namespace qv
