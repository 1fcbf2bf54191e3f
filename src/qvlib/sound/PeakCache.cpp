// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/PeakCache.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string>
#include <system_error>

#include "MediaError.h"
#include "io/Files.h"
#include "sound/Division.h"
#include "sound/Peaks.h"

namespace qv {
namespace {

constexpr const char* kSuffix = ".peaks";

/// How much of a file's beginning and of its end is looked at.
constexpr std::int64_t kLookedAt = 64 << 10;

constexpr std::array<char, 8> kMagic = {'Q', 'V', 'P', 'E', 'A', 'K', 'S', '1'};

std::uint32_t CrcOf(std::span<const std::uint8_t> bytes) { return libdeflate_crc32(0, bytes.data(), bytes.size()); }

std::uint32_t CrcAt(const ReadFile& file, std::int64_t offset) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(kLookedAt));
    bytes.resize(file.ReadAt(offset, bytes));
    return CrcOf(bytes);
}

/// FNV-1a.
std::uint64_t HashOf(const std::string& text) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    return hash;
}

std::string HexOf(std::uint64_t value) {
    std::string hex(16, '0');
    for (auto digit = hex.rbegin(); digit != hex.rend(); ++digit, value >>= 4) *digit = "0123456789abcdef"[value & 15];
    return hex;
}

template <typename T>
void Append(std::vector<std::uint8_t>& bytes, const T* values, std::size_t count) {
    const auto* raw = reinterpret_cast<const std::uint8_t*>(values);
    bytes.insert(bytes.end(), raw, raw + count * sizeof(T));
}

}  // namespace

KeptPeaks KeptPeaks::Unknown(std::int64_t samples) {
    samples = std::clamp<std::int64_t>(samples, 0, kMostSamples);
    const std::int64_t quanta = CeilDiv(samples, kQuantumSamples);
    const std::int64_t chunks = CeilDiv(quanta, kChunkQuanta);
    return {samples, std::vector<std::uint8_t>(static_cast<std::size_t>(chunks)),
            std::vector<std::int16_t>(static_cast<std::size_t>(quanta))};
}

/// The file that keeps peaks: this, then KeptPeaks::known, KeptPeaks::peaks, and a CRC-32 of all of it. It never leaves
/// the machine, so its numbers are the machine's own.
struct PeakCache::Header {
    std::array<char, 8> magic = kMagic;
    Key key;
    std::int64_t samples = 0;
};

PeakCache::PeakCache(const std::filesystem::path& file, const std::filesystem::path& folder) {
    const ReadFile opened(file);
    std::error_code none;
    const std::filesystem::path whole = std::filesystem::weakly_canonical(file, none);
    key_.size = opened.Size();
    key_.modifiedNs = opened.ModifiedNs();
    key_.headCrc = CrcAt(opened, 0);
    key_.tailCrc = CrcAt(opened, std::max<std::int64_t>(0, opened.Size() - kLookedAt));
    key_.pathHash = HashOf(none ? file.string() : whole.string());
    if (!folder.empty()) kept_ = folder / (HexOf(key_.pathHash) + kSuffix);
}

std::optional<KeptPeaks> PeakCache::Load() const try {
    if (kept_.empty()) return std::nullopt;
    const ReadFile file(kept_);
    if (file.Size() < static_cast<std::int64_t>(sizeof(Header)) ||
        file.Size() > static_cast<std::int64_t>(kMostBytes)) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.Size()));
    if (file.ReadAt(0, bytes) != bytes.size()) return std::nullopt;

    Header header;
    std::memcpy(&header, bytes.data(), sizeof header);
    if (header.magic != kMagic || header.key != key_) return std::nullopt;
    if (header.samples < 0 || header.samples > KeptPeaks::kMostSamples) return std::nullopt;
    KeptPeaks kept = KeptPeaks::Unknown(header.samples);
    const std::size_t peakBytes = kept.peaks.size() * sizeof(std::int16_t);
    std::uint32_t crc = 0;
    const std::size_t told = sizeof header + kept.known.size() + peakBytes;
    if (bytes.size() != told + sizeof crc) return std::nullopt;
    std::memcpy(&crc, bytes.data() + told, sizeof crc);
    if (crc != CrcOf(std::span(bytes).first(told))) return std::nullopt;
    std::copy_n(bytes.begin() + sizeof header, kept.known.size(), kept.known.begin());
    if (peakBytes > 0) std::memcpy(kept.peaks.data(), bytes.data() + sizeof header + kept.known.size(), peakBytes);
    return kept;
} catch (const MediaError&) {
    return std::nullopt;
}

void PeakCache::Save(const KeptPeaks& kept) const try {
    if (kept_.empty()) return;
    Header header;
    header.key = key_;
    header.samples = kept.samples;
    std::vector<std::uint8_t> bytes;
    Append(bytes, &header, 1);
    Append(bytes, kept.known.data(), kept.known.size());
    Append(bytes, kept.peaks.data(), kept.peaks.size());
    const std::uint32_t crc = CrcOf(bytes);
    Append(bytes, &crc, 1);
    if (bytes.size() > kMostBytes) return;

    std::error_code failed;
    std::filesystem::create_directories(kept_.parent_path(), failed);
    NewFile file(kept_);
    file.Append(bytes);
    file.Commit();
    TrimPeakCache(kept_.parent_path(), kMostBytes);
} catch (const MediaError&) {
    // The next time costs as much as this one did.
}

void TrimPeakCache(const std::filesystem::path& folder, std::uintmax_t mostBytes) {
    struct Entry {
        std::filesystem::file_time_type time;
        std::uintmax_t bytes;
        std::filesystem::path path;
    };
    std::vector<Entry> entries;
    std::uintmax_t all = 0;
    std::error_code failed;
    for (std::filesystem::directory_iterator at(folder, failed), end; !failed && at != end; at.increment(failed)) {
        std::error_code gone;
        const Entry entry{at->last_write_time(gone), at->file_size(gone), at->path()};
        if (gone || entry.path.extension() != kSuffix) continue;
        all += entry.bytes;
        entries.push_back(entry);
    }
    std::ranges::sort(entries, {}, &Entry::time);
    for (const Entry& entry : entries) {
        if (all <= mostBytes) break;
        if (std::filesystem::remove(entry.path, failed)) all -= entry.bytes;
    }
}

}  // namespace qv
