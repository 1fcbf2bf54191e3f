// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PictureSource.h"

#include <algorithm>

#include "MediaError.h"

namespace qv {

namespace {

/// Decoding a longer stretch is spread over this many threads.
constexpr int kDecodeThreads = 2;

/// Turns decoded pictures into "the one that stands at from, then those before to".
class StandingFirst {
public:
    StandingFirst(Ms from, Ms to, const std::function<bool(const Picture&)>& take)
        : from_(from), to_(to), take_(take) {}

    /// @returns false when no more pictures are wanted
    bool Add(const Picture& picture) {
        if (picture.time < from_) {
            standing_ = picture;
            return true;
        }
        const bool settlesStanding = !begun_ && picture.time > from_;
        if (settlesStanding && standing_.frame && !Give(standing_)) return false;
        if (begun_ && picture.time >= to_) return false;
        return Give(picture) && picture.time < to_ - 1;
    }

    /// No more pictures come.
    void End() {
        if (!begun_ && standing_.frame) Give(standing_);
    }

    [[nodiscard]] bool Begun() const { return begun_; }

private:
    bool Give(const Picture& picture) {
        begun_ = true;
        return take_(picture);
    }

    Ms from_;
    Ms to_;
    const std::function<bool(const Picture&)>& take_;
    Picture standing_;
    bool begun_ = false;
};

}  // namespace

PictureSource::PictureSource(const std::filesystem::path& file, bool camera) : reader_(file), cursor_(reader_) {
    const TrackInfo& track = FindTrack(camera);
    const auto codec = PictureCodecOf(track.codecId);
    if (!codec) throw MediaError(file, "has a picture in " + track.codecId + ", which cannot be carried");
    track_ = track.number;
    format_ = {*codec, track.width, track.height, track.codecPrivate};
    for (const Cue& cue : reader_.Cues())
        if (cue.track == track_) cues_.push_back(cue);
    std::ranges::sort(cues_, {}, &Cue::time);
    for (const Cue& cue : cues_)
        if (keys_.empty() || keys_.back() != cue.time) keys_.push_back(cue.time);
}

const TrackInfo& PictureSource::FindTrack(bool camera) const {
    const TrackInfo* track = camera ? reader_.Camera() : reader_.Picture();
    if (track == nullptr) throw MediaError(reader_.Path(), camera ? "has no camera" : "has no picture");
    return *track;
}

Ms PictureSource::KeyAt(Ms time) const {
    if (keys_.empty()) throw MediaError(reader_.Path(), "has a picture without a keyframe");
    const auto behind = std::ranges::upper_bound(keys_, time);
    return behind == keys_.begin() ? keys_.front() : *std::prev(behind);
}

void PictureSource::Enter(Ms key) {
    const auto cue = std::ranges::lower_bound(cues_, key, {}, &Cue::time);
    if (cue == cues_.end() || cue->time != key)
        throw MediaError(reader_.Path(), "has no keyframe at " + std::to_string(key) + " ms");
    cursor_.Seek(cue->cluster);
    entering_ = key;
}

std::optional<Block> PictureSource::Next() {
    while (auto block = cursor_.Next()) {
        if (block->track != track_) continue;
        if (entering_ && (block->time != *entering_ || !block->key)) continue;
        entering_.reset();
        return block;
    }
    return std::nullopt;
}

bool PictureSource::StandsOnKey(Ms time) {
    const Ms key = KeyAt(time);
    Enter(key);
    std::size_t later = 0;
    if (!Next()) return false;
    while (later < kReorderDepth) {
        const auto block = Next();
        if (!block || block->key) break;
        if (block->time <= time) return false;
        ++later;
    }
    return true;
}

int PictureSource::Decode(Ms from, Ms to, const std::function<bool(const Picture&)>& take) {
    PictureDecoder decoder(format_, to - from > 1000 ? kDecodeThreads : 1);
    StandingFirst wanted(from, to, take);
    bool more = true;
    const auto drain = [&] {
        while (more) {
            const auto picture = decoder.Receive();
            if (!picture) break;
            more = wanted.Add(*picture);
        }
    };
    const bool reorders = format_.codec == PictureCodec::H264;
    Enter(KeyAt(from));
    for (bool entered = false; more; entered = true) {
        const auto block = Next();
        if (!block || (entered && block->time >= to && (block->key || !reorders))) break;
        decoder.Send(block->time, block->key, block->data);
        drain();
    }
    if (more) decoder.SendEnd();
    drain();
    if (more) wanted.End();
    if (!wanted.Begun())
        throw MediaError(reader_.Path(), "has no picture that can be decoded at " + std::to_string(from) + " ms");
    return decoder.Damaged();
}

}  // namespace qv
