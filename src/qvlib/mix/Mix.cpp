// SPDX-License-Identifier: GPL-3.0-or-later
#include "mix/Mix.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>

#include "mkv/Reader.h"
#include "mkv/Writer.h"
#include "picture/PicturePlan.h"
#include "picture/PictureStream.h"
#include "sound/OpusPackets.h"
#include "sound/SoundFormat.h"
#include "sound/SoundStream.h"

namespace qv {

namespace {

constexpr int kDefaultBitrateKbit = 64;

/// A stream of one track with its next packet at hand, so that the tracks can be woven by time.
template <typename Stream, typename Packet>
class Head {
public:
    explicit Head(Stream& stream) : stream_(&stream) { Advance(); }

    void Advance() { there_ = stream_->Next(packet_); }
    [[nodiscard]] bool There() const { return there_; }
    [[nodiscard]] const Packet& Get() const { return packet_; }

private:
    Stream* stream_;
    Packet packet_{};
    bool there_ = false;
};
using PictureHead = Head<PictureStream, PicturePacket>;
using SoundHead = Head<SoundStream, OpusPacket>;

void CheckAudioRows(const std::vector<AudioRow>& rows) {
    Ms pos = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const AudioRow& row = rows[i];
        const auto refuse = [i](const char* fault) {
            throw std::invalid_argument("audio row " + std::to_string(i + 1) + " " + fault);
        };
        if (row.pos != pos) refuse("does not begin where the one before ends");
        if (row.posEnd <= row.pos) refuse("has no length");
        const bool isHeard = row.fileIndex >= 0;
        if (isHeard && (row.srcPos < 0 || row.volPercent < 0)) refuse("has a negative source time or volume");
        if (isHeard && std::int64_t{row.srcPosEnd} - row.srcPos != row.posEnd - row.pos)
            refuse("runs at another speed than its source");
        pos = row.posEnd;
    }
}

/// Weaves the tracks by time into the writer.
class Weaver {
public:
    Weaver(MkvWriter& writer, const JobContext& job, Ms duration) : writer_(writer), job_(job), duration_(duration) {}

    void Run(PictureHead& picture, std::optional<PictureHead>& camera, SoundHead& sound) {
        while (picture.There() || (camera && camera->There()) || sound.There()) {
            const Ms pictureTime = TimeOf(picture);
            const Ms cameraTime = camera ? TimeOf(*camera) : kNever;
            const Ms soundTime = sound.There() ? static_cast<Ms>(soundPackets_ * kPacketMs) : kNever;
            if (pictureTime <= cameraTime && pictureTime <= soundTime) {
                Write(TrackKind::Picture, picture);
            } else if (cameraTime <= soundTime) {
                Write(TrackKind::Camera, *camera);
            } else {
                writer_.WriteSound(sound.Get());
                ++soundPackets_;
                sound.Advance();
                Tell(soundTime);
            }
        }
    }

private:
    static constexpr Ms kNever = std::numeric_limits<Ms>::max();

    static Ms TimeOf(const PictureHead& head) { return head.There() ? head.Get().time : kNever; }

    void Write(TrackKind track, PictureHead& head) {
        const PicturePacket& packet = head.Get();
        writer_.WritePicture(track, packet.time, packet.key, packet.data);
        head.Advance();
    }

    void Tell(Ms time) {
        if (soundPackets_ % kTellEvery != 0) return;
        job_.Check();
        job_.Report(static_cast<double>(time) / duration_);
    }

    static constexpr std::int64_t kTellEvery = 50;

    MkvWriter& writer_;
    const JobContext& job_;
    Ms duration_;
    std::int64_t soundPackets_ = 0;
};

SoundMix SoundOf(const MixRequest& request, int channels, std::int64_t samples) {
    const auto open = [files = request.sources](int fileIndex) {
        return OpenSound(files.at(static_cast<std::size_t>(fileIndex)));
    };
    return {request.audioRows, request.sources, open, channels, samples};
}

}  // namespace

MixReport SaveMix(const MixRequest& request, const JobContext& job) {
    if (request.sources.empty()) throw std::invalid_argument("there is no source");
    CheckFrameRows(request.frameRows);
    CheckAudioRows(request.audioRows);
    const Ms duration = request.frameRows.back().posEnd;
    const std::int64_t samples = std::int64_t{duration} * kSamplesPerMs;

    const MkvReader first(request.sources.front());
    const int channels = first.Sound() != nullptr && first.Sound()->channels == 2 ? 2 : 1;
    const int told = request.bitrateKbit > 0 ? request.bitrateKbit : first.Fact(fact::kAudioBitrate).value_or(0);
    const int bitrate = told > 0 ? told : kDefaultBitrateKbit;

    PictureStream picture({request.sources.front(), false, request.frameRows, request.log}, job.stop);
    std::unique_ptr<PictureStream> camera;
    if (first.Camera() != nullptr)
        camera = std::make_unique<PictureStream>(
            PictureMix{request.sources.front(), true, request.frameRows, request.log}, job.stop);
    SoundStream sound(SoundOf(request, channels, samples), {channels, bitrate}, request.log, job.stop);

    ContainerSpec spec{picture.Format(), std::nullopt, channels, bitrate};
    if (camera) spec.camera = camera->Format();
    MkvWriter writer(request.target, spec);
    PictureHead pictureHead(picture);
    std::optional<PictureHead> cameraHead;
    if (camera) cameraHead.emplace(*camera);
    SoundHead soundHead(sound);
    Weaver(writer, job, duration).Run(pictureHead, cameraHead, soundHead);
    job.Check();
    writer.Finish(samples, duration);
    return {picture.Given().all, picture.Given().copied, sound.PacketCount(), sound.CopiedPackets()};
}

}  // namespace qv
