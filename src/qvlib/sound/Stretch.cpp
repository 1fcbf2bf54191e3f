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

using PacketAt = std::function<const OpusPacket&(std::int64_t)>;

/// A change from one chain of packets to another at one of the places first..last, and the chain that the encoder made.
struct Joint {
    std::int64_t first;
    std::int64_t last;
    PacketAt before;
    PacketAt after;
    PacketAt encoded;
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
    [[nodiscard]] const OpusPacket& Encoded(std::int64_t n) const;
    [[nodiscard]] const OpusPacket& Copied(std::int64_t n);
    [[nodiscard]] const OpusPacket& Chosen(std::int64_t n);
    [[nodiscard]] std::int64_t End() const { return begin_ + static_cast<std::int64_t>(packets_.size()); }
    [[nodiscard]] Place BestPlace(const Joint& joint);
    [[nodiscard]] Place FromCopied();
    [[nodiscard]] Place ToCopied(std::int64_t first, std::int64_t last);

    const StretchInputs& inputs_;
    const Stretch& stretch_;
    std::stop_token stop_;
    std::int64_t begin_;               ///< the packet that packets_ begins with
    std::int64_t first_;               ///< the first packet of the result
    PacketEncoder encoder_;
    std::vector<OpusPacket> packets_;  ///< what the encoder made
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
        end = ToCopied(stretch_.End() + kFirstTry, stretch_.End() + kLastTry);
        if (!end.IsClean()) end = ToCopied(stretch_.End() + kLastTry + 1, stretch_.End() + kFarthestTry);
        if (!end.IsClean()) end.packet = stretch_.End() + kFarthestTry;
    }
    packets_.resize(static_cast<std::size_t>(end.packet - begin_));
    packets_.erase(packets_.begin(), packets_.begin() + (first_ - begin_));
    return {first_, std::move(packets_), end.IsClean()};
}

void StretchMaker::EncodeUpTo(std::int64_t end) {
    while (End() < end) {
        if (stop_.stop_requested()) throw Abandoned();
        packets_.push_back(encoder_.Next(Model(End())));
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

const OpusPacket& StretchMaker::Encoded(std::int64_t n) const {
    return packets_[static_cast<std::size_t>(n - begin_)];
}

const OpusPacket& StretchMaker::Copied(std::int64_t n) {
    const auto found = copied_.find(n);
    return found != copied_.end() ? found->second : copied_.emplace(n, inputs_.copied(n)).first->second;
}

const OpusPacket& StretchMaker::Chosen(std::int64_t n) { return n < first_ ? Copied(n) : Encoded(n); }

/// The place with the least error. Both ways of going on are decoded at each place: through the change, and on with
/// the encoder's packets, which is the measure.
Place StretchMaker::BestPlace(const Joint& joint) {
    const std::int64_t end = std::min(joint.last + kJudged, End());
    const int channels = inputs_.settings.channels;
    const auto packetFloats = static_cast<std::size_t>(kPacketSamples) * static_cast<std::size_t>(channels);
    std::vector<float> wanted(static_cast<std::size_t>(end - joint.first) * packetFloats);
    inputs_.wanted(joint.first * kPacketSamples - kPreSkip, wanted);
    const auto wantedOf = [&](std::int64_t n) {
        return std::span(wanted).subspan(static_cast<std::size_t>(n - joint.first) * packetFloats, packetFloats);
    };

    Listener before(channels);
    Listener encoded(channels);
    for (std::int64_t n = std::max(begin_, joint.first - kPrimingPackets); n < joint.first; ++n) {
        before.Hear(joint.before(n));
        encoded.Hear(joint.encoded(n));
    }
    std::vector<double> noise;
    for (std::int64_t n = joint.first; n < end; ++n) noise.push_back(encoded.Error(joint.encoded(n), wantedOf(n)));

    Place best{joint.last, std::numeric_limits<double>::infinity()};
    for (std::int64_t place = joint.first; place <= joint.last; ++place) {
        Listener after = before;
        double worst = 0;
        for (std::int64_t n = place; n < std::min(place + kJudged, end); ++n) {
            const double own = noise[static_cast<std::size_t>(n - joint.first)];
            worst = std::max(worst, (after.Error(joint.after(n), wantedOf(n)) + kInaudible) / (own + kInaudible));
        }
        if (worst < best.error) best = {place, worst};
        if (place < joint.last) before.Hear(joint.before(place));
    }
    return best;
}

/// Where the encoded packets begin to follow the copied ones before the stretch.
Place StretchMaker::FromCopied() {
    const auto copied = [this](std::int64_t n) -> const OpusPacket& { return Copied(n); };
    const auto encoded = [this](std::int64_t n) -> const OpusPacket& { return Encoded(n); };
    return BestPlace({stretch_.first - kJointBefore, stretch_.first, copied, encoded, encoded});
}

/// Where the copied packets behind the stretch begin to follow the encoded ones.
Place StretchMaker::ToCopied(std::int64_t first, std::int64_t last) {
    EncodeUpTo(last + kJudged);
    const auto copied = [this](std::int64_t n) -> const OpusPacket& { return Copied(n); };
    const auto chosen = [this](std::int64_t n) -> const OpusPacket& { return Chosen(n); };
    return BestPlace({first, last, chosen, copied, chosen});
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
