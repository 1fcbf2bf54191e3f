// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/SoundFeeder.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// Read at a time.
constexpr std::int64_t kBlockSamples = kPacketSamples;
/// In the line before it is ready: what lasts until the thread has read on.
constexpr std::int64_t kFirstSamples = 3 * kBlockSamples;
/// How often the line is looked after while it is heard.
constexpr std::chrono::milliseconds kLookEvery{20};

}  // namespace

SoundFeeder::SoundFeeder(SoundLine& line, Events events)
    : line_(line),
      events_(std::move(events)),
      thread_([this](std::optional<Task> task, bool isHeard) { return Turn(std::move(task), isHeard); }) {}

std::chrono::milliseconds SoundFeeder::Turn(std::optional<Task> task, bool isHeard) {
    const bool hasRoom = at_ < end_ && line_.Room() >= kBlockSamples;
    if (task || hasRoom) {
        Step(std::move(task));
        return {};
    }
    if (!isHeard || isOver_) return FeederThread<Task>::kRest;
    if (!events_.isOver()) return kLookEvery;
    isOver_ = true;
    events_.over(task_.ticket);
    return FeederThread<Task>::kRest;
}

/// One piece of work. Whatever goes wrong in it is silence from there on, and told.
void SoundFeeder::Step(std::optional<Task> task) {
    try {
        if (task) {
            Begin(std::move(*task));
        } else {
            ReadOn();
        }
    } catch (const std::exception& error) {
        if (events_.log) events_.log(error.what());
        mixer_.reset();
        mixed_.reset();
    }
    const bool isEnough = at_ >= end_ || line_.Room() <= SoundLine::kRoom - kFirstSamples;
    if (isReady_ || !isEnough) return;
    isReady_ = true;
    events_.ready(task_.ticket);
}

void SoundFeeder::Begin(Task task) {
    task_ = std::move(task);
    const Ms end = task_.program ? task_.program->Length() : 0;
    const Ms from = std::max(task_.from, 0);
    line_.Begin(from, std::max(end, from), task_.channels);
    at_ = std::int64_t{from} * kSamplesPerMs;
    end_ = std::int64_t{end} * kSamplesPerMs;
    isReady_ = false;
    isOver_ = false;
    block_.assign(static_cast<std::size_t>(kBlockSamples * task_.channels), 0.0F);
    if (mixer_ && mixed_ == task_.program && mixedChannels_ == task_.channels) {
        mixer_->Restart();
        return;
    }
    mixer_.reset();  // gives its files back to the pool
    mixed_ = task_.program;
    mixedChannels_ = task_.channels;
    if (!mixed_) return pool_.Clear();
    const auto open = [this, program = mixed_](int fileIndex) {
        return pool_.Open(program->sources.at(static_cast<std::size_t>(fileIndex)));
    };
    mixer_.emplace(SoundMix{mixed_->audioRows, mixed_->sources, open, task_.channels, end_}, OnDamage::Silence,
                   events_.log);
}

void SoundFeeder::ReadOn() {
    const std::int64_t count = std::min(kBlockSamples, end_ - at_);
    const auto out = std::span(block_).first(static_cast<std::size_t>(count * task_.channels));
    std::ranges::fill(out, 0.0F);
    try {
        if (mixer_) mixer_->Read(at_, out);
    } catch (...) {
        line_.Put(out);
        at_ += count;
        throw;
    }
    line_.Put(out);
    at_ += count;
}

}  // namespace qv
