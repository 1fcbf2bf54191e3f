// SPDX-License-Identifier: GPL-3.0-or-later
#include "av/Bitstream.h"

#include <algorithm>

namespace qv {

namespace {

/// Reads bits from the most significant on; zeros behind the end.
class BitReader {
public:
    explicit BitReader(ByteView bytes) : bytes_(bytes) {}

    std::uint32_t Bits(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i) value = value << 1 | Bit();
        return value;
    }

    /// An Exp-Golomb code, as H.264 writes ids; nothing when it is longer than any id.
    std::optional<std::uint32_t> ExpGolomb() {
        constexpr int kLongest = 16;
        int zeros = 0;
        while (Bit() == 0) {
            if (++zeros > kLongest) return std::nullopt;
        }
        return (1U << zeros) - 1 + Bits(zeros);
    }

private:
    std::uint32_t Bit() {
        const std::size_t byte = position_ / 8;
        if (byte >= bytes_.size()) return 0;
        const std::size_t shift = 7 - position_++ % 8;
        return bytes_[byte] >> shift & 1U;
    }

    ByteView bytes_;
    std::size_t position_ = 0;
};

}  // namespace

bool IsVp8Key(ByteView packet) {
    constexpr std::size_t kKeyHeader = 10;
    return packet.size() >= kKeyHeader && (packet[0] & 1) == 0 && packet[3] == 0x9d && packet[4] == 0x01 &&
           packet[5] == 0x2a;
}

bool IsVp9Key(ByteView packet) {
    BitReader bits(packet);
    if (bits.Bits(2) != 2) return false;
    const std::uint32_t profileLow = bits.Bits(1);
    const std::uint32_t profileHigh = bits.Bits(1);
    if (profileLow == 1 && profileHigh == 1 && bits.Bits(1) != 0) return false;
    const bool showsExisting = bits.Bits(1) == 1;
    const bool interFrame = bits.Bits(1) == 1;
    bits.Bits(2);  // show_frame, error_resilient_mode
    return !showsExisting && !interFrame && bits.Bits(24) == 0x498342;
}

// ---- AV1: open bitstream units ---------------------------------------------------------------------------------

namespace {

struct Obu {
    enum Type : std::uint8_t { kSequenceHeader = 1, kTemporalDelimiter = 2, kFrameHeader = 3, kFrame = 6 };
    std::uint8_t type = 0;
    ByteView whole;
    ByteView payload;
};

/// leb128; nothing when it runs past the end or says more than 32 bits.
std::optional<std::size_t> TakeLeb128(ByteView& bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < 8 && i < bytes.size(); ++i) {
        value |= static_cast<std::uint64_t>(bytes[i] & 0x7fU) << (7 * i);
        if ((bytes[i] & 0x80U) != 0) continue;
        bytes = bytes.subspan(i + 1);
        if (value > UINT32_MAX) return std::nullopt;
        return static_cast<std::size_t>(value);
    }
    return std::nullopt;
}

/// The OBUs up to the end or to the first byte that makes no sense; `rest` is what stands from there.
std::vector<Obu> SplitObus(ByteView packet, ByteView& rest) {
    std::vector<Obu> obus;
    rest = packet;
    while (!rest.empty()) {
        const std::uint8_t header = rest[0];
        const bool extension = (header & 0x04U) != 0;
        const bool sized = (header & 0x02U) != 0;
        const std::size_t headerSize = extension ? 2 : 1;
        if ((header & 0x80U) != 0 || rest.size() < headerSize) break;
        ByteView payload = rest.subspan(headerSize);
        if (sized) {
            const auto size = TakeLeb128(payload);
            if (!size || *size > payload.size()) break;
            payload = payload.first(*size);
        }
        const auto wholeSize = static_cast<std::size_t>(payload.data() + payload.size() - rest.data());
        obus.push_back({static_cast<std::uint8_t>(header >> 3 & 0x0fU), rest.first(wholeSize), payload});
        rest = rest.subspan(wholeSize);
    }
    return obus;
}

std::vector<Obu> SplitObus(ByteView packet) {
    ByteView rest;
    return SplitObus(packet, rest);
}

}  // namespace

bool HasAv1SequenceHeader(ByteView packet) {
    const std::vector<Obu> obus = SplitObus(packet);
    return std::any_of(obus.begin(), obus.end(), [](const Obu& obu) { return obu.type == Obu::kSequenceHeader; });
}

bool IsAv1Key(ByteView packet) {
    bool sequenceHeader = false;
    bool stillPicture = false;
    for (const Obu& obu : SplitObus(packet)) {
        BitReader bits(obu.payload);
        if (obu.type == Obu::kSequenceHeader) {
            sequenceHeader = true;
            bits.Bits(4);  // seq_profile, still_picture
            stillPicture = bits.Bits(1) == 1;
        } else if (obu.type == Obu::kFrameHeader || obu.type == Obu::kFrame) {
            const bool showsExisting = bits.Bits(1) == 1;
            const bool keyFrame = bits.Bits(2) == 0;
            const bool shown = bits.Bits(1) == 1;
            return sequenceHeader && !obu.payload.empty() && (stillPicture || (!showsExisting && keyFrame && shown));
        }
    }
    return false;
}

Bytes WithoutTemporalDelimiters(ByteView packet) {
    Bytes kept;
    ByteView rest;
    for (const Obu& obu : SplitObus(packet, rest)) {
        if (obu.type != Obu::kTemporalDelimiter) kept.insert(kept.end(), obu.whole.begin(), obu.whole.end());
    }
    kept.insert(kept.end(), rest.begin(), rest.end());
    return kept;
}

ByteView Av1ConfigObus(ByteView av1C) {
    constexpr std::size_t kFixedPart = 4;
    return av1C.size() > kFixedPart && av1C[0] == 0x81 ? av1C.subspan(kFixedPart) : ByteView{};
}

// ---- H.264: NAL units ------------------------------------------------------------------------------------------

std::uint8_t NalTypeOf(ByteView nal) {
    return nal.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(nal[0] & 0x1fU);
}

bool IsAvcC(ByteView extradata) {
    constexpr std::size_t kShortest = 7;
    return extradata.size() >= kShortest && extradata[0] == 1;
}

int NalLengthSize(ByteView avcC) { return IsAvcC(avcC) ? (avcC[4] & 3) + 1 : 4; }

std::optional<std::vector<ByteView>> SplitSample(ByteView sample, int lengthSize) {
    std::vector<ByteView> nals;
    const auto prefix = static_cast<std::size_t>(lengthSize);
    while (!sample.empty()) {
        if (sample.size() < prefix) return std::nullopt;
        std::size_t length = 0;
        for (std::size_t i = 0; i < prefix; ++i) length = length << 8 | sample[i];
        sample = sample.subspan(prefix);
        if (length > sample.size()) return std::nullopt;
        if (length > 0) nals.push_back(sample.first(length));
        sample = sample.subspan(length);
    }
    return nals;
}

std::vector<ByteView> SplitAnnexB(ByteView stream) {
    std::vector<ByteView> nals;
    const auto isStartCode = [&](std::size_t at) {
        return at + 3 <= stream.size() && stream[at] == 0 && stream[at + 1] == 0 && stream[at + 2] == 1;
    };
    std::size_t at = 0;
    while (at < stream.size() && !isStartCode(at)) ++at;
    while (isStartCode(at)) {
        const std::size_t begin = at + 3;
        std::size_t end = begin;
        while (end < stream.size() && !isStartCode(end)) ++end;
        at = end;
        while (end > begin && stream[end - 1] == 0) --end;
        if (end > begin) nals.push_back(stream.subspan(begin, end - begin));
    }
    return nals;
}

void AppendNal(Bytes& sample, ByteView nal, int lengthSize) {
    for (int shift = 8 * (lengthSize - 1); shift >= 0; shift -= 8) {
        sample.push_back(static_cast<std::uint8_t>(nal.size() >> shift & 0xffU));
    }
    sample.insert(sample.end(), nal.begin(), nal.end());
}

bool IsH264Key(ByteView sample, int lengthSize) {
    const auto nals = SplitSample(sample, lengthSize);
    if (!nals) return false;
    const auto firstSlice = std::find_if(nals->begin(), nals->end(), [](ByteView nal) {
        return NalTypeOf(nal) >= kNalSlice && NalTypeOf(nal) <= kNalIdr;
    });
    return firstSlice != nals->end() && NalTypeOf(*firstSlice) == kNalIdr;
}

std::optional<std::uint32_t> ParameterSetId(ByteView nal) {
    const bool sps = NalTypeOf(nal) == kNalSps;
    const std::size_t before = sps ? 4 : 1;  // the NAL header; in an SPS also profile, constraints, level
    if (nal.size() <= before) return std::nullopt;
    return BitReader(nal.subspan(before)).ExpGolomb();
}

bool ParameterSets::Put(ByteView nal) {
    const std::uint8_t type = NalTypeOf(nal);
    if (type != kNalSps && type != kNalPps) return false;
    const auto id = ParameterSetId(nal);
    if (!id) return false;
    std::vector<Bytes>& sets = type == kNalSps ? sps : pps;
    const auto old =
        std::find_if(sets.begin(), sets.end(), [&](const Bytes& set) { return ParameterSetId(set) == id; });
    if (old == sets.end()) {
        sets.emplace_back(nal.begin(), nal.end());
        return true;
    }
    if (std::equal(old->begin(), old->end(), nal.begin(), nal.end())) return false;
    old->assign(nal.begin(), nal.end());
    return true;
}

namespace {

/// Puts `count` sets that stand one after the other, each behind its length of two bytes.
void PutCounted(ParameterSets& sets, ByteView& rest, int count) {
    for (; count > 0 && rest.size() >= 2; --count) {
        const std::size_t length = static_cast<std::size_t>(rest[0]) << 8 | rest[1];
        rest = rest.subspan(2);
        if (length > rest.size()) return;
        sets.Put(rest.first(length));
        rest = rest.subspan(length);
    }
}

void AppendCounted(Bytes& record, const std::vector<Bytes>& sets) {
    for (const Bytes& set : sets) AppendNal(record, set, 2);
}

/// The profiles from High on tell subsampling and bit depths at the end of the record.
void AppendChroma(Bytes& record, ByteView sps) {
    const std::uint8_t profile = sps[1];
    if (profile != 100 && profile != 110 && profile != 122 && profile != 244) return;
    BitReader bits(sps.subspan(4));
    bits.ExpGolomb();  // the id
    const std::uint32_t chroma = bits.ExpGolomb().value_or(1);
    constexpr std::uint32_t k444 = 3;
    if (chroma == k444) bits.Bits(1);  // separate_colour_plane_flag
    const std::uint32_t lumaDepth = bits.ExpGolomb().value_or(0);
    const std::uint32_t chromaDepth = bits.ExpGolomb().value_or(0);
    record.push_back(static_cast<std::uint8_t>(0xfcU | (chroma & 3U)));
    record.push_back(static_cast<std::uint8_t>(0xf8U | (lumaDepth & 7U)));
    record.push_back(static_cast<std::uint8_t>(0xf8U | (chromaDepth & 7U)));
    record.push_back(0);  // no SPS extensions
}

}  // namespace

ParameterSets ParameterSetsOf(ByteView extradata) {
    ParameterSets sets;
    if (!IsAvcC(extradata)) {
        for (const ByteView nal : SplitAnnexB(extradata)) sets.Put(nal);
        return sets;
    }
    ByteView rest = extradata.subspan(6);
    PutCounted(sets, rest, extradata[5] & 0x1f);
    if (rest.empty()) return sets;
    const int ppsCount = rest[0];
    rest = rest.subspan(1);
    PutCounted(sets, rest, ppsCount);
    return sets;
}

Bytes MakeAvcC(const ParameterSets& sets) {
    constexpr std::size_t kMostSps = 31;
    constexpr std::size_t kMostPps = 255;
    constexpr std::size_t kShortestSps = 4;
    if (sets.sps.empty() || sets.pps.empty() || sets.sps.size() > kMostSps || sets.pps.size() > kMostPps) return {};
    const Bytes& first = sets.sps.front();
    if (first.size() < kShortestSps) return {};
    Bytes record{1, first[1], first[2], first[3], 0xff};
    record.push_back(static_cast<std::uint8_t>(0xe0U | sets.sps.size()));
    AppendCounted(record, sets.sps);
    record.push_back(static_cast<std::uint8_t>(sets.pps.size()));
    AppendCounted(record, sets.pps);
    AppendChroma(record, first);
    return record;
}

}  // namespace qv
