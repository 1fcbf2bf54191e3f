// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "MediaError.h"
#include "foreign/ForeignPicture.h"
#include "foreign/ForeignProbe.h"
#include "foreign/ForeignSound.h"
#include "foreign/Import.h"
#include "mix/Mix.h"
#include "mkv/Reader.h"
#include "mkv/Writer.h"
#include "sound/EncodeSound.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// Where a picture has to be encoded, it can be entered this often.
constexpr Ms kKeyEvery = 5000;

/// The share of the work that is done when everything is carried over and only missing keys are left to make.
constexpr double kCarryShare = 0.8;

/// A recording's picture as packets, encoded where it cannot be carried, with the next one at hand.
class PictureFeed {
public:
    /// @param keys where a picture that is encoded gets keys, rising
    PictureFeed(const std::filesystem::path& file, PictureTrack track, TrackKind kind, Ms duration,
                std::vector<Ms> keys = {})
        : picture_(file, track), kind_(kind), duration_(duration), keys_(std::move(keys)) {
        Advance();
        if (!next_) throw MediaError(file, "has a picture that cannot be decoded");
    }

    [[nodiscard]] const PictureFormat& Format() const { return picture_.Format(); }

    /// Writes what is shown up to that time.
    void WriteUpTo(Ms time, MkvWriter& writer) {
        for (; next_ && next_->time <= time; Advance())
            writer.WritePicture(kind_, std::min(next_->time, duration_ - 1), next_->key, next_->data);
    }

private:
    void Advance() { next_ = picture_.Carried() ? picture_.ReadPacket() : EncodeNext(); }

    std::optional<PicturePacket> EncodeNext() {
        std::optional<PicturePacket> packet;
        while (!(packet = encoder_ ? encoder_->Receive() : std::nullopt) && !ended_) {
            const auto picture = picture_.ReadPicture();
            if (picture) {
                Send(*picture);
            } else if (encoder_) {
                SendKeysBefore(duration_);
                encoder_->SendEnd();
            }
            ended_ = !picture;
        }
        return packet ? packet : encoder_ ? encoder_->Receive() : std::nullopt;
    }

    void Send(const Picture& picture) {
        if (!encoder_) encoder_.emplace(picture_.Format(), picture);
        SendKeysBefore(picture.time);
        const bool isWanted = nextWanted_ < keys_.size() && keys_[nextWanted_] == picture.time;
        if (isWanted) ++nextWanted_;
        const bool isKey = isWanted || picture.time >= nextKey_;
        if (isKey) nextKey_ = picture.time + kKeyEvery;
        encoder_->Send(picture, picture.time, isKey);
        shown_ = picture;
    }

    /// The picture that stands at each wanted key, once more.
    void SendKeysBefore(Ms time) {
        for (; nextWanted_ < keys_.size() && keys_[nextWanted_] < time; ++nextWanted_)
            encoder_->Send(shown_, keys_[nextWanted_], true);
    }

    ForeignPicture picture_;
    TrackKind kind_;
    Ms duration_;
    std::optional<PictureEncoder> encoder_;
    std::optional<PicturePacket> next_;
    std::vector<Ms> keys_;
    std::size_t nextWanted_ = 0;
    Picture shown_;
    Ms nextKey_ = 0;
    bool ended_ = false;
};

/// A recording's sound, brought to its length: cut, or followed by silence; silence throughout where there is none.
class FittedSound : public PcmSource {
public:
    FittedSound(ForeignSound* sound, int channels, std::int64_t samples) : sound_(sound), left_(samples * channels) {}

    std::size_t Read(std::span<float> interleaved) override {
        const auto size =
            static_cast<std::size_t>(std::min<std::int64_t>(left_, static_cast<std::int64_t>(interleaved.size())));
        const auto wanted = interleaved.first(size);
        const std::size_t got = sound_ == nullptr ? 0 : sound_->Read(wanted);
        std::ranges::fill(wanted.subspan(got), 0.0F);
        left_ -= static_cast<std::int64_t>(size);
        return size;
    }

private:
    ForeignSound* sound_;
    std::int64_t left_;
};

/// Carries a recording over: packets of the picture as they are where that can be, the sound encoded.
class Carrier {
public:
    Carrier(const ContainerRequest& request, const Recording& recording)
        : request_(request), duration_(std::max(recording.durationMs, 1)) {
        if (!recording.picture) throw MediaError(request.recording, "has no picture, only sound");
        const std::vector<Ms> keys = WantedKeys();
        picture_ = std::make_unique<PictureFeed>(request.recording, PictureTrack::Picture, TrackKind::Picture,
                                                 duration_, keys);
        if (!request.camera.empty()) {
            camera_ =
                std::make_unique<PictureFeed>(request.camera, PictureTrack::Picture, TrackKind::Camera, duration_);
        } else if (recording.camera) {
            camera_ =
                std::make_unique<PictureFeed>(request.recording, PictureTrack::Camera, TrackKind::Camera, duration_);
        }
        if (recording.hasSound) sound_ = std::make_unique<ForeignSound>(request.recording, 0, LateStart::Silence);
    }

    [[nodiscard]] Ms Duration() const { return duration_; }

    void Run(const std::filesystem::path& target, const JobContext& job) {
        const int channels = sound_ ? sound_->Channels() : 1;
        const std::int64_t samples = std::int64_t{duration_} * kSamplesPerMs;
        ContainerSpec spec{picture_->Format(), std::nullopt, channels, request_.bitrateKbit};
        if (camera_) spec.camera = camera_->Format();
        MkvWriter writer(target, spec);
        Ms time = 0;
        const auto write = [&](std::span<const std::uint8_t> packet) {
            WritePicturesUpTo(time, writer);
            writer.WriteSound(packet);
            time += kPacketMs;
            job.Report(static_cast<double>(time) / duration_);
        };
        FittedSound sound(sound_.get(), channels, samples);
        EncodeSound(sound, {channels, request_.bitrateKbit}, write, job);
        WritePicturesUpTo(std::numeric_limits<Ms>::max(), writer);
        writer.Finish(samples, duration_);
    }

private:
    /// Rising, none twice.
    [[nodiscard]] std::vector<Ms> WantedKeys() const {
        const std::set<Ms> keys(request_.keys.begin(), request_.keys.end());
        const bool areInside = keys.empty() || (*keys.begin() >= 0 && *keys.rbegin() < duration_);
        if (!areInside) {
            const Ms outside = *keys.begin() < 0 ? *keys.begin() : *keys.rbegin();
            throw MediaError(request_.recording, "there is no picture at " + std::to_string(outside) + " ms");
        }
        return {keys.begin(), keys.end()};
    }

    void WritePicturesUpTo(Ms time, MkvWriter& writer) {
        picture_->WriteUpTo(time, writer);
        if (camera_) camera_->WriteUpTo(time, writer);
    }

    const ContainerRequest& request_;
    Ms duration_;
    std::unique_ptr<PictureFeed> picture_;
    std::unique_ptr<PictureFeed> camera_;
    std::unique_ptr<ForeignSound> sound_;
};

/// A play list that changes nothing, with a slide start at each key.
MixRequest KeysOnly(const std::filesystem::path& source, std::vector<Ms> keys, Ms duration) {
    keys.push_back(0);
    keys.push_back(duration);
    std::ranges::sort(keys);
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    MixRequest mix;
    mix.sources = {source};
    mix.audioRows = {{0, duration, 0, 0, duration, 100}};
    for (std::size_t i = 0; i + 1 < keys.size(); ++i)
        mix.frameRows.push_back({keys[i], keys[i + 1], keys[i], keys[i + 1], 1});
    return mix;
}

std::vector<Ms> KeysOf(const std::filesystem::path& file) {
    const MkvReader reader(file);
    return reader.KeyTimes(reader.Picture()->number);
}

/// Where each wanted key goes: to the nearest that is there, unless that is too far away or nearer to another wanted one.
///
///     there      0              4000       8000        may move 1500
///     wanted       900      3000 3900    7900
///     goes to      900      3000 4000      8000
std::vector<Ms> PlacesOf(std::vector<Ms> wanted, const std::vector<Ms>& there, Ms mayMove) {
    const auto distance = [](Ms a, Ms b) { return std::abs(a - b); };
    std::map<Ms, std::size_t> takers;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const Ms key = wanted[i];
        const Ms nearest = *std::min_element(there.begin(), there.end(),
                                             [&](Ms a, Ms b) { return distance(a, key) < distance(b, key); });
        if (distance(nearest, key) > mayMove || (nearest == 0 && key != 0)) continue;
        std::size_t& taker = takers.try_emplace(nearest, i).first->second;
        if (distance(nearest, key) < distance(nearest, wanted[taker])) taker = i;
    }
    for (const auto& [key, taker] : takers) wanted[taker] = key;
    return wanted;
}

/// A file that goes when it is not needed any more.
class Passing {
public:
    explicit Passing(std::filesystem::path file) : file_(std::move(file)) {}
    ~Passing() {
        std::error_code ignored;
        std::filesystem::remove(file_, ignored);
    }
    Passing(const Passing&) = delete;
    Passing& operator=(const Passing&) = delete;

    [[nodiscard]] const std::filesystem::path& File() const { return file_; }

private:
    std::filesystem::path file_;
};

}  // namespace

ContainerMade MakeContainer(const ContainerRequest& request, const JobContext& job) {
    Carrier carrier(request, ProbeRecording(request.recording));
    const Ms duration = carrier.Duration();
    if (request.keys.empty()) {
        carrier.Run(request.target, job);
        return {duration, {}};
    }
    const Passing carried(request.target.string() + ".carried");
    carrier.Run(carried.File(), {job.stop, [&](double done) { job.Report(done * kCarryShare); }});
    const std::vector<Ms> there = KeysOf(carried.File());
    const std::vector<Ms> places = PlacesOf(request.keys, there, request.keysMayMove);
    if (std::ranges::all_of(places, [&](Ms key) { return std::ranges::binary_search(there, key); })) {
        std::filesystem::rename(carried.File(), request.target);
        return {duration, places};
    }
    MixRequest mix = KeysOnly(carried.File(), places, duration);
    mix.target = request.target;
    try {
        SaveMix(mix, {job.stop, [&](double done) { job.Report(kCarryShare + done * (1 - kCarryShare)); }});
    } catch (const MediaError& error) {
        const std::string text = error.what();
        const std::string passing = carried.File().string() + ": ";
        if (!text.starts_with(passing)) throw;
        throw MediaError(request.recording, text.substr(passing.size()));  // the passing file is nothing to tell of
    }
    return {duration, places};
}

}  // namespace qv
