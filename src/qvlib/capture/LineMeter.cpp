// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/LineMeter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "qvlib/IQvCapture.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

constexpr int kWindowFrames = 100 * kSamplesPerMs;

/// A voice stands out from the room's noise by more than that.
constexpr double kVoiceOverNoiseDb = 6;
/// What is taken for the noise rises by so much with each window, so that it follows a room that becomes louder.
constexpr double kNoiseRiseDb = 0.05;

/// Below what any converter can give; a microphone that is on is never so still.
constexpr float kDigitalSilence = 1e-6F;

constexpr double kLowestDb = -60;

}  // namespace

int ToPeak(float sample) noexcept {
    return std::min(kFullScale, static_cast<int>(std::lround(std::min(1.0F, std::abs(sample)) * (kFullScale + 1))));
}

bool IsOverloaded(float sample) noexcept { return ToPeak(sample) == kFullScale; }

void LineMeter::Add(std::span<const float> sound) noexcept {
    if (isResetWanted_) {
        highest_ = 0;
        overloaded_ = 0;
        isResetWanted_ = false;
    }
    while (!sound.empty()) {
        const auto frame = sound.first(static_cast<std::size_t>(channels_));
        sound = sound.subspan(frame.size());
        ++frames_;
        for (const float sample : frame) AddSample(sample);
        if (++windowFrames_ == kWindowFrames) EndWindow();
    }
}

void LineMeter::AddSample(float sample) noexcept {
    const int peak = ToPeak(sample);
    if (peak > windowPeak_) windowPeak_ = peak;
    if (peak > highest_) highest_ = peak;
    if (peak == kFullScale) ++overloaded_;
    if (std::abs(sample) > kDigitalSilence) lastSound_ = frames_.load();
    windowPower_ += static_cast<double>(sample) * sample;
}

void LineMeter::EndWindow() noexcept {
    lastWindowPeak_ = windowPeak_.exchange(0);
    const double power = std::exchange(windowPower_, 0) / (std::exchange(windowFrames_, 0) * channels_);
    const double db = 10 * std::log10(std::max(power, 1e-12));
    const bool isFirst = frames_ == kWindowFrames;
    noiseDb_ = isFirst ? db : std::min(noiseDb_ + kNoiseRiseDb, db);
    if (db > kLowestDb && db > noiseDb_ + kVoiceOverNoiseDb) lastHeard_ = frames_.load();
}

int LineMeter::Peak() const noexcept { return std::max(windowPeak_.load(), lastWindowPeak_.load()); }

int LineMeter::Volume() const noexcept {
    const double db = 20 * std::log10(std::max(1, Peak()) / static_cast<double>(kFullScale));
    return std::clamp(static_cast<int>(std::lround(100 * (1 - db / kLowestDb))), 0, 100);
}

Ms LineMeter::Quiet() const noexcept { return Since(std::max(lastHeard_.load(), takeFrom_.load())); }

Ms LineMeter::Since(std::int64_t frame) const noexcept { return static_cast<Ms>((frames_ - frame) / kSamplesPerMs); }

}  // namespace qv
