// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/LeadIn.h"

#include <limits>

namespace qv {

namespace {

constexpr int kThreads = 2;
constexpr Ms kKeyEveryMs = 5000;
constexpr Ms kNoEnd = std::numeric_limits<Ms>::max();
/// Far more than any codec reorders.
constexpr std::size_t kMostHidden = 4096;

}  // namespace

LeadIn::LeadIn(const PictureFormat& format) : format_(format), decoder_(format, kThreads) {}

void LeadIn::Send(const PicturePacket& packet, bool hidden) {
    if (hidden) hidden_.insert(packet.time);
    if (hidden_.size() > kMostHidden) hidden_.erase(hidden_.begin());
    decoder_.Send(packet.time, packet.key, packet.data);
    EncodeDecoded(kNoEnd);
}

std::vector<PicturePacket> LeadIn::Finish(Ms end) {
    decoder_.SendEnd();
    EncodeDecoded(end);
    if (encoder_) encoder_->SendEnd();
    return Take();
}

std::vector<PicturePacket> LeadIn::Take() {
    std::vector<PicturePacket> packets;
    while (encoder_) {
        auto packet = encoder_->Receive();
        if (!packet) break;
        packets.push_back(std::move(*packet));
    }
    return packets;
}

void LeadIn::EncodeDecoded(Ms end) {
    while (const auto picture = decoder_.Receive()) {
        const Ms time = picture->time;
        if (time <= lastTime_ || time >= end || hidden_.contains(time)) continue;
        const bool first = encoder_ == nullptr;
        if (first) encoder_ = std::make_unique<PictureEncoder>(format_, *picture);
        const bool key = first || time - lastKey_ >= kKeyEveryMs;
        if (key) lastKey_ = time;
        encoder_->Send(*picture, time, key);
        lastTime_ = time;
    }
}

}  // namespace qv
