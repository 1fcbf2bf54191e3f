// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <utility>

#include "capture/DeviceNames.h"
#include "capture/Recorder.h"
#include "qvlib/IQvCapture.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// A list is asked for in a buffer of 1024 bytes with a zero behind it.
constexpr std::size_t kListBytes = 1023;
constexpr Ms kLongestDelay = 1000;
constexpr int kDefaultBitrateKbit = 64;

class Capture final : public IQvCapture {
public:
    explicit Capture(CaptureOptions options) : options_(std::move(options)) {}
    ~Capture() override { Capture::CloseAudioDevice(); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    int qvQueryAudioDevice(std::string& list) override {
        if (!Look() || listed_.empty()) return 0;
        list = ListDevices(listed_, kListBytes);
        return 1;
    }

    int qvQueryVideoDevice(std::string& /*list*/) override { return 0; }

    int qvSetAudioDevice(const std::string& device) override {
        auto found = Find(device);
        if (!found && Look()) found = Find(device);
        if (!found) return 0;
        chosen_ = device.empty() ? SoundInDevice{} : *found;
        return 1;
    }

    int qvSetVideoDevice(const std::string& /*device*/) override { return 0; }
    int qvResetAVDevice() override { return Look() ? 1 : 0; }

    void CheckAudioDevice(const std::filesystem::path& target, int bitrateKbit) override {
        CloseAudioDevice();
        if (devices_.empty()) Look();
        state_ = {};
        state_.device = chosen_.id.empty() ? Find("").value_or(SoundInDevice{}).name : chosen_.name;
        const int bitrate = bitrateKbit > 0 ? bitrateKbit : kDefaultBitrateKbit;
        recorder_ = std::make_unique<Recorder>(*options_.soundIn,
                                               TakeOrder{target, {options_.channels, bitrate, 1}, options_.log});
        const auto take = [recorder = recorder_.get()](std::span<const float> sound) { recorder->Take(sound); };
        if (options_.soundIn->Open(chosen_.id, options_.channels, take)) return;
        recorder_.reset();
        state_.failure = state_.device.empty() ? "there is no sound input" : state_.device + ": cannot be opened";
        if (options_.log) options_.log(state_.failure);
    }

    void StartRecordAudio() override {
        if (!recorder_ || isStarted_ || options_.soundIn->IsLost()) return;
        isStarted_ = true;
        recorder_->Start(Recorder::Clock::now() + std::chrono::milliseconds(playbackDelay_));
    }

    void StopRecordAudio() override {
        if (!recorder_ || !isStarted_ || isStopped_) return;
        isStopped_ = true;
        recorder_->Stop(Recorder::Clock::now());
    }

    void CloseAudioDevice() override {
        if (recorder_) {
            StopRecordAudio();
            recorder_->Close();
            state_ = State();
            state_.isOpen = false;
            options_.soundIn->Close();
            recorder_.reset();
        }
        isStarted_ = false;
        isStopped_ = false;
    }

    [[nodiscard]] int GetAudioVolume() override {
        return recorder_ && !options_.soundIn->IsLost() ? recorder_->Meter().Volume() : 0;
    }

    void SetPlaybackDelay(Ms delay) override { playbackDelay_ = std::clamp(delay, 0, kLongestDelay); }

    [[nodiscard]] CaptureState State() override {
        if (!recorder_) return state_;
        const LineMeter& meter = recorder_->Meter();
        CaptureState now = state_;
        now.isDeviceLost = options_.soundIn->IsLost();
        now.isOpen = !now.isDeviceLost;
        now.isRecording = isStarted_ && !isStopped_ && recorder_->IsRecording();
        now.failure = recorder_->Failure();
        if (now.failure.empty() && now.isDeviceLost) now.failure = now.device + ": the sound input is lost";
        now.recorded = static_cast<Ms>(NearestMs(recorder_->Samples()));
        now.framesLost = recorder_->FramesLost();
        now.peak = now.isOpen ? meter.Peak() : 0;
        now.highestPeak = meter.HighestPeak();
        now.overloadedSamples = meter.Overloaded();
        now.digitalSilence = meter.DigitalSilence();
        now.quiet = now.isRecording ? meter.Quiet() : 0;
        return now;
    }

    void ResetPeaks() override {
        if (recorder_) recorder_->Meter().Reset();
    }

private:
    /// @returns false when no sound system answers
    bool Look() {
        auto found = options_.soundIn->Devices();
        devices_ = found.value_or(std::vector<SoundInDevice>{});
        listed_ = MakeListable(devices_);
        return found.has_value();
    }

    /// @param nameOrId as listed; empty: the usual one
    /// @returns its name as listed, and its id as the sound system knows it
    [[nodiscard]] std::optional<SoundInDevice> Find(const std::string& nameOrId) const {
        const auto found = std::ranges::find_if(listed_, [&](const SoundInDevice& device) {
            return nameOrId.empty() || device.name == nameOrId || device.id == nameOrId;
        });
        if (found == listed_.end()) return std::nullopt;
        return SoundInDevice{found->name, devices_[static_cast<std::size_t>(found - listed_.begin())].id};
    }

    CaptureOptions options_;
    std::vector<SoundInDevice> devices_;
    std::vector<SoundInDevice> listed_;  ///< the same, as they are told
    SoundInDevice chosen_;               ///< empty: the usual one
    std::unique_ptr<Recorder> recorder_;
    bool isStarted_ = false;
    bool isStopped_ = false;
    Ms playbackDelay_ = 0;
    CaptureState state_;  ///< what does not come from the recorder; all of it once that is closed
};

}  // namespace

std::unique_ptr<IQvCapture> MakeCapture(const CaptureOptions& options) { return std::make_unique<Capture>(options); }

}  // namespace qv
