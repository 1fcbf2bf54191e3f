// SPDX-License-Identifier: GPL-3.0-or-later
#include "mkv/Check.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "MediaError.h"
#include "mkv/Layout.h"
#include "mkv/Reader.h"
#include "picture/PictureCodec.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// What both checks share: the frame of the file, its head and its index. The whole check adds the clusters.
class Checker {
public:
    explicit Checker(const std::filesystem::path& file) : reader_(file), window_(reader_.File()), parser_(reader_) {}

    void CheckFrame() {
        const auto& header = CanonicalEbmlHeader();
        const auto start = window_.View(0, header.size() + 12);
        if (!std::equal(header.begin(), header.end(), start.begin(),
                        start.begin() + static_cast<long>(std::min(start.size(), header.size()))))
            Fail("was not written by this program");
        const auto size = static_cast<std::uint64_t>(reader_.File().Size() - reader_.SegmentData());
        const auto segment = SegmentHead(size);
        if (!std::ranges::equal(segment, start.subspan(header.size()))) Fail("does not have the length that it tells");
    }

    /// The level-1 elements before the first cluster.
    void CheckHead() {
        std::int64_t at = reader_.SegmentData();
        while (at < reader_.FirstCluster()) {
            const Extent extent = Level1(at);
            const auto data = window_.View(extent.Data(), static_cast<std::size_t>(extent.size));
            const bool isPadding = lastId_ == ebml::kVoid;
            if (isPadding ? std::ranges::any_of(data, [](std::uint8_t byte) { return byte != 0; })
                          : !ebml::CrcFits(data))
                Fail("has a damaged head");
            at = extent.End();
        }
        if (reader_.Fact(fact::kFormatVersion) != kFormatVersion) Fail("has another format version");
        if (reader_.Sound() == nullptr || !reader_.Fact(fact::kDuration)) Fail("has an incomplete head");
    }

    void CheckIndex() {
        if (!reader_.Index() || reader_.Index()->End() != reader_.File().Size()) Fail("has no index at its end");
        const auto data = window_.View(reader_.Index()->Data(), static_cast<std::size_t>(reader_.Index()->size));
        if (!ebml::CrcFits(data)) Fail("has a damaged index");
        cues_ = reader_.Cues();
    }

    void CheckLastCluster() {
        std::int64_t last = 0;
        for (const Cue& cue : cues_) last = std::max(last, cue.cluster);
        if (last == 0) Fail("has an empty index");
        if (CheckCluster(last) != reader_.Index()->offset) Fail("does not end with its index");
    }

    /// Checksums, order and extent of all clusters, and whether the index fits what is found in them.
    void CheckClusters() {
        std::int64_t at = reader_.FirstCluster();
        while (at < reader_.Index()->offset) at = CheckCluster(at, true);
        if (at != reader_.Index()->offset) Fail("does not end with its index");
        const auto order = [](const Cue& a, const Cue& b) {
            return std::tie(a.cluster, a.time, a.track) < std::tie(b.cluster, b.time, b.track);
        };
        std::ranges::sort(cues_, order);
        std::ranges::sort(found_, order);
        if (cues_ != found_) Fail("has an index that does not fit its blocks");
        CheckExtent();
    }

private:
    [[noreturn]] void Fail(const std::string& reason) const { throw MediaError(reader_.Path(), reason); }

    /// The element at that place, which must lie inside the file and be one that may stand there.
    Extent Level1(std::int64_t at) {
        const auto head = ebml::ParseHead(window_.View(at, ebml::kMaxHeadSize));
        if (!head || head->unknownSize) Fail("is damaged at byte " + std::to_string(at));
        const std::int64_t left = reader_.File().Size() - at - static_cast<std::int64_t>(head->headSize);
        if (left < 0 || head->size > static_cast<std::uint64_t>(left))
            Fail("is cut short at byte " + std::to_string(at));
        lastId_ = head->id;
        return {at, static_cast<std::int64_t>(head->headSize), static_cast<std::int64_t>(head->size)};
    }

    /// @returns where the cluster ends
    std::int64_t CheckCluster(std::int64_t at, bool withBlocks = false) {
        const Extent extent = Level1(at);
        if (lastId_ != ebml::kCluster) Fail("is damaged at byte " + std::to_string(at));
        const auto data = window_.View(extent.Data(), static_cast<std::size_t>(extent.size));
        if (!ebml::CrcFits(data)) Fail("has a damaged cluster at byte " + std::to_string(at));
        if (withBlocks) CheckBlocks(at, data);
        return extent.End();
    }

    /// The checksum has passed by now, so this finds what was written wrong.
    void CheckBlocks(std::int64_t cluster, std::span<const std::uint8_t> data) {
        parser_.EnterCluster(cluster);
        ebml::Children walk(data);
        while (const auto child = walk.Next())
            if (const auto block = parser_.Parse(child->id, child->data)) CheckBlock(*block);
        if (walk.Broken()) Fail("has a damaged cluster at byte " + std::to_string(cluster));
    }

    void CheckBlock(const Block& block) {
        const bool isSound = block.track == reader_.Sound()->number;
        if (isSound) {
            if (block.time != soundPackets_ * kPacketMs) Fail("has sound out of order");
            ++soundPackets_;
            surplus_ = NsToSamples(block.discardNs);
            if (block.cluster != lastSoundCluster_) found_.push_back({block.time, block.track, block.cluster});
            lastSoundCluster_ = block.cluster;
            return;
        }
        const TrackInfo* picture = reader_.Picture();
        const TrackInfo* camera = reader_.Camera();
        const bool isPicture = picture != nullptr && block.track == picture->number;
        if (!isPicture && (camera == nullptr || block.track != camera->number)) Fail("has a block of no track");
        if (block.time < 0 || block.time >= reader_.Duration()) Fail("has a picture outside its length");
        if (isPicture && !pictureSeen_ && (block.time != 0 || !block.key)) Fail("does not begin with a keyframe");
        pictureSeen_ = pictureSeen_ || isPicture;
        if (block.key) CheckKey(block);
    }

    void CheckKey(const Block& block) {
        Ms& last = lastKey_[block.track == reader_.Picture()->number ? 0 : 1];
        if (block.time <= last) Fail("has keyframes out of order");
        last = block.time;
        found_.push_back({block.time, block.track, block.cluster});
    }

    /// The sound must be as long as told: a media.qv to the sample, a .qva to the nearest ms.
    void CheckExtent() const {
        const std::int64_t samples = soundPackets_ * kPacketSamples - kPreSkip - surplus_;
        const std::int64_t told = std::int64_t{reader_.Duration()} * kSamplesPerMs;
        const bool hasPicture = reader_.Picture() != nullptr;
        if (hasPicture && !pictureSeen_) Fail("has no picture");
        if (hasPicture ? samples != told : std::abs(samples - told) * 2 > kSamplesPerMs)
            Fail("has sound of another length than it tells");
    }

    MkvReader reader_;
    Window window_;
    BlockParser parser_;
    std::uint32_t lastId_ = 0;
    std::vector<Cue> cues_;
    std::vector<Cue> found_;
    std::int64_t soundPackets_ = 0;
    std::int64_t surplus_ = 0;
    std::int64_t lastSoundCluster_ = -1;
    bool pictureSeen_ = false;
    Ms lastKey_[2] = {-1, -1};
};

}  // namespace

void CheckQuickly(const std::filesystem::path& file) {
    Checker checker(file);
    checker.CheckFrame();
    checker.CheckHead();
    checker.CheckIndex();
    checker.CheckLastCluster();
}

void CheckWhole(const std::filesystem::path& file) {
    Checker checker(file);
    checker.CheckFrame();
    checker.CheckHead();
    checker.CheckIndex();
    checker.CheckClusters();
}

}  // namespace qv
