// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// What has to be known of the carried codecs' packets without decoding them. All bytes come from strangers: nothing
/// here reads past a span, whatever it holds.
namespace qv {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

[[nodiscard]] bool IsVp8Key(ByteView packet);
[[nodiscard]] bool IsVp9Key(ByteView packet);

/// A shown key frame that brings its sequence header along.
[[nodiscard]] bool IsAv1Key(ByteView packet);
[[nodiscard]] bool HasAv1SequenceHeader(ByteView packet);
/// The packet without temporal delimiters, which Matroska leaves out; bytes that are not OBUs come back as they are.
[[nodiscard]] Bytes WithoutTemporalDelimiters(ByteView packet);
/// The OBUs of an av1C record; empty when it has none.
[[nodiscard]] ByteView Av1ConfigObus(ByteView av1C);

enum NalType : std::uint8_t {
    kNalSlice = 1,
    kNalPartitionC = 4,
    kNalIdr = 5,
    kNalSps = 7,
    kNalPps = 8,
    kNalDelimiter = 9,
    kNalFiller = 12,
};

/// The type of a NAL unit; 0 for an empty one.
[[nodiscard]] std::uint8_t NalTypeOf(ByteView nal);
/// Bytes before each NAL unit that tell its length, 1 to 4; 4 when the avcC does not say.
[[nodiscard]] int NalLengthSize(ByteView avcC);
/// The NAL units of a sample; nothing when the lengths do not add up to the sample.
[[nodiscard]] std::optional<std::vector<ByteView>> SplitSample(ByteView sample, int lengthSize);
/// The NAL units between start codes, without trailing zeros.
[[nodiscard]] std::vector<ByteView> SplitAnnexB(ByteView stream);
/// Adds a NAL unit with its length before it.
void AppendNal(Bytes& sample, ByteView nal, int lengthSize);
/// An IDR picture, in a sample that is laid out as told.
[[nodiscard]] bool IsH264Key(ByteView sample, int lengthSize);

/// The parameter sets that a stretch of H.264 decodes with, by their ids.
struct ParameterSets {
    std::vector<Bytes> sps;
    std::vector<Bytes> pps;

    /// Adds a set, in place of the one with the same id. @returns whether that changed anything; false for other NALs
    bool Put(ByteView nal);
    friend bool operator==(const ParameterSets&, const ParameterSets&) = default;
};

/// The sets of an avcC record, or of a stretch with start codes (an encoder's extradata).
[[nodiscard]] ParameterSets ParameterSetsOf(ByteView extradata);
/// Whether extradata is an avcC record.
[[nodiscard]] bool IsAvcC(ByteView extradata);
/// @returns an avcC record with NAL lengths of 4 bytes; empty when a set is missing
[[nodiscard]] Bytes MakeAvcC(const ParameterSets& sets);
/// seq_parameter_set_id or pic_parameter_set_id of a set; nothing when it is damaged.
[[nodiscard]] std::optional<std::uint32_t> ParameterSetId(ByteView nal);

}  // namespace qv
