// SPDX-License-Identifier: GPL-3.0-or-later
#include "mkv/Reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "MediaError.h"

namespace qv {

namespace {

constexpr std::size_t kWindowSize = 1 << 20;
/// Larger elements are read piece by piece or not at all, whatever a file claims.
constexpr std::size_t kLargestElement = 64 << 20;

/// Timestamps beyond this are taken as this, so that sums with them stay inside 64 bits.
constexpr std::uint64_t kLatestTimestamp = 1ULL << 62;

std::optional<Ms> ToNumber(const std::string& text) {
    Ms value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

int ToInt(std::span<const std::uint8_t> data) {
    return static_cast<int>(std::min<std::uint64_t>(ebml::ToUnsigned(data), std::numeric_limits<int>::max()));
}

/// A time or a place in the file, never beyond what sums can take.
std::int64_t ToOffset(std::span<const std::uint8_t> data) {
    return static_cast<std::int64_t>(std::min(ebml::ToUnsigned(data), kLatestTimestamp));
}

TrackInfo ParseTrack(std::span<const std::uint8_t> data) {
    TrackInfo track;
    for (ebml::Children walk(data); const auto child = walk.Next();) {
        if (child->id == ebml::kTrackNumber) track.number = ToInt(child->data);
        if (child->id == ebml::kTrackType) track.type = ToInt(child->data);
        if (child->id == ebml::kTrackName) track.name = ebml::ToText(child->data);
        if (child->id == ebml::kCodecId) track.codecId = ebml::ToText(child->data);
        if (child->id == ebml::kCodecPrivate) track.codecPrivate.assign(child->data.begin(), child->data.end());
        if (child->id != ebml::kVideo && child->id != ebml::kAudio) continue;
        for (ebml::Children inner(child->data); const auto value = inner.Next();) {
            if (value->id == ebml::kPixelWidth) track.width = ToInt(value->data);
            if (value->id == ebml::kPixelHeight) track.height = ToInt(value->data);
            if (value->id == ebml::kChannels) track.channels = ToInt(value->data);
        }
    }
    return track;
}

}  // namespace

std::span<const std::uint8_t> Window::View(std::int64_t offset, std::size_t size) {
    if (size > kLargestElement) throw MediaError(file_->Path(), "holds an element that is too large");
    const bool inside =
        offset >= start_ && offset + static_cast<std::int64_t>(size) <= start_ + static_cast<std::int64_t>(filled_);
    if (!inside) {
        const std::int64_t left = std::max<std::int64_t>(0, file_->Size() - offset);
        const auto wanted = std::min<std::int64_t>(left, static_cast<std::int64_t>(std::max(size, kWindowSize)));
        bytes_.resize(static_cast<std::size_t>(wanted));
        filled_ = file_->ReadAt(offset, bytes_);
        start_ = offset;
    }
    const auto skip = static_cast<std::size_t>(offset - start_);
    return std::span(bytes_).subspan(skip, std::min(size, filled_ - skip));
}

MkvReader::MkvReader(const std::filesystem::path& file) : file_(file) {
    if (file_.Size() == 0) throw MediaError(file, "is empty");
    ReadEbmlHeader();
    ReadHead();
    ReadBehindClusters();
    FindEnd();
}

void MkvReader::ReadEbmlHeader() {
    Window window(file_);
    const auto head = ebml::ParseHead(window.View(0, ebml::kMaxHeadSize));
    if (!head || head->id != ebml::kEbmlHeader || head->size > 4096) throw MediaError(Path(), "is no media container");
    const auto data = window.View(static_cast<std::int64_t>(head->headSize), head->size);
    for (ebml::Children walk(data); const auto child = walk.Next();) {
        if (child->id != ebml::kDocType) continue;
        const auto type = ebml::ToText(child->data);
        if (type != "matroska" && type != "webm") throw MediaError(Path(), "is no media container");
    }
    const auto segmentAt = static_cast<std::int64_t>(head->headSize + head->size);
    const auto segment = ebml::ParseHead(window.View(segmentAt, ebml::kMaxHeadSize));
    if (!segment || segment->id != ebml::kSegment) throw MediaError(Path(), "is a damaged media container");
    segmentIsOpen_ = segment->unknownSize;
    segmentData_ = segmentAt + static_cast<std::int64_t>(segment->headSize);
}

void MkvReader::ReadHead() {
    Window window(file_);
    std::int64_t at = segmentData_;
    while (at < file_.Size()) {
        const auto head = ebml::ParseHead(window.View(at, ebml::kMaxHeadSize));
        if (!head) throw MediaError(Path(), "is damaged at byte " + std::to_string(at));
        if (head->id == ebml::kCluster) {
            firstCluster_ = at;
            return;
        }
        ReadLevel1(*head, at);
        at += static_cast<std::int64_t>(head->headSize + head->size);
    }
    firstCluster_ = file_.Size();
}

void MkvReader::ReadLevel1(const ebml::Element& head, std::int64_t offset) {
    const auto left = file_.Size() - offset - static_cast<std::int64_t>(head.headSize);
    if (head.unknownSize || left < 0 || head.size > static_cast<std::uint64_t>(left))
        throw MediaError(Path(), "is cut short or damaged at byte " + std::to_string(offset));
    const Extent extent{offset, static_cast<std::int64_t>(head.headSize), static_cast<std::int64_t>(head.size)};
    if (head.id == ebml::kSeekHead) ParseSeekHead(Load(extent));
    if (head.id == ebml::kInfo) ParseInfo(Load(extent));
    if (head.id == ebml::kTracks && tracks_.empty()) ParseTracks(Load(extent));
    if (head.id == ebml::kCues) index_ = extent;
    if (head.id == ebml::kTags && !tags_) {
        tags_ = extent;
        ParseTags(Load(extent));
    }
}

/// Tags and cues may stand behind the clusters; the seek head tells where. A wrong pointer is as good as none.
void MkvReader::ReadBehindClusters() {
    Window window(file_);
    for (const std::uint32_t id : {ebml::kTags, ebml::kCues}) {
        const bool known = id == ebml::kTags ? tags_.has_value() : index_.has_value();
        const auto found = seek_.find(id);
        if (known || found == seek_.end() || found->second >= file_.Size()) continue;
        const auto head = ebml::ParseHead(window.View(found->second, ebml::kMaxHeadSize));
        if (head && head->id == id) ReadLevel1(*head, found->second);
    }
}

std::vector<std::uint8_t> MkvReader::Load(const Extent& extent) const {
    if (extent.size > static_cast<std::int64_t>(kLargestElement))
        throw MediaError(Path(), "has a head that is too large");
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(extent.size));
    if (file_.ReadAt(extent.Data(), bytes) != bytes.size()) throw MediaError(Path(), "is cut short");
    return bytes;
}

void MkvReader::ParseSeekHead(std::span<const std::uint8_t> data) {
    for (ebml::Children walk(data); const auto seek = walk.Next();) {
        if (seek->id != ebml::kSeek) continue;
        std::uint32_t id = 0;
        std::uint64_t position = 0;
        for (ebml::Children inner(seek->data); const auto child = inner.Next();) {
            if (child->id == ebml::kSeekId) id = static_cast<std::uint32_t>(ebml::ToUnsigned(child->data));
            if (child->id == ebml::kSeekPosition) position = ebml::ToUnsigned(child->data);
        }
        if (position < static_cast<std::uint64_t>(file_.Size()))
            seek_[id] = segmentData_ + static_cast<std::int64_t>(position);
    }
}

void MkvReader::ParseInfo(std::span<const std::uint8_t> data) {
    for (ebml::Children walk(data); const auto child = walk.Next();) {
        if (child->id == ebml::kDuration) durationUnits_ = ebml::ToFloat(child->data);
        if (child->id == ebml::kTimestampScale)
            timestampScale_ =
                static_cast<std::int64_t>(std::clamp<std::uint64_t>(ebml::ToUnsigned(child->data), 1, 1'000'000'000));
    }
}

void MkvReader::ParseTracks(std::span<const std::uint8_t> data) {
    for (ebml::Children walk(data); const auto child = walk.Next();)
        if (child->id == ebml::kTrackEntry) tracks_.push_back(ParseTrack(child->data));
}

void MkvReader::ParseTags(std::span<const std::uint8_t> data) {
    for (ebml::Children walk(data); const auto tag = walk.Next();) {
        if (tag->id != ebml::kTag) continue;
        bool global = true;
        std::map<std::string, std::string> values;
        for (ebml::Children inner(tag->data); const auto child = inner.Next();) {
            if (child->id == ebml::kTargets)
                for (ebml::Children target(child->data); const auto one = target.Next();)
                    global = global && one->id != ebml::kTagTrackUid;
            if (child->id != ebml::kSimpleTag) continue;
            std::string name;
            std::string value;
            for (ebml::Children simple(child->data); const auto part = simple.Next();) {
                if (part->id == ebml::kTagName) name = ebml::ToText(part->data);
                if (part->id == ebml::kTagString) value = ebml::ToText(part->data);
            }
            values[name] = value;
        }
        if (global) globalTags_.merge(values);
    }
}

const TrackInfo* MkvReader::Picture() const {
    const auto found = std::find_if(tracks_.begin(), tracks_.end(), [](const TrackInfo& track) {
        return track.type == 1 && track.name != kCameraName;
    });
    return found == tracks_.end() ? nullptr : &*found;
}

const TrackInfo* MkvReader::Camera() const {
    const auto found = std::find_if(tracks_.begin(), tracks_.end(), [](const TrackInfo& track) {
        return track.type == 1 && track.name == kCameraName;
    });
    return found == tracks_.end() ? nullptr : &*found;
}

const TrackInfo* MkvReader::Sound() const {
    const auto found =
        std::find_if(tracks_.begin(), tracks_.end(), [](const TrackInfo& track) { return track.type == 2; });
    return found == tracks_.end() ? nullptr : &*found;
}

std::optional<Ms> MkvReader::Fact(const std::string& name) const {
    const auto found = globalTags_.find(name);
    return found == globalTags_.end() ? std::nullopt : ToNumber(found->second);
}

Ms MkvReader::Duration() const {
    if (unfinishedMs_) return *unfinishedMs_;
    if (const auto told = Fact(fact::kDuration)) return std::max(0, *told);
    const double ms = durationUnits_ * static_cast<double>(timestampScale_) / 1e6;
    if (!(ms > 0) || ms > std::numeric_limits<Ms>::max()) return 0;
    return static_cast<Ms>(std::lround(ms));
}

Ms MkvReader::ToMs(std::int64_t timestamp) const {
    if (timestampScale_ == 1'000'000 && timestamp >= 0 && timestamp <= std::numeric_limits<Ms>::max())
        return static_cast<Ms>(timestamp);
    const double ms = static_cast<double>(timestamp) * static_cast<double>(timestampScale_) / 1e6;
    return static_cast<Ms>(std::clamp(ms, -1.0, static_cast<double>(std::numeric_limits<Ms>::max())));
}

std::vector<Cue> MkvReader::Cues() const { return index_ ? ParseCues(Load(*index_)) : ScanCues(); }

std::vector<Cue> MkvReader::ParseCues(std::span<const std::uint8_t> data) const {
    std::vector<Cue> cues;
    for (ebml::Children walk(data); const auto point = walk.Next();) {
        if (point->id != ebml::kCuePoint) continue;
        Ms time = 0;
        for (ebml::Children inner(point->data); const auto child = inner.Next();) {
            if (child->id == ebml::kCueTime) time = ToMs(ToOffset(child->data));
            if (child->id != ebml::kCueTrackPositions) continue;
            Cue cue{.time = time};
            for (ebml::Children place(child->data); const auto value = place.Next();) {
                if (value->id == ebml::kCueTrack) cue.track = ToInt(value->data);
                if (value->id == ebml::kCueClusterPosition) cue.cluster = segmentData_ + ToOffset(value->data);
            }
            if (cue.cluster < file_.Size()) cues.push_back(cue);
        }
    }
    return cues;
}

std::vector<Cue> MkvReader::ScanCues() const {
    std::vector<Cue> cues;
    const TrackInfo* sound = Sound();
    std::int64_t soundCluster = -1;
    BlockCursor cursor(*this);
    while (const auto block = cursor.Next()) {
        if (!block->key) continue;
        const bool isSound = sound != nullptr && block->track == sound->number;
        if (isSound && block->cluster == soundCluster) continue;
        if (isSound) soundCluster = block->cluster;
        cues.push_back({block->time, block->track, block->cluster});
    }
    return cues;
}

std::vector<Ms> MkvReader::KeyTimes(int track) const {
    std::vector<Ms> times;
    for (const Cue& cue : Cues())
        if (cue.track == track) times.push_back(cue.time);
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

bool BlockParser::IsWanted(std::uint32_t id) {
    return id == ebml::kTimestamp || id == ebml::kSimpleBlock || id == ebml::kBlockGroup;
}

std::optional<Block> BlockParser::Parse(std::uint32_t id, std::span<const std::uint8_t> data) {
    if (id == ebml::kSimpleBlock) return ParseBlock(data);
    if (id == ebml::kBlockGroup) return ParseGroup(data);
    if (id == ebml::kTimestamp) clusterTime_ = ToOffset(data);
    return std::nullopt;
}

Block BlockParser::ParseBlock(std::span<const std::uint8_t> data) const {
    const auto track = ebml::ParseVarInt(data);
    if (!track || track->value > 127 || data.size() < track->width + 3) Fail("holds a damaged block");
    const std::size_t at = track->width;
    const auto relative = static_cast<std::int16_t>(data[at] << 8 | data[at + 1]);
    const std::uint8_t flags = data[at + 2];
    if ((flags & 0x06) != 0) Fail("holds laced blocks, which are not supported,");
    Block block;
    block.track = static_cast<int>(track->value);
    block.time = reader_->ToMs(clusterTime_ + relative);
    block.key = (flags & 0x80) != 0;
    block.cluster = cluster_;
    block.data = data.subspan(at + 3);
    return block;
}

std::optional<Block> BlockParser::ParseGroup(std::span<const std::uint8_t> data) const {
    std::optional<Block> block;
    std::int64_t discardNs = 0;
    bool refers = false;
    for (ebml::Children walk(data); const auto child = walk.Next();) {
        if (child->id == ebml::kBlock) block = ParseBlock(child->data);
        if (child->id == ebml::kDiscardPadding) discardNs = ebml::ToSigned(child->data);
        if (child->id == ebml::kReferenceBlock) refers = true;
    }
    if (!block) return std::nullopt;
    block->key = !refers;
    block->discardNs = discardNs;
    return block;
}

void BlockParser::Fail(const std::string& reason) const {
    throw MediaError(reader_->Path(), reason + " in the cluster at byte " + std::to_string(cluster_));
}

BlockCursor::BlockCursor(const MkvReader& reader)
    : reader_(&reader), window_(reader.File()), parser_(reader), at_(reader.FirstCluster()) {}

void BlockCursor::Seek(std::int64_t cluster) { at_ = cluster; }

void BlockCursor::Fail(const std::string& reason) const {
    throw MediaError(reader_->Path(), reason + " at byte " + std::to_string(at_));
}

std::optional<Block> BlockCursor::Next() {
    while (at_ < reader_->End()) {
        const auto head = ebml::ParseHead(window_.View(at_, ebml::kMaxHeadSize));
        if (!head) Fail("is damaged");
        const auto data = at_ + static_cast<std::int64_t>(head->headSize);
        if (head->id == ebml::kCluster) {  // its elements follow, and are taken one by one
            parser_.EnterCluster(at_);
            at_ = data;
            continue;
        }
        const std::int64_t left = reader_->End() - data;
        if (head->unknownSize || left < 0 || head->size > static_cast<std::uint64_t>(left))
            Fail("is cut short or damaged");
        at_ = data + static_cast<std::int64_t>(head->size);
        if (!BlockParser::IsWanted(head->id)) continue;
        if (auto block = parser_.Parse(head->id, window_.View(data, head->size))) return block;
    }
    return std::nullopt;
}

}  // namespace qv
