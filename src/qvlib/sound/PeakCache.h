// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace qv {

/// The peaks of one sound, as far as they are known. They are known in whole chunks of kChunkQuanta.
struct KeptPeaks {
    static constexpr std::int64_t kChunkQuanta = 4096;

    std::int64_t samples = 0;         ///< of the sound; 0 to kMostSamples
    std::vector<std::uint8_t> known;  ///< for each chunk, 1 or 0
    std::vector<std::int16_t> peaks;  ///< for each quantum; 0 where not known

    /// 48 hours. A file may claim more; there are no peaks behind this.
    static constexpr std::int64_t kMostSamples = std::int64_t{48} * 3600 * 48000;

    /// Nothing known of a sound that claims to have that many samples.
    [[nodiscard]] static KeptPeaks Unknown(std::int64_t samples);
};

/// Peaks of one file, kept in a folder from one program run to the next. Changing the file (its size, its time, or its
/// first or last bytes) makes them unknown. Losing or damaging what is kept costs time only, so nothing here fails
/// because of the folder.
class PeakCache {
public:
    /// @param folder empty: nothing is kept
    /// @throws MediaError when the file cannot be read
    PeakCache(const std::filesystem::path& file, const std::filesystem::path& folder);

    /// What is kept of the file's peaks; nothing when there is none, or it is damaged or of another file.
    [[nodiscard]] std::optional<KeptPeaks> Load() const;

    /// Keeps them, and drops the oldest of other files while the folder holds more than kMostBytes.
    void Save(const KeptPeaks& kept) const;

    static constexpr std::uintmax_t kMostBytes = std::uintmax_t{256} << 20;

private:
    /// What tells one file from another, and from itself after a change. Written as it lies in memory.
    struct Key {
        std::int64_t size = 0;
        std::int64_t modifiedNs = 0;
        std::uint32_t headCrc = 0;
        std::uint32_t tailCrc = 0;
        std::uint64_t pathHash = 0;

        friend bool operator==(const Key&, const Key&) = default;
    };
    struct Header;

    Key key_;
    std::filesystem::path kept_;  ///< where the file's peaks are kept; empty: nowhere
};

/// Removes the files of a cache folder, oldest first, until those that are left have no more than mostBytes.
void TrimPeakCache(const std::filesystem::path& folder, std::uintmax_t mostBytes);

}  // namespace qv
