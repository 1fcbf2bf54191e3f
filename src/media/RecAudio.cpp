// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/RecAudio.h"

#include <algorithm>
#include <utility>

#include "base/Numbers.h"
#include "base/Text.h"
#include "store/Time.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmRecAudio";
constexpr int kFullLevel = 100;
/// So long a line may be quiet before that is told.
constexpr Ms kQuietMs = 2000;

}  // namespace

RecAudio::RecAudio(EditContext& ctx, qv::IQvCapture& capture, TakeTarget target)
    : ctx_(ctx), capture_(capture), target_(std::move(target)), lRecTime_(Word("lRecTime")) {
    ReadInputs();
    OpenInput();
}

RecAudio::~RecAudio() {
    if (mRecording()) capture_.StopRecordAudio();
    capture_.CloseAudioDevice();
}

std::string RecAudio::Word(const char* key) const { return GetResString(ctx_.world(), kForm, key); }

void RecAudio::ReadInputs() {
    modConfig::QueryAvDevices(capture_, modConfig::DeviceKind::Audio, inputs_);
    std::erase_if(inputs_, [](const AvDevice& device) { return device.name.empty(); });
    const std::string kept = modConfig::KeptAudioDevice(ctx_.world());
    const auto found =
        std::find_if(inputs_.begin(), inputs_.end(), [&](const AvDevice& device) { return device.name == kept; });
    input_ = inputs_.empty() ? -1 : found == inputs_.end() ? 0 : static_cast<int>(found - inputs_.begin());
}

void RecAudio::OpenInput() {
    capture_.CheckAudioDevice(target_.recFile, target_.bitrateKbit);
    peak_ = 0;
    lAdvice_.clear();
}

void RecAudio::ChooseInput(int index) {
    if (mRecording() || index == input_ || index < 0 || index >= static_cast<int>(inputs_.size())) return;
    const std::string& name = inputs_[static_cast<std::size_t>(index)].name;
    capture_.CloseAudioDevice();
    if (capture_.qvSetAudioDevice(name) == 0)
        ShowMessage(ctx_.world(), "SetAudioDevice Error!");
    else
        input_ = index;
    OpenInput();
    if (input_ == index) modConfig::KeepAudioDevice(ctx_.world(), name);
}

// ----------------------------------------------------------------------------------------------------------- The take

void RecAudio::cmdRec_Click() {
    if (isDone_) return;
    if (!mRecording()) return Start();
    hold_.reset();
    capture_.StopRecordAudio();
    isDone_ = true;
}

void RecAudio::Start() {
    hold_.emplace(ctx_.state);
    capture_.StartRecordAudio();
    mStartTick_ = ctx_.world().clock.TickMs();
    lRecTime_ = "Rec 0:00:00";
    capture_.ResetPeaks();
    peak_ = 0;
    if (!ctx_.transport->IsPlaying()) ctx_.transport->ExecPlay();
}

void RecAudio::tmrGetVol_Timer() {
    if (isDone_) return;
    lit_ = RoundHalfEven(static_cast<double>(kBars) * capture_.GetAudioVolume() / kFullLevel);
    peak_ = std::max(peak_, lit_);
    const qv::CaptureState state = capture_.State();
    isOverloaded_ = state.overloadedSamples > 0;
    lAdvice_ = AdviceFor(state);
    // There is nothing to wait for any more; what was heard until now is kept.
    if (mRecording() && !state.isRecording) cmdRec_Click();
}

void RecAudio::tmrRecording_Timer() {
    if (!mRecording()) return;
    const auto elapsed = [this] { return static_cast<Ms>(ctx_.world().clock.TickMs() - mStartTick_); };
    lRecTime_ = " Rec " + FormatSeconds(RoundHalfEven(elapsed() / 1000.0));
    ctx_.transport->SetPosInfo(CheckedAdd(target_.mRecStartPos, elapsed()));
}

/// The worst first.
std::string RecAudio::AdviceFor(const qv::CaptureState& state) const {
    if (std::string failure = Failure(ctx_.world(), state); !failure.empty()) return failure;
    if (isOverloaded_) return Word("lOverload");
    if (state.framesLost > 0) return Word("lTooSlow");
    if (state.digitalSilence >= kQuietMs) return Word("lNoSignal");
    if (state.quiet >= kQuietMs) return Word("lQuiet");
    return {};
}

std::string RecAudio::Failure(World& world, const qv::CaptureState& state) {
    if (state.isDeviceLost) return ReplaceAll(GetResString(world, kForm, "lLost"), "%s", state.device);
    if (state.failure.empty()) return {};
    return ReplaceAll(GetResString(world, kForm, "lCannotRecord"), "%s", state.failure);
}

}  // namespace mirrane
