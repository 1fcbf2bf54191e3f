// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "io/Files.h"
#include "mkv/Ebml.h"
#include "qvlib/Rows.h"

namespace qv {

/// Names of the global tags that hold a file's facts.
namespace fact {
inline constexpr const char* kFormatVersion = "QV_FORMAT_VERSION";
inline constexpr const char* kDuration = "QV_DURATION";
inline constexpr const char* kAudioBitrate = "QV_AUDIO_BITRATE";
inline constexpr const char* kFreeTag = "QV_FREE_TAG";
}  // namespace fact

/// The version that files of this engine carry.
inline constexpr int kFormatVersion = 1792;

/// The name of the second picture track.
inline constexpr const char* kCameraName = "camera";

struct TrackInfo {
    int number = 0;  ///< as blocks and cues name it
    int type = 0;    ///< 1 picture, 2 sound, as Matroska counts
    std::string name;
    std::string codecId;  ///< "V_VP9", "A_OPUS", ...
    std::vector<std::uint8_t> codecPrivate;
    int width = 0;   ///< pixels
    int height = 0;  ///< pixels
    int channels = 0;
};

/// Where a keyframe (or, for the sound, the first packet of a cluster) lies.
struct Cue {
    Ms time = 0;
    int track = 0;
    std::int64_t cluster = 0;  ///< offset of the cluster's head in the file

    friend bool operator==(const Cue&, const Cue&) = default;
};

/// A level-1 element's place in the file.
struct Extent {
    std::int64_t offset = 0;  ///< of the head
    std::int64_t headSize = 0;
    std::int64_t size = 0;  ///< of the data

    [[nodiscard]] std::int64_t Data() const { return offset + headSize; }
    [[nodiscard]] std::int64_t End() const { return offset + headSize + size; }
};

/// A stretch of the file at a time in memory, for reading in rising order without holding the file.
class Window {
public:
    explicit Window(const ReadFile& file) : file_(&file) {}
    /// Bytes [offset, offset + size), fewer only at the file's end. Valid until the next call.
    /// @throws MediaError when size is beyond what one element may take
    [[nodiscard]] std::span<const std::uint8_t> View(std::int64_t offset, std::size_t size);

private:
    const ReadFile* file_;
    std::vector<std::uint8_t> bytes_;
    std::int64_t start_ = 0;
    std::size_t filled_ = 0;
};

/// The head of a Matroska file: tracks, tags, cues. The blocks are read by a BlockCursor.
class MkvReader {
public:
    /// @throws MediaError when the file is missing, empty, foreign or damaged in its head
    explicit MkvReader(const std::filesystem::path& file);

    [[nodiscard]] const ReadFile& File() const { return file_; }
    [[nodiscard]] const std::filesystem::path& Path() const { return file_.Path(); }
    [[nodiscard]] const std::vector<TrackInfo>& Tracks() const { return tracks_; }
    /// The picture of the slides; nullptr when there is none.
    [[nodiscard]] const TrackInfo* Picture() const;
    [[nodiscard]] const TrackInfo* Camera() const;
    [[nodiscard]] const TrackInfo* Sound() const;
    /// The global tag as a number; nothing when it is missing or no number that fits.
    [[nodiscard]] std::optional<Ms> Fact(const std::string& name) const;
    /// The length told by the facts, else by the container, else 0; of a file that its writer could not finish, that of
    /// the sound in it.
    [[nodiscard]] Ms Duration() const;
    /// In the order of the file. A file without an index is read through for it.
    [[nodiscard]] std::vector<Cue> Cues() const;
    /// Times at which this track can be entered, rising, each once.
    [[nodiscard]] std::vector<Ms> KeyTimes(int track) const;

    [[nodiscard]] std::int64_t SegmentData() const { return segmentData_; }
    [[nodiscard]] std::int64_t FirstCluster() const { return firstCluster_; }
    /// Where the blocks end: the file's size, or of a file that its writer could not finish, the end of its last cluster
    /// that is whole.
    [[nodiscard]] std::int64_t End() const { return end_; }
    [[nodiscard]] const std::optional<Extent>& Tags() const { return tags_; }
    [[nodiscard]] const std::optional<Extent>& Index() const { return index_; }
    /// Nanoseconds in one unit of the file's timestamps.
    [[nodiscard]] std::int64_t TimestampScale() const { return timestampScale_; }

private:
    friend class BlockParser;

    void ReadEbmlHeader();
    void ReadHead();
    void ReadLevel1(const ebml::Element& head, std::int64_t offset);
    void ReadBehindClusters();
    void FindEnd();
    [[nodiscard]] std::optional<Extent> WholeCluster(Window& window, std::int64_t offset);
    void ParseSeekHead(std::span<const std::uint8_t> data);
    void ParseInfo(std::span<const std::uint8_t> data);
    void ParseTracks(std::span<const std::uint8_t> data);
    void ParseTags(std::span<const std::uint8_t> data);
    [[nodiscard]] std::vector<std::uint8_t> Load(const Extent& extent) const;
    [[nodiscard]] std::vector<Cue> ParseCues(std::span<const std::uint8_t> data) const;
    [[nodiscard]] std::vector<Cue> ScanCues() const;
    [[nodiscard]] Ms ToMs(std::int64_t timestamp) const;

    ReadFile file_;
    std::int64_t segmentData_ = 0;
    bool segmentIsOpen_ = false;  ///< told to be of unknown size
    std::int64_t firstCluster_ = 0;
    std::int64_t end_ = 0;
    std::optional<Ms> unfinishedMs_;  ///< length of a file that its writer could not finish
    std::int64_t timestampScale_ = 1'000'000;
    double durationUnits_ = 0;
    std::vector<TrackInfo> tracks_;
    std::map<std::string, std::string> globalTags_;
    std::map<std::uint32_t, std::int64_t> seek_;
    std::optional<Extent> tags_;
    std::optional<Extent> index_;
};

/// One packet as the container keeps it.
struct Block {
    int track = 0;
    Ms time = 0;
    bool key = false;
    std::int64_t discardNs = 0;          ///< sound at the packet's end that is not to be heard
    std::int64_t cluster = 0;            ///< offset of its cluster's head in the file
    std::span<const std::uint8_t> data;  ///< valid until the next block is read
};

/// Makes blocks of the elements inside clusters.
class BlockParser {
public:
    explicit BlockParser(const MkvReader& reader) : reader_(&reader) {}

    /// The elements that come next are those of the cluster whose head lies there.
    void EnterCluster(std::int64_t cluster) { cluster_ = cluster; }
    /// @param data of the element; the block refers to it
    /// @returns the block that the element is; nothing for those that are none
    /// @throws MediaError when it is damaged
    [[nodiscard]] std::optional<Block> Parse(std::uint32_t id, std::span<const std::uint8_t> data);
    /// Whether Parse has to see the data of such elements.
    [[nodiscard]] static bool IsWanted(std::uint32_t id);

private:
    [[nodiscard]] std::optional<Block> ParseGroup(std::span<const std::uint8_t> data) const;
    [[nodiscard]] Block ParseBlock(std::span<const std::uint8_t> data) const;
    [[noreturn]] void Fail(const std::string& reason) const;

    const MkvReader* reader_;
    std::int64_t cluster_ = 0;
    std::int64_t clusterTime_ = 0;
};

/// Walks the blocks of a file in the order in which they lie there. The reader outlives it.
class BlockCursor {
public:
    explicit BlockCursor(const MkvReader& reader);
    /// Goes on at the cluster whose head lies there.
    void Seek(std::int64_t cluster);
    /// The next block; nothing at the end of the file.
    /// @throws MediaError where the file is cut short or makes no sense
    [[nodiscard]] std::optional<Block> Next();

private:
    [[noreturn]] void Fail(const std::string& reason) const;

    const MkvReader* reader_;
    Window window_;
    BlockParser parser_;
    std::int64_t at_ = 0;
};

}  // namespace qv
