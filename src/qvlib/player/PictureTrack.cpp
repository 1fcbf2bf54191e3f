// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/PictureTrack.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "MediaError.h"
#include "av/Av.h"

namespace qv {

namespace {

constexpr Ms kNever = std::numeric_limits<Ms>::max();

/// How many groups in front of a damaged one are tried for a picture that goes on standing.
constexpr int kGroupsTried = 3;

/// Decoding up to a time deep inside a group is spread over so many threads; the first sound takes a fraction of one.
constexpr int kThreads = 2;

std::size_t BytesOf(const Picture& picture) {
    std::size_t bytes = 0;
    for (const AVBufferRef* buffer : picture.frame->buf) bytes += buffer == nullptr ? 0 : buffer->size;
    return bytes;
}

}  // namespace

PictureTrack::PictureTrack(const std::filesystem::path& file, bool camera, std::function<void(const std::string&)> log)
    : source_(file, camera),
      log_(std::move(log)),
      decoder_(source_.Format(), kThreads),
      reorders_(source_.Format().codec == PictureCodec::H264) {}

std::optional<StandingPicture> PictureTrack::At(Ms time, const std::function<bool()>& isCancelled) {
    if (const Kept* kept = Find(time)) return StandingPicture{kept->picture, kept->until};
    if (source_.Keys().empty()) return StandingPicture{{}, kNever};
    const Ms first = source_.Keys().front();
    if (!LiesAhead(time)) Restart(source_.KeyAt(time));
    if (!DecodeUpTo(std::max(time, first), isCancelled)) return std::nullopt;
    Ms until = NextAfter(time);
    Ms key = source_.KeyAt(time);
    for (int tried = 0; !last_.frame && key > first && tried < kGroupsTried; ++tried) {
        until = NextKeyAfter(time);
        key = source_.KeyAt(key - 1);
        Restart(key);
        if (!DecodeUpTo(NextKeyAfter(key) - 1, isCancelled)) return std::nullopt;
    }
    if (!last_.frame) return StandingPicture{{}, until};
    if (last_.time <= time) Keep(last_, until);
    const Kept* kept = Find(time);
    return kept != nullptr ? StandingPicture{kept->picture, kept->until} : StandingPicture{last_, until};
}

Ms PictureTrack::NextKeyAfter(Ms time) const {
    const auto next = std::ranges::upper_bound(source_.Keys(), time);
    return next == source_.Keys().end() ? kNever : *next;
}

const PictureTrack::Kept* PictureTrack::Find(Ms time) {
    const auto behind = kept_.upper_bound(time);
    if (behind == kept_.begin()) return nullptr;
    Kept& kept = std::prev(behind)->second;
    if (kept.until <= time) return nullptr;
    kept.used = ++uses_;
    return &kept;
}

void PictureTrack::Keep(const Picture& picture, Ms until) {
    const auto [place, isNew] = kept_.try_emplace(picture.time);
    if (isNew) keptBytes_ += BytesOf(picture);
    place->second = {picture, until, ++uses_};
    while (keptBytes_ > kMostKept && kept_.size() > 1) {
        const auto oldest = std::ranges::min_element(kept_, {}, [](const auto& entry) { return entry.second.used; });
        keptBytes_ -= BytesOf(oldest->second.picture);
        kept_.erase(oldest);
    }
}

/// Whether decoding on leads there, without a key that would be a shorter way.
bool PictureTrack::LiesAhead(Ms time) const {
    if (!entry_) return false;
    const Ms reached = last_.frame ? last_.time : *entry_;
    return time >= reached && source_.KeyAt(time) <= (ahead_.empty() ? reached : ahead_.front().time);
}

void PictureTrack::Restart(Ms key) {
    decoder_.Reset();
    ahead_.clear();
    inside_.clear();
    last_ = {};
    ended_ = false;
    exhausted_ = false;
    entry_ = key;
    source_.Enter(key);
    ReadAhead();
}

bool PictureTrack::DecodeUpTo(Ms time, const std::function<bool()>& isCancelled) {
    while (MayBringOne(time)) {
        if (isCancelled()) return false;
        SendNext();
        Receive();
    }
    return true;
}

/// Whether a packet that is not decoded yet may be shown at that time or before.
bool PictureTrack::MayBringOne(Ms time) const {
    const auto isSoon = [time](const PicturePacket& packet) { return packet.time <= time; };
    return std::ranges::any_of(inside_, [time](Ms one) { return one <= time; }) || std::ranges::any_of(ahead_, isSoon);
}

Ms PictureTrack::NextAfter(Ms time) const {
    Ms next = kNever;
    for (const Ms one : inside_)
        if (one > time) next = std::min(next, one);
    for (const PicturePacket& packet : ahead_)
        if (packet.time > time) next = std::min(next, packet.time);
    return next == kNever ? NextKeyAfter(time) : next;  // damage may have ended this group, not the file
}

/// As far as a packet can lie that is shown before the next one.
void PictureTrack::ReadAhead() {
    const std::size_t depth = reorders_ ? kReorderDepth : 1;
    while (!exhausted_ && ahead_.size() < depth) {
        try {
            const auto block = source_.Next();
            exhausted_ = !block;
            if (block) ahead_.push_back({block->time, block->key, {block->data.begin(), block->data.end()}});
        } catch (const MediaError& error) {
            exhausted_ = true;
            if (log_) log_(error.what());
        }
    }
}

void PictureTrack::SendNext() {
    if (ahead_.empty()) {
        if (!ended_) decoder_.SendEnd();
        ended_ = true;
        Receive();
        inside_.clear();
        return;
    }
    const PicturePacket packet = std::move(ahead_.front());
    ahead_.pop_front();
    ReadAhead();
    inside_.push_back(packet.time);
    decoder_.Send(packet.time, packet.key, packet.data);
}

void PictureTrack::Receive() {
    while (auto picture = decoder_.Receive()) {
        // Pictures come out in the order of showing: what should have come before this one never will.
        std::erase_if(inside_, [&](Ms time) { return time <= picture->time; });
        if (last_.frame && last_.time < picture->time) Keep(last_, picture->time);
        last_ = std::move(*picture);
    }
}

}  // namespace qv
