// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

/// What is the same in every file that this engine writes.
///
///     EBML header | Segment ( SeekHead  Info  Tags  Tracks  Void | Cluster ... Cluster | Cues )
///
/// The head is checked and counted, so that the quick verification needs a handful of reads; the tags stand in it, so that
/// one of them can be changed in place.
namespace qv {

/// The bytes that open every file.
[[nodiscard]] const std::vector<std::uint8_t>& CanonicalEbmlHeader();

/// The size of a Segment that is still being written.
inline constexpr std::uint64_t kUnknownSize = 0x00FF'FFFF'FFFF'FFFF;

/// The 12 bytes of a Segment of that many bytes of data.
[[nodiscard]] std::vector<std::uint8_t> SegmentHead(std::uint64_t size);

/// The length of a stretch of sound in the nanoseconds that Matroska counts in.
[[nodiscard]] std::int64_t SamplesToNs(std::int64_t samples);
/// And back, to the nearest sample.
[[nodiscard]] std::int64_t NsToSamples(std::int64_t ns);

}  // namespace qv
