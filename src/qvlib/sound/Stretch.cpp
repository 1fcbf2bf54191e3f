// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/Stretch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "MediaError.h"
#include "sound/SoundFormat.h"

namespace qv {
namespace {

/// Where copied packets may follow the touched ones: this many packets behind, tried all, the best of them taken.
constexpr std::int64_t kFirstTry = 3;
constexpr std::int64_t kLastTry = 15;
/// When none of these is clean, as far as this.
constexpr std::int64_t kFarthestTry = 30;

/// Touched packets, between copied ones, that are too few to change the codec's mode for.
constexpr std::int64_t kShort = 10;

/// Packets behind a change that are listened to; the decoder's memory is shorter.
constexpr std::int64_t kJudged = 4;

static_assert(kFarthestTry + kJudged + kJointBefore <= kLeastCopy, "joints at both ends of a copied run would meet");
static_assert(kPrimingPackets + kJointBefore <= kLeastCopy, "a decoder could not hear enough of a copied run");

/// A difference of -90 dB is none.
constexpr double kInaudible = 1e-9;

/// A change at one of the places first..last, from copied packets to encoded ones or back.
struct Joint {
    std::int64_t first;
    std::int64_t last;
    bool toCopied;
};

/// @param error  the error behind the change, in the worst of its packets, as a share of the codec's own: clean up to 1
struct Place {
    std::int64_t packet;
    double error;

    [[nodiscard]] bool IsClean() const { return error <= 1.0; }
};

/// A decoder that is told what it should hear.
class Listener {
public:
    explicit Listener(int channels)
        : decoder_(channels), pcm_(static_cast<std::size_t>(kPacketSamples) * static_cast<std::size_t>(channels)) {}

    void Hear(const OpusPacket& packet) { static_cast<void>(decoder_.Decode(packet, pcm_)); }

    /// The power of the difference, over one packet.
    double Error(const OpusPacket& packet, std::span<const float> wanted) {
        Hear(packet);
        double sum = 0;
        for (std::size_t i = 0; i < pcm_.size(); ++i) {
            const double difference = std::clamp(pcm_[i], -1.0F, 1.0F) - wanted[i];
            sum += difference * difference;
        }
        return sum / static_cast<double>(pcm_.size());
    }

private:
    OpusDecoderHandle decoder_;
    std::vector<float> pcm_;
};

/// Encodes one stretch and looks for the places where it joins what is beside it.
class StretchMaker {
public:
    StretchMaker(const StretchInputs& inputs, const Stretch& stretch, std::stop_token stop)
        : inputs_(inputs),
          stretch_(stretch),
          stop_(std::move(stop)),
          begin_(std::max<std::int64_t>(0, stretch.first - kPrimingPackets - (stretch.afterCopy ? kJointBefore : 0))),
          first_(stretch.first),
          encoder_(inputs.settings, inputs.wanted, begin_) {}

    EncodedStretch Make();

private:
    void EncodeUpTo(std::int64_t end);
    [[nodiscard]] const OpusPacket* Model(std::int64_t n);
    [[nodiscard]] bool HasJoint() const { return stretch_.afterCopy || stretch_.beforeCopy; }
    [[nodiscard]] std::span<const float> WantedOf(std::int64_t n) const;
    [[nodiscard]] const OpusPacket& Encoded(std::int64_t n) const;
    [[nodiscard]] const OpusPacket& Copied(std::int64_t n);
    [[nodiscard]] const OpusPacket& Before(const Joint& joint, std::int64_t n);
    [[nodiscard]] const OpusPacket& After(const Joint& joint, std::int64_t n);
    [[nodiscard]] std::int64_t End() const { return begin_ + static_cast<std::int64_t>(packets_.size()); }
    [[nodiscard]] Place BestPlace(const Joint& joint);
    [[nodiscard]] Place FromCopied();
    [[nodiscard]] Place ToCopied(std::int64_t least, std::int64_t most);

    const StretchInputs& inputs_;
    const Stretch& stretch_;
    std::stop_token stop_;
    std::int64_t begin_;  ///< the packet that packets_ begins with
    std::int64_t first_;  ///< the first packet of the result
    PacketEncoder encoder_;
    std::vector<OpusPacket> packets_;  ///< what the encoder made
    std::vector<float> wanted_;        ///< what went in, when there is a joint to listen to
    std::map<std::int64_t, OpusPacket> copied_;
};

EncodedStretch StretchMaker::Make() {
    EncodeUpTo(stretch_.End());
    if (stretch_.afterCopy) {
        if (stretch_.beforeCopy) EncodeUpTo(stretch_.End() + kLastTry + kJudged);
        first_ = FromCopied().packet;
    }
    Place end{stretch_.End(), 0};
    if (stretch_.beforeCopy) {
        end = ToCopied(kFirstTry, kLastTry);
        if (!end.IsClean()) end = ToCopied(kLastTry + 1, kFarthestTry);
    }
    packets_.resize(static_cast<std::size_t>(end.packet - begin_));
    packets_.erase(packets_.begin(), packets_.begin() + (first_ - begin_));
    return {first_, std::move(packets_), end.IsClean()};
}

void StretchMaker::EncodeUpTo(std::int64_t end) {
    while (End() < end) {
        if (stop_.stop_requested()) throw Abandoned();
        packets_.push_back(encoder_.Next(Model(End())));
        if (HasJoint()) wanted_.insert(wanted_.end(), encoder_.Frame().begin(), encoder_.Frame().end());
    }
}

/// The copied packet that packet n is to be made like: the one that it takes the place of. Between two copied runs that
/// are close to one another, the codec does not get to choose either: it cannot leave its mode and come back in no time.
const OpusPacket* StretchMaker::Model(std::int64_t n) {
    if (stretch_.afterCopy && n < stretch_.first) return &Copied(n);
    if (stretch_.beforeCopy && n >= stretch_.End()) return &Copied(n);
    if (stretch_.afterCopy && stretch_.beforeCopy && stretch_.count <= kShort) return &Copied(stretch_.first - 1);
    return nullptr;
}

/// The samples that a decoder should give for packet n.
std::span<const float> StretchMaker::WantedOf(std::int64_t n) const {
    const std::int64_t from = (n - begin_) * kPacketSamples - kPreSkip;
    const auto channels = static_cast<std::size_t>(inputs_.settings.channels);
    return std::span(wanted_).subspan(static_cast<std::size_t>(from) * channels, kPacketSamples * channels);
}

const OpusPacket& StretchMaker::Encoded(std::int64_t n) const { return packets_[static_cast<std::size_t>(n - begin_)]; }

const OpusPacket& StretchMaker::Copied(std::int64_t n) {
    const auto found = copied_.find(n);
    return found != copied_.end() ? found->second : copied_.emplace(n, inputs_.copied(n)).first->second;
}

/// What is heard at place n while the change is still to come.
const OpusPacket& StretchMaker::Before(const Joint& joint, std::int64_t n) {
    return joint.toCopied && n >= first_ ? Encoded(n) : Copied(n);
}

const OpusPacket& StretchMaker::After(const Joint& joint, std::int64_t n) {
    return joint.toCopied ? Copied(n) : Encoded(n);
}

/// The place with the least error: decoded through the change at each place, and for a measure through the encoder's
/// packets alone.
Place StretchMaker::BestPlace(const Joint& joint) {
    const std::int64_t end = std::min(joint.last + kJudged, End());
    Listener before(inputs_.settings.channels);
    Listener encoded(inputs_.settings.channels);
    for (std::int64_t n = std::max(begin_, joint.first - kPrimingPackets); n < joint.first; ++n) {
        before.Hear(Before(joint, n));
        if (!joint.toCopied) encoded.Hear(Encoded(n));
    }
    if (joint.toCopied) encoded = before;
    std::vector<double> noise;
    for (std::int64_t n = joint.first; n < end; ++n) noise.push_back(encoded.Error(Encoded(n), WantedOf(n)));

    Place best{joint.last, std::numeric_limits<double>::infinity()};
    for (std::int64_t place = joint.first; place <= joint.last; ++place) {
        Listener after = before;
        double worst = 0;
        for (std::int64_t n = place; n < std::min(place + kJudged, end) && worst < best.error; ++n) {
            const double own = noise[static_cast<std::size_t>(n - joint.first)];
            worst = std::max(worst, (after.Error(After(joint, n), WantedOf(n)) + kInaudible) / (own + kInaudible));
        }
        if (worst < best.error) best = {place, worst};
        if (place < joint.last) before.Hear(Before(joint, place));
    }
    return best;
}

/// Where the encoded packets begin to follow the copied ones before the stretch.
Place StretchMaker::FromCopied() { return BestPlace({stretch_.first - kJointBefore, stretch_.first, false}); }

/// Where the copied packets behind the stretch begin to follow the encoded ones, `least` to `most` behind its end.
Place StretchMaker::ToCopied(std::int64_t least, std::int64_t most) {
    EncodeUpTo(stretch_.End() + most + kJudged);
    return BestPlace({stretch_.End() + least, stretch_.End() + most, true});
}

}  // namespace

PacketEncoder::PacketEncoder(const EncodeSettings& settings, WantedSound wanted, std::int64_t from)
    : encoder_(settings),
      wanted_(std::move(wanted)),
      next_(from),
      frame_(static_cast<std::size_t>(kPacketSamples) * static_cast<std::size_t>(settings.channels)) {}

OpusPacket PacketEncoder::Next(const OpusPacket* model) {
    wanted_(next_ * kPacketSamples, frame_);
    ++next_;
    OpusPacket packet;
    encoder_.Encode(frame_, packet, model);
    return packet;
}

EncodedStretch EncodeStretch(const StretchInputs& inputs, const Stretch& stretch, std::stop_token stop) {
    return StretchMaker(inputs, stretch, std::move(stop)).Make();
}

}  // namespace qv
