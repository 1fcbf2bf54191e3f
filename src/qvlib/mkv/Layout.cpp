// SPDX-License-Identifier: GPL-3.0-or-later
#include "mkv/Layout.h"

#include <algorithm>

#include "mkv/Ebml.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

enum EbmlHeaderId : std::uint32_t {
    kEbmlVersion = 0x4286,
    kEbmlReadVersion = 0x42F7,
    kEbmlMaxIdLength = 0x42F2,
    kEbmlMaxSizeLength = 0x42F3,
    kDocTypeVersion = 0x4287,
    kDocTypeReadVersion = 0x4285,
};

std::vector<std::uint8_t> MakeEbmlHeader() {
    const auto number = [](EbmlHeaderId id) { return static_cast<ebml::Id>(id); };
    ebml::Builder fields;
    fields.Unsigned(number(kEbmlVersion), 1);
    fields.Unsigned(number(kEbmlReadVersion), 1);
    fields.Unsigned(number(kEbmlMaxIdLength), 4);
    fields.Unsigned(number(kEbmlMaxSizeLength), 8);
    fields.Text(ebml::kDocType, "matroska");
    fields.Unsigned(number(kDocTypeVersion), 4);
    fields.Unsigned(number(kDocTypeReadVersion), 2);
    ebml::Builder header;
    header.Master(ebml::kEbmlHeader, fields);
    return {header.Bytes().begin(), header.Bytes().end()};
}

}  // namespace

const std::vector<std::uint8_t>& CanonicalEbmlHeader() {
    static const std::vector<std::uint8_t> header = MakeEbmlHeader();
    return header;
}

std::vector<std::uint8_t> SegmentHead(std::uint64_t size) {
    std::vector<std::uint8_t> head = {0x18, 0x53, 0x80, 0x67, 0x01};
    for (int shift = 48; shift >= 0; shift -= 8) head.push_back(static_cast<std::uint8_t>(size >> shift));
    return head;
}

std::int64_t SamplesToNs(std::int64_t samples) { return samples * 1'000'000'000 / kSampleRate; }

std::int64_t NsToSamples(std::int64_t ns) {
    constexpr std::int64_t kLongest = 1'000'000'000'000;  // a foreign file may claim anything
    return (std::clamp(ns, -kLongest, kLongest) * kSampleRate + 500'000'000) / 1'000'000'000;
}

}  // namespace qv
