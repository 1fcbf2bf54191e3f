// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdint>

#include "av/Bitstream.h"
#include "picture/PictureCodec.h"

/// The first byte tells how long the codec's private data is; the packet is what follows that.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::size_t cut = std::min<std::size_t>(data[0], size - 1);
    const qv::ByteView extradata(data + 1, cut);
    const qv::ByteView packet(data + 1 + cut, size - 1 - cut);
    const qv::Bytes privateData(extradata.begin(), extradata.end());
    for (const auto codec :
         {qv::PictureCodec::Vp8, qv::PictureCodec::Vp9, qv::PictureCodec::Av1, qv::PictureCodec::H264})
        (void)qv::StartsDecoding({codec, 16, 16, privateData}, packet);
    (void)qv::WithoutTemporalDelimiters(packet);
    (void)qv::Av1ConfigObus(extradata);
    (void)qv::MakeAvcC(qv::ParameterSetsOf(extradata));
    for (const qv::ByteView nal : qv::SplitAnnexB(packet)) (void)qv::ParameterSetId(nal);
    return 0;
}
