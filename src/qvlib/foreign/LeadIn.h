// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <set>
#include <vector>

#include "picture/PictureCodec.h"

namespace qv {

/// A group of pictures that cannot be carried over as it is, because it does not begin with a key or because its first
/// pictures are not to be shown: decoded and encoded anew in the same codec.
class LeadIn {
public:
    explicit LeadIn(const PictureFormat& format);

    /// The next packet of the group, in decoding order. Its time may be negative.
    void Send(const PicturePacket& packet, bool hidden);
    /// The group ends before a key that is shown then. @returns the packets of the group, in order
    [[nodiscard]] std::vector<PicturePacket> Finish(Ms end);
    /// What is ready of the packets.
    [[nodiscard]] std::vector<PicturePacket> Take();

private:
    void EncodeDecoded(Ms end);

    PictureFormat format_;
    PictureDecoder decoder_;
    std::unique_ptr<PictureEncoder> encoder_;
    std::set<Ms> hidden_;
    Ms lastTime_ = -1;
    Ms lastKey_ = 0;
};

}  // namespace qv
