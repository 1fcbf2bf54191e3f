// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <vector>

#include "MediaError.h"
#include "mkv/Layout.h"
#include "mkv/Reader.h"
#include "sound/OpusPackets.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// A jump forward shorter than this is read through rather than looked up.
constexpr std::int64_t kReadThrough = 250;

/// The sound track of a container, block by block.
class MkvOpusPackets : public OpusPackets {
public:
    explicit MkvOpusPackets(const std::filesystem::path& file) : reader_(file), cursor_(reader_) {
        const TrackInfo* sound = reader_.Sound();
        if (sound == nullptr) throw MediaError(file, "has no sound");
        if (sound->codecId != "A_OPUS" || (sound->channels != 1 && sound->channels != 2))
            throw MediaError(file, "has sound that is not Opus in one or two channels");
        number_ = sound->number;
        channels_ = sound->channels;
        for (const Cue& cue : reader_.Cues()) entries_.push_back({cue.time, cue.cluster});
        std::ranges::sort(entries_, {}, &Entry::time);
        samples_ = CountSamples();
        cursor_.Seek(reader_.FirstCluster());
    }

    [[nodiscard]] int Channels() const override { return channels_; }
    [[nodiscard]] std::int64_t Samples() const override { return samples_; }

    bool Read(std::int64_t n, std::vector<std::uint8_t>& data) override {
        data.clear();
        if (n < 0 || n >= packets_) return false;
        if (!pendingIs_ || n < pending_ || n > pending_ + kReadThrough) Seek(n);
        while (pendingIs_ && pending_ < n) Advance();
        if (!pendingIs_ || pending_ != n) return false;
        data.assign(block_->data.begin(), block_->data.end());
        return true;
    }

private:
    static std::int64_t NumberOf(const Block& block) { return (std::int64_t{block.time} + kPacketMs / 2) / kPacketMs; }

    void Advance() {
        do block_ = cursor_.Next();
        while (block_ && block_->track != number_);
        pendingIs_ = block_.has_value();
        if (block_) pending_ = NumberOf(*block_);
    }

    /// Goes to a cluster at or before packet n. Blocks of sound may stand a little before their cluster's time.
    void Seek(std::int64_t n) {
        const Ms time = static_cast<Ms>(std::max<std::int64_t>(0, (n - 1) * kPacketMs));
        const auto behind = std::ranges::upper_bound(entries_, time, {}, &Entry::time);
        cursor_.Seek(behind == entries_.begin() ? reader_.FirstCluster() : std::prev(behind)->cluster);
        Advance();
        if (pendingIs_ && pending_ > n && behind != entries_.begin()) {
            cursor_.Seek(reader_.FirstCluster());
            Advance();
        }
    }

    /// The last packet tells how many there are and what of it is to be heard.
    std::int64_t CountSamples() {
        if (!entries_.empty()) cursor_.Seek(entries_.back().cluster);
        std::int64_t surplus = 0;
        while (const auto block = cursor_.Next()) {
            if (block->track != number_) continue;
            packets_ = std::max(packets_, NumberOf(*block) + 1);
            surplus = NsToSamples(block->discardNs);
        }
        return std::max<std::int64_t>(0, packets_ * kPacketSamples - kPreSkip - surplus);
    }

    struct Entry {
        Ms time;
        std::int64_t cluster;
    };

    MkvReader reader_;
    BlockCursor cursor_;
    int number_ = 0;
    int channels_ = 0;
    std::int64_t samples_ = 0;
    std::int64_t packets_ = 0;
    std::vector<Entry> entries_;
    std::optional<Block> block_;
    std::int64_t pending_ = 0;
    bool pendingIs_ = false;
};

}  // namespace

std::unique_ptr<OpusPackets> OpenSound(const std::filesystem::path& file) {
    return std::make_unique<MkvOpusPackets>(file);
}

}  // namespace qv
