// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/SlideChanges.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <optional>
#include <utility>

#include "av/Av.h"
#include "foreign/ForeignFile.h"
#include "picture/SlideWatcher.h"

namespace qv {

namespace {

class Shrinker {
public:
    SmallPicture operator()(const AVFrame& frame) {
        scaler_.Scale(frame, *gray_);
        SmallPicture small;
        for (int y = 0; y < kSmallHeight; ++y) {
            const std::uint8_t* line = gray_->data[0] + static_cast<std::ptrdiff_t>(y) * gray_->linesize[0];
            std::copy_n(line, kSmallWidth, small.begin() + static_cast<std::ptrdiff_t>(y) * kSmallWidth);
        }
        return small;
    }

private:
    av::PictureScaler scaler_{SWS_AREA};
    av::Frame gray_ = av::NewPictureFrame(AV_PIX_FMT_GRAY8, kSmallWidth, kSmallHeight);
};

/// The packets from one key to the next, as the first look saw them.
struct Group {
    std::int64_t pts = 0;
    Ms time = 0;
    SmallPicture key;
    int keySize = 0;
    int largest = 0;  ///< size of the largest packet after the key

    /// A slide that changes within the group costs about as much as a key.
    [[nodiscard]] bool HoldsLargePacket() const { return largest > keySize / 3; }
};

/// Reads the recording twice: all packets but only the keys' pictures, then the groups that may hold a change.
class SlideFinder {
public:
    SlideFinder(const std::filesystem::path& path, double share, const JobContext& job)
        : file_(path), stream_(file_.PictureStream()), share_(share), job_(job), watcher_(share) {
        if (stream_ == nullptr) throw MediaError(path, "has no picture");
        file_.ReadOnly(*stream_);
    }

    const SlideWatcher& Find();

private:
    static constexpr double kKeysPart = 0.5;  ///< of the progress
    static constexpr Ms kShortestGroup = 2000;
    static constexpr Ms kSeeEvery = 25;

    struct Decoded {
        Ms time = 0;
        SmallPicture picture;
    };

    void LookAtKeys();
    void AddGroup(AVCodecContext& keyDecoder, const AVPacket& packet, std::int64_t pts);
    void LearnRestless();
    [[nodiscard]] bool NeedsDecoding(std::size_t group) const;
    /// Shows the watcher the pictures from the group's key to `end`.
    void Watch(std::size_t group, Ms end);
    void GoTo(std::size_t group);
    /// @returns false at the end of the recording
    bool DecodeOn();

    [[nodiscard]] Ms TimeOf(std::int64_t pts) const {
        return static_cast<Ms>(std::max<std::int64_t>(0, file_.MsFromZero(pts, stream_->time_base)));
    }
    [[nodiscard]] Ms EndOf(std::size_t group) const {
        return group + 1 < groups_.size() ? groups_[group + 1].time : std::numeric_limits<Ms>::max();
    }

    ForeignFile file_;
    AVStream* stream_;
    double share_;
    const JobContext& job_;
    SlideWatcher watcher_;
    Shrinker shrink_;
    std::vector<Group> groups_;

    av::Codec decoder_;
    av::Packet packet_ = av::NewPacket();
    av::Frame frame_ = av::NewFrame();
    std::deque<Decoded> decoded_;  ///< not yet shown to the watcher
    std::optional<Ms> seenTo_;     ///< all before is decoded and shown; the decoder goes on from there
    Ms lastDecoded_ = -kSeeEvery;
};

const SlideWatcher& SlideFinder::Find() {
    LookAtKeys();
    if (groups_.empty()) throw MediaError(file_.Path(), "has no picture that can be decoded");
    decoder_ = OpenStreamDecoder(file_, *stream_, 0);
    LearnRestless();
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        job_.Report(kKeysPart + (1 - kKeysPart) * static_cast<double>(i) / static_cast<double>(groups_.size()));
        if (NeedsDecoding(i)) {
            Watch(i, EndOf(i));
        } else {
            watcher_.Skip(groups_[i].time, groups_[i].key, groups_[i + 1].time, groups_[i + 1].key);
        }
    }
    watcher_.End();
    job_.Report(1);
    return watcher_;
}

void SlideFinder::LookAtKeys() {
    const av::Codec keyDecoder = OpenStreamDecoder(file_, *stream_, 1);
    const double length = static_cast<double>(std::max<std::int64_t>(1000, file_.Input().duration)) / 1000;
    while (file_.Next(*packet_)) {
        job_.Check();
        const std::int64_t pts = packet_->pts != AV_NOPTS_VALUE ? packet_->pts : packet_->dts;
        const bool key = (packet_->flags & AV_PKT_FLAG_KEY) != 0 && pts != AV_NOPTS_VALUE;
        if (key && (groups_.empty() || TimeOf(pts) - groups_.back().time >= kShortestGroup)) {
            AddGroup(*keyDecoder, *packet_, pts);
            job_.Report(std::min(1.0, TimeOf(pts) / length) * kKeysPart);
        } else if (!groups_.empty() && !key) {
            groups_.back().largest = std::max(groups_.back().largest, packet_->size);
        }
    }
}

void SlideFinder::AddGroup(AVCodecContext& keyDecoder, const AVPacket& packet, std::int64_t pts) {
    avcodec_send_packet(&keyDecoder, &packet);
    avcodec_send_packet(&keyDecoder, nullptr);  // out with it at once
    const bool decoded = avcodec_receive_frame(&keyDecoder, frame_.get()) == 0;
    if (decoded) groups_.push_back({pts, TimeOf(pts), shrink_(*frame_), packet.size, 0});
    avcodec_flush_buffers(&keyDecoder);
}

bool SlideFinder::NeedsDecoding(std::size_t group) const {
    if (watcher_.Moving() || group + 1 == groups_.size() || groups_[group].HoldsLargePacket()) return true;
    return watcher_.Changed(groups_[group].key, groups_[group + 1].key) > share_ / 2;
}

/// Where many keys differ from their neighbours, something moves all the time. Where in the picture, is learnt from a few
/// samples spread over the recording, so that not all of it has to be decoded.
void SlideFinder::LearnRestless() {
    constexpr std::size_t kSamples = 6;
    constexpr Ms kSampleMs = 3000;
    std::size_t candidates = 0;
    for (std::size_t i = 0; i < groups_.size(); ++i) candidates += NeedsDecoding(i) ? 1 : 0;
    if (groups_.size() < kSamples || candidates < groups_.size() / 3) return;
    for (std::size_t i = 0; i < kSamples; ++i) {
        const std::size_t group = i * groups_.size() / kSamples;
        const Ms end = groups_[group].time + kSampleMs;
        Watch(group, std::min(EndOf(group), end));
        seenTo_.reset();
    }
    watcher_.StartOver();
}

void SlideFinder::Watch(std::size_t group, Ms end) {
    if (seenTo_ != groups_[group].time) GoTo(group);
    for (;;) {
        for (; !decoded_.empty() && decoded_.front().time < end; decoded_.pop_front()) {
            watcher_.See(decoded_.front().time, decoded_.front().picture);
        }
        if (!decoded_.empty() || !DecodeOn()) break;
    }
    seenTo_ = end;
}

void SlideFinder::GoTo(std::size_t group) {
    if (!file_.SeekKey(*stream_, groups_[group].pts)) {
        file_ = ForeignFile(file_.Path());
        stream_ = file_.PictureStream();
        file_.ReadOnly(*stream_);
    }
    avcodec_flush_buffers(decoder_.get());
    decoded_.clear();
    lastDecoded_ = groups_[group].time - kSeeEvery;
}

bool SlideFinder::DecodeOn() {
    job_.Check();
    const bool more = file_.Next(*packet_);
    avcodec_send_packet(decoder_.get(), more ? packet_.get() : nullptr);
    while (avcodec_receive_frame(decoder_.get(), frame_.get()) == 0) {
        if (frame_->best_effort_timestamp == AV_NOPTS_VALUE) continue;
        const Ms time = TimeOf(frame_->best_effort_timestamp);
        if (time - lastDecoded_ < kSeeEvery) continue;
        decoded_.push_back({time, shrink_(*frame_)});
        lastDecoded_ = time;
    }
    return more;
}

/// Takes out the slides that stand too short: shown in passing on the way to the next, or back to the one before.
std::vector<Ms> WithoutShortSlides(const SlideWatcher& watcher, double share, Ms minSlideMs) {
    std::vector<SlideChange> kept;
    for (const SlideChange& change : watcher.Changes()) {
        const Ms slideStart = kept.empty() ? 0 : kept.back().time;
        if (change.time - slideStart >= minSlideMs) {
            kept.push_back(change);
        } else if (!kept.empty() && watcher.Changed(kept.back().before, change.after) <= share) {
            kept.pop_back();
        } else if (!kept.empty()) {
            kept.back().after = change.after;
        }
    }
    std::vector<Ms> times;
    times.reserve(kept.size());
    for (const SlideChange& change : kept) times.push_back(change.time);
    return times;
}

}  // namespace

std::vector<Ms> FindSlideChanges(const std::filesystem::path& path, int sensitivity, Ms minSlideMs,
                                 const JobContext& job) {
    constexpr double kUsualShare = 0.012;
    constexpr double kStepsToDouble = 12.5;
    const int steps = kUsualSensitivity - std::clamp(sensitivity, 0, 100);
    const double share = kUsualShare * std::exp2(steps / kStepsToDouble);
    SlideFinder finder(path, share, job);
    return WithoutShortSlides(finder.Find(), share, minSlideMs);
}

}  // namespace qv
