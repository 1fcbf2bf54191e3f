// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// EBML, the tagged binary form that Matroska is written in: every element is an id, a size, and that many bytes, which
/// for a master element are elements again.
namespace qv::ebml {

enum Id : std::uint32_t {
    kEbmlHeader = 0x1A45DFA3,
    kDocType = 0x4282,
    kVoid = 0xEC,
    kCrc32 = 0xBF,
    kSegment = 0x18538067,
    kSeekHead = 0x114D9B74,
    kSeek = 0x4DBB,
    kSeekId = 0x53AB,
    kSeekPosition = 0x53AC,
    kInfo = 0x1549A966,
    kTimestampScale = 0x2AD7B1,
    kDuration = 0x4489,
    kMuxingApp = 0x4D80,
    kWritingApp = 0x5741,
    kTracks = 0x1654AE6B,
    kTrackEntry = 0xAE,
    kTrackNumber = 0xD7,
    kTrackUid = 0x73C5,
    kTrackType = 0x83,
    kFlagDefault = 0x88,
    kFlagLacing = 0x9C,
    kTrackName = 0x536E,
    kLanguage = 0x22B59C,
    kCodecId = 0x86,
    kCodecPrivate = 0x63A2,
    kCodecDelay = 0x56AA,
    kSeekPreRoll = 0x56BB,
    kVideo = 0xE0,
    kPixelWidth = 0xB0,
    kPixelHeight = 0xBA,
    kAudio = 0xE1,
    kSamplingFrequency = 0xB5,
    kChannels = 0x9F,
    kTags = 0x1254C367,
    kTag = 0x7373,
    kTargets = 0x63C0,
    kTagTrackUid = 0x63C5,
    kSimpleTag = 0x67C8,
    kTagName = 0x45A3,
    kTagString = 0x4487,
    kCluster = 0x1F43B675,
    kTimestamp = 0xE7,
    kSimpleBlock = 0xA3,
    kBlockGroup = 0xA0,
    kBlock = 0xA1,
    kBlockDuration = 0x9B,
    kReferenceBlock = 0xFB,
    kDiscardPadding = 0x75A2,
    kCues = 0x1C53BB6B,
    kCuePoint = 0xBB,
    kCueTime = 0xB3,
    kCueTrackPositions = 0xB7,
    kCueTrack = 0xF7,
    kCueClusterPosition = 0xF1,
    kCueRelativePosition = 0xF0,
};

/// Bytes of the CRC-32 element that opens a checked master.
inline constexpr std::size_t kCrcElementSize = 6;

/// The CRC-32 that Matroska keeps (the common one, kept with the lowest byte first).
[[nodiscard]] std::uint32_t Crc32(std::span<const std::uint8_t> bytes);

/// Elements under construction.
class Builder {
public:
    void Unsigned(Id id, std::uint64_t value);
    /// Always 8 bytes of value, so that the element's size does not depend on it.
    void Unsigned8(Id id, std::uint64_t value);
    void Signed(Id id, std::int64_t value);
    void Float(Id id, double value);
    void Text(Id id, std::string_view text);
    void Binary(Id id, std::span<const std::uint8_t> bytes);
    void Master(Id id, const Builder& children);
    /// A master whose first child is the CRC-32 of the others.
    void CheckedMaster(Id id, const Builder& children);
    /// A Void element of exactly size bytes in all, 9 at least.
    void Padding(std::size_t size);
    /// Just an id and a size, for an element whose bytes are written elsewhere.
    void Head(Id id, std::uint64_t size);
    void Raw(std::span<const std::uint8_t> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
    void Clear() { bytes_.clear(); }

    [[nodiscard]] std::span<const std::uint8_t> Bytes() const { return bytes_; }
    [[nodiscard]] std::size_t Size() const { return bytes_.size(); }

private:
    void PutId(std::uint32_t id);
    void PutSize(std::uint64_t size);
    void PutBigEndian(std::uint64_t value, int width);

    std::vector<std::uint8_t> bytes_;
};

/// The head of one element: id, and where its data lies in the bytes at hand.
struct Element {
    std::uint32_t id = 0;
    std::size_t headSize = 0;  ///< bytes of id and size
    std::uint64_t size = 0;    ///< bytes of data; meaningless when unknownSize
    bool unknownSize = false;  ///< "until something follows that cannot be inside"
};

/// The longest head that an element can have.
inline constexpr std::size_t kMaxHeadSize = 12;

/// Reads an element's head from the start of bytes; nothing when they do not begin with one.
[[nodiscard]] std::optional<Element> ParseHead(std::span<const std::uint8_t> bytes);

/// Reads a number in EBML's variable width (as blocks carry their track number); nothing when it is not there in full.
struct VarInt {
    std::uint64_t value = 0;
    std::size_t width = 0;
};
[[nodiscard]] std::optional<VarInt> ParseVarInt(std::span<const std::uint8_t> bytes);

[[nodiscard]] std::uint64_t ToUnsigned(std::span<const std::uint8_t> data);
[[nodiscard]] std::int64_t ToSigned(std::span<const std::uint8_t> data);
[[nodiscard]] double ToFloat(std::span<const std::uint8_t> data);
/// Up to the first zero byte.
[[nodiscard]] std::string_view ToText(std::span<const std::uint8_t> data);

/// Walks the children of a master whose data is in memory.
///
///     for (Children walk(data); auto child = walk.Next();) ... child->id, child->data
class Children {
public:
    struct Child {
        std::uint32_t id = 0;
        std::span<const std::uint8_t> data;
        std::size_t offset = 0;  ///< of the child's head in the master's data
    };

    explicit Children(std::span<const std::uint8_t> data) : data_(data) {}
    /// The next child; nothing at the end, or at the first that does not fit (then Broken holds).
    [[nodiscard]] std::optional<Child> Next();
    [[nodiscard]] bool Broken() const { return broken_; }

private:
    std::span<const std::uint8_t> data_;
    std::size_t at_ = 0;
    bool broken_ = false;
};

/// Whether a master's data begins with a CRC-32 element that fits what follows it.
[[nodiscard]] bool CrcFits(std::span<const std::uint8_t> data);

}  // namespace qv::ebml
