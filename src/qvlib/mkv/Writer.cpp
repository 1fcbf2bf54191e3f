// SPDX-License-Identifier: GPL-3.0-or-later
#include "mkv/Writer.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <vector>

#include "MediaError.h"
#include "io/Files.h"
#include "mkv/Ebml.h"
#include "mkv/Layout.h"
#include "mkv/Reader.h"
#include "sound/Opus.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// A cluster ends at the next keyframe, at this age, or at this size, whichever comes first.
constexpr Ms kClusterMs = 5000;
constexpr std::size_t kClusterBytes = 1 << 20;

/// The Segment's size is written when it is known, so it takes all of its 8 bytes.
constexpr std::size_t kSegmentHeadSize = 12;

struct CuePlace {
    Ms time = 0;
    int track = 0;
    std::int64_t cluster = 0;   ///< relative to the segment's data
    std::size_t inCluster = 0;  ///< relative to the cluster's data
};

ebml::Builder PictureEntry(const PictureFormat& format, int number, bool isCamera) {
    ebml::Builder video;
    video.Unsigned(ebml::kPixelWidth, static_cast<std::uint64_t>(format.width));
    video.Unsigned(ebml::kPixelHeight, static_cast<std::uint64_t>(format.height));
    ebml::Builder entry;
    entry.Unsigned(ebml::kTrackNumber, static_cast<std::uint64_t>(number));
    entry.Unsigned(ebml::kTrackUid, static_cast<std::uint64_t>(number));
    entry.Unsigned(ebml::kTrackType, 1);
    entry.Unsigned(ebml::kFlagLacing, 0);
    if (isCamera) entry.Unsigned(ebml::kFlagDefault, 0);
    if (isCamera) entry.Text(ebml::kTrackName, kCameraName);
    entry.Text(ebml::kLanguage, "und");
    entry.Text(ebml::kCodecId, CodecIdOf(format.codec));
    if (!format.codecPrivate.empty()) entry.Binary(ebml::kCodecPrivate, format.codecPrivate);
    entry.Master(ebml::kVideo, video);
    return entry;
}

ebml::Builder SoundEntry(int channels, int number) {
    constexpr std::uint64_t kPreSkipNs = 1'000'000'000ULL * kPreSkip / kSampleRate;
    constexpr std::uint64_t kSeekPreRollNs = 80'000'000;
    ebml::Builder audio;
    audio.Float(ebml::kSamplingFrequency, kSampleRate);
    audio.Unsigned(ebml::kChannels, static_cast<std::uint64_t>(channels));
    ebml::Builder entry;
    entry.Unsigned(ebml::kTrackNumber, static_cast<std::uint64_t>(number));
    entry.Unsigned(ebml::kTrackUid, static_cast<std::uint64_t>(number));
    entry.Unsigned(ebml::kTrackType, 2);
    entry.Unsigned(ebml::kFlagLacing, 0);
    entry.Text(ebml::kLanguage, "und");
    entry.Text(ebml::kCodecId, "A_OPUS");
    entry.Binary(ebml::kCodecPrivate, MakeOpusHead(channels));
    entry.Unsigned(ebml::kCodecDelay, kPreSkipNs);
    entry.Unsigned(ebml::kSeekPreRoll, kSeekPreRollNs);
    entry.Master(ebml::kAudio, audio);
    return entry;
}

void AddFact(ebml::Builder& tag, const char* name, std::int64_t value) {
    ebml::Builder simple;
    simple.Text(ebml::kTagName, name);
    simple.Text(ebml::kTagString, std::to_string(value));
    tag.Master(ebml::kSimpleTag, simple);
}

void AddSeek(ebml::Builder& seekHead, ebml::Id id, std::int64_t position) {
    ebml::Builder seek;
    seek.Unsigned(ebml::kSeekId, id);
    seek.Unsigned8(ebml::kSeekPosition, static_cast<std::uint64_t>(position));
    seekHead.Master(ebml::kSeek, seek);
}

}  // namespace

struct MkvWriter::Impl {
    Impl(const std::filesystem::path& target, const ContainerSpec& theSpec)
        : spec(theSpec), file(target, theSpec.appears) {
        int number = 0;
        if (spec.picture) pictureNumber = ++number;
        if (spec.camera) cameraNumber = ++number;
        soundNumber = ++number;
        const Ending longest{std::numeric_limits<Ms>::max(), 0};
        headSize = Head(&longest).Size() + kHeadSlack;
        ebml::Builder start;
        start.Raw(CanonicalEbmlHeader());
        start.Raw(SegmentStart(kUnknownSize, Head(nullptr)).Bytes());
        file.Append(start.Bytes());
        segmentData = static_cast<std::int64_t>(CanonicalEbmlHeader().size() + kSegmentHeadSize);
    }

    /// Room for the padding element behind the head, whatever lengths the numbers in the head have.
    static constexpr std::size_t kHeadSlack = 32;

    /// What is known when the last cluster is written.
    struct Ending {
        Ms durationMs;
        std::int64_t cuesAt;
    };

    /// Everything before the first cluster except the padding. Positions are relative to the segment's data.
    /// @param ending nullptr as long as it is not known
    [[nodiscard]] ebml::Builder Head(const Ending* ending) const {
        ebml::Builder tracks;
        if (spec.picture) tracks.Master(ebml::kTrackEntry, PictureEntry(*spec.picture, pictureNumber, false));
        if (spec.camera) tracks.Master(ebml::kTrackEntry, PictureEntry(*spec.camera, cameraNumber, true));
        tracks.Master(ebml::kTrackEntry, SoundEntry(spec.channels, soundNumber));

        ebml::Builder info;
        info.Unsigned(ebml::kTimestampScale, 1'000'000);
        if (ending) info.Float(ebml::kDuration, ending->durationMs);
        info.Text(ebml::kMuxingApp, "qvlib");
        info.Text(ebml::kWritingApp, "qvlib");

        ebml::Builder tag;
        tag.Master(ebml::kTargets, ebml::Builder());
        AddFact(tag, fact::kFormatVersion, kFormatVersion);
        if (ending) AddFact(tag, fact::kDuration, ending->durationMs);
        AddFact(tag, fact::kAudioBitrate, spec.bitrateKbit);
        AddFact(tag, fact::kFreeTag, 0);
        ebml::Builder tags;
        tags.Master(ebml::kTag, tag);

        ebml::Builder rest;
        const auto seekHeadSize = static_cast<std::int64_t>(SeekHead(0, 0, 0, ending).Size());
        rest.CheckedMaster(ebml::kInfo, info);
        const std::int64_t tagsAt = seekHeadSize + static_cast<std::int64_t>(rest.Size());
        rest.CheckedMaster(ebml::kTags, tags);
        const std::int64_t tracksAt = seekHeadSize + static_cast<std::int64_t>(rest.Size());
        rest.CheckedMaster(ebml::kTracks, tracks);

        ebml::Builder head = SeekHead(seekHeadSize, tagsAt, tracksAt, ending);
        head.Raw(rest.Bytes());
        return head;
    }

    static ebml::Builder SeekHead(std::int64_t infoAt, std::int64_t tagsAt, std::int64_t tracksAt,
                                  const Ending* ending) {
        ebml::Builder seekHead;
        AddSeek(seekHead, ebml::kInfo, infoAt);
        AddSeek(seekHead, ebml::kTags, tagsAt);
        AddSeek(seekHead, ebml::kTracks, tracksAt);
        if (ending) AddSeek(seekHead, ebml::kCues, ending->cuesAt);
        ebml::Builder element;
        element.CheckedMaster(ebml::kSeekHead, seekHead);
        return element;
    }

    void PutBlock(int track, Ms time, bool key, std::span<const std::uint8_t> data) {
        PrepareCluster(track, time, key);
        const auto head = BlockHead(track, time, key);
        cluster.Head(ebml::kSimpleBlock, data.size() + head.size());
        cluster.Raw(head);
        cluster.Raw(data);
    }

    /// Opens a cluster that takes a block of this time, and lists the block in the cues when it can be entered at.
    void PrepareCluster(int track, Ms time, bool key) {
        const Ms age = time - clusterTime;
        const bool full = cluster.Size() > kClusterBytes || age >= kClusterMs || age < -kClusterMs;
        if (!clusterOpen || full || (key && track == pictureNumber)) OpenCluster(time);
        if (key && (track != soundNumber || !soundCueDone)) AddCue(track, time);
    }

    [[nodiscard]] std::array<std::uint8_t, 4> BlockHead(int track, Ms time, bool key) const {
        const Ms relative = time - clusterTime;
        return {static_cast<std::uint8_t>(0x80 | track), static_cast<std::uint8_t>(relative >> 8),
                static_cast<std::uint8_t>(relative), static_cast<std::uint8_t>(key ? 0x80 : 0)};
    }

    void OpenCluster(Ms time) {
        CloseCluster();
        clusterOpen = true;
        clusterTime = time;
        soundCueDone = false;
        cluster.Unsigned(ebml::kTimestamp, static_cast<std::uint64_t>(time));
    }

    void CloseCluster() {
        if (!clusterOpen) return;
        ebml::Builder element;
        element.CheckedMaster(ebml::kCluster, cluster);
        file.Append(element.Bytes());
        cluster.Clear();
        clusterOpen = false;
    }

    void AddCue(int track, Ms time) {
        soundCueDone = soundCueDone || track == soundNumber;
        cues.push_back({time, track, file.Size() - segmentData, cluster.Size() + ebml::kCrcElementSize});
    }

    void FlushSound() {
        if (!lastSound.empty()) PutBlock(soundNumber, SoundTime(soundPackets - 1), true, lastSound);
    }

    /// The last packet of the sound, with the part of it that is not to be heard.
    void PutLastSound(std::int64_t samples) {
        if (lastSound.empty()) return;
        const std::int64_t surplus = soundPackets * kPacketSamples - kPreSkip - samples;
        const Ms time = SoundTime(soundPackets - 1);
        PrepareCluster(soundNumber, time, true);
        const auto head = BlockHead(soundNumber, time, false);  // inside a group, no reference makes it a key
        std::vector<std::uint8_t> block(head.begin(), head.end());
        block.insert(block.end(), lastSound.begin(), lastSound.end());
        ebml::Builder group;
        group.Binary(ebml::kBlock, block);
        if (surplus > 0) group.Signed(ebml::kDiscardPadding, SamplesToNs(surplus));
        cluster.Master(ebml::kBlockGroup, group);
    }

    static Ms SoundTime(std::int64_t packet) { return static_cast<Ms>(packet * kPacketMs); }

    [[nodiscard]] ebml::Builder Cues() const {
        ebml::Builder points;
        for (const CuePlace& cue : cues) {
            ebml::Builder place;
            place.Unsigned(ebml::kCueTrack, static_cast<std::uint64_t>(cue.track));
            place.Unsigned(ebml::kCueClusterPosition, static_cast<std::uint64_t>(cue.cluster));
            place.Unsigned(ebml::kCueRelativePosition, cue.inCluster);
            ebml::Builder point;
            point.Unsigned(ebml::kCueTime, static_cast<std::uint64_t>(cue.time));
            point.Master(ebml::kCueTrackPositions, place);
            points.Master(ebml::kCuePoint, point);
        }
        ebml::Builder element;
        element.CheckedMaster(ebml::kCues, points);
        return element;
    }

    /// Fills in what stands before the first cluster.
    void PatchHead(const Ending& ending) {
        const auto size = static_cast<std::uint64_t>(file.Size() - segmentData);
        const ebml::Builder segment = SegmentStart(size, Head(&ending));
        file.Patch(segmentData - static_cast<std::int64_t>(kSegmentHeadSize), segment.Bytes());
    }

    [[nodiscard]] ebml::Builder SegmentStart(std::uint64_t size, const ebml::Builder& head) const {
        ebml::Builder segment;
        segment.Raw(SegmentHead(size));
        segment.Raw(head.Bytes());
        segment.Padding(headSize - head.Size());
        return segment;
    }

    ContainerSpec spec;
    NewFile file;
    int pictureNumber = 0;
    int cameraNumber = 0;
    int soundNumber = 0;
    std::size_t headSize = 0;
    std::int64_t segmentData = 0;
    ebml::Builder cluster;
    bool clusterOpen = false;
    bool soundCueDone = false;
    Ms clusterTime = 0;
    std::vector<CuePlace> cues;
    std::vector<std::uint8_t> lastSound;
    std::int64_t soundPackets = 0;
};

MkvWriter::MkvWriter(const std::filesystem::path& target, const ContainerSpec& spec)
    : impl_(std::make_unique<Impl>(target, spec)) {}

MkvWriter::~MkvWriter() = default;

void MkvWriter::WritePicture(TrackKind track, Ms time, bool key, std::span<const std::uint8_t> data) {
    impl_->PutBlock(track == TrackKind::Picture ? impl_->pictureNumber : impl_->cameraNumber, time, key, data);
}

void MkvWriter::WriteSound(std::span<const std::uint8_t> data) {
    impl_->FlushSound();
    impl_->lastSound.assign(data.begin(), data.end());
    ++impl_->soundPackets;
}

void MkvWriter::Flush() {
    impl_->CloseCluster();
    impl_->file.Sync();
}

void MkvWriter::Finish(std::int64_t samples, Ms durationMs) {
    impl_->PutLastSound(samples);
    impl_->CloseCluster();
    const std::int64_t cuesAt = impl_->file.Size() - impl_->segmentData;
    impl_->file.Append(impl_->Cues().Bytes());
    impl_->PatchHead({durationMs, cuesAt});
    impl_->file.Commit();
}

}  // namespace qv
