// SPDX-License-Identifier: GPL-3.0-or-later
#include "mkv/Ebml.h"

#include <libdeflate.h>

#include <algorithm>
#include <bit>

namespace qv::ebml {

namespace {

/// 64 bits that are all ones in the low `bits` ones.
constexpr std::uint64_t LowOnes(int bits) { return bits >= 64 ? ~0ULL : (1ULL << bits) - 1; }

constexpr int BytesFor(std::uint64_t value) { return std::max(1, (static_cast<int>(std::bit_width(value)) + 7) / 8); }

}  // namespace

std::uint32_t Crc32(std::span<const std::uint8_t> bytes) { return libdeflate_crc32(0, bytes.data(), bytes.size()); }

void Builder::PutBigEndian(std::uint64_t value, int width) {
    for (int i = width - 1; i >= 0; --i) bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

void Builder::PutId(std::uint32_t id) { PutBigEndian(id, BytesFor(id)); }

void Builder::PutSize(std::uint64_t size) {
    int width = 1;
    while (width < 8 && size >= LowOnes(7 * width)) ++width;  // all ones means "unknown"
    PutBigEndian(size | (1ULL << (7 * width)), width);
}

void Builder::Head(Id id, std::uint64_t size) {
    PutId(id);
    PutSize(size);
}

void Builder::Unsigned(Id id, std::uint64_t value) {
    const int width = BytesFor(value);
    Head(id, static_cast<std::uint64_t>(width));
    PutBigEndian(value, width);
}

void Builder::Unsigned8(Id id, std::uint64_t value) {
    Head(id, 8);
    PutBigEndian(value, 8);
}

void Builder::Signed(Id id, std::int64_t value) {
    Head(id, 8);
    PutBigEndian(static_cast<std::uint64_t>(value), 8);
}

void Builder::Float(Id id, double value) { Unsigned8(id, std::bit_cast<std::uint64_t>(value)); }

void Builder::Text(Id id, std::string_view text) {
    Head(id, text.size());
    bytes_.insert(bytes_.end(), text.begin(), text.end());
}

void Builder::Binary(Id id, std::span<const std::uint8_t> bytes) {
    Head(id, bytes.size());
    Raw(bytes);
}

void Builder::Master(Id id, const Builder& children) { Binary(id, children.Bytes()); }

void Builder::CheckedMaster(Id id, const Builder& children) {
    Head(id, children.Size() + kCrcElementSize);
    const std::uint32_t crc = Crc32(children.Bytes());
    Head(kCrc32, 4);
    for (int i = 0; i < 4; ++i) bytes_.push_back(static_cast<std::uint8_t>(crc >> (8 * i)));
    Raw(children.Bytes());
}

void Builder::Padding(std::size_t size) {
    PutId(kVoid);
    PutBigEndian((size - 9) | (1ULL << 56), 8);
    bytes_.insert(bytes_.end(), size - 9, 0);
}

std::optional<VarInt> ParseVarInt(std::span<const std::uint8_t> bytes) {
    if (bytes.empty() || bytes[0] == 0) return std::nullopt;
    const auto width = static_cast<std::size_t>(std::countl_zero(bytes[0])) + 1;
    if (bytes.size() < width) return std::nullopt;
    std::uint64_t value = bytes[0] & LowOnes(8 - static_cast<int>(width));
    for (std::size_t i = 1; i < width; ++i) value = value << 8 | bytes[i];
    return VarInt{value, width};
}

std::optional<Element> ParseHead(std::span<const std::uint8_t> bytes) {
    if (bytes.empty() || bytes[0] < 0x10) return std::nullopt;
    const auto idWidth = static_cast<std::size_t>(std::countl_zero(bytes[0])) + 1;
    if (bytes.size() < idWidth) return std::nullopt;
    Element element;
    for (std::size_t i = 0; i < idWidth; ++i) element.id = element.id << 8 | bytes[i];
    const auto size = ParseVarInt(bytes.subspan(idWidth));
    if (!size) return std::nullopt;
    element.headSize = idWidth + size->width;
    element.size = size->value;
    element.unknownSize = size->value == LowOnes(7 * static_cast<int>(size->width));
    return element;
}

std::uint64_t ToUnsigned(std::span<const std::uint8_t> data) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : data.first(std::min<std::size_t>(data.size(), 8))) value = value << 8 | byte;
    return value;
}

std::int64_t ToSigned(std::span<const std::uint8_t> data) {
    if (data.empty() || data.size() > 8) return 0;
    const int unused = 64 - 8 * static_cast<int>(data.size());
    return static_cast<std::int64_t>(ToUnsigned(data) << unused) >> unused;
}

double ToFloat(std::span<const std::uint8_t> data) {
    if (data.size() == 4) return std::bit_cast<float>(static_cast<std::uint32_t>(ToUnsigned(data)));
    if (data.size() == 8) return std::bit_cast<double>(ToUnsigned(data));
    return 0;
}

std::string_view ToText(std::span<const std::uint8_t> data) {
    const auto end = std::find(data.begin(), data.end(), std::uint8_t{0});
    return {reinterpret_cast<const char*>(data.data()), static_cast<std::size_t>(end - data.begin())};
}

std::optional<Children::Child> Children::Next() {
    if (broken_ || at_ == data_.size()) return std::nullopt;
    const auto head = ParseHead(data_.subspan(at_));
    if (!head || head->unknownSize || head->size > data_.size() - at_ - head->headSize) {
        broken_ = true;
        return std::nullopt;
    }
    const Child child{head->id, data_.subspan(at_ + head->headSize, head->size), at_};
    at_ += head->headSize + head->size;
    return child;
}

bool CrcFits(std::span<const std::uint8_t> data) {
    if (data.size() < kCrcElementSize || data[0] != kCrc32 || data[1] != 0x84) return false;
    std::uint32_t kept = 0;
    for (int i = 0; i < 4; ++i) kept |= static_cast<std::uint32_t>(data[2 + static_cast<std::size_t>(i)]) << (8 * i);
    return kept == Crc32(data.subspan(kCrcElementSize));
}

}  // namespace qv::ebml
