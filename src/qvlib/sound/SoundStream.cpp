// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/SoundStream.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "MediaError.h"
#include "sound/Division.h"
#include "sound/OrderedTasks.h"
#include "sound/PacketSources.h"
#include "sound/SoundFormat.h"
#include "sound/SoundPlan.h"
#include "sound/Stretch.h"

namespace qv {
namespace {

/// What one thread reads the sources with.
struct Reader {
    explicit Reader(const SoundMix& mix) : mixer(mix, OnDamage::Throw), packets(mix.files, mix.open) {}

    RowMixer mixer;
    PacketSources packets;
};

std::vector<SoundStep> PlanOf(const SoundMix& mix, PacketSources& packets) {
    std::vector<SoundFacts> facts(mix.files.size());
    std::set<int> heard;
    for (const AudioRow& row : mix.rows) {
        if (row.fileIndex >= 0) heard.insert(row.fileIndex);
    }
    for (const int fileIndex : heard) {
        const OpusPackets& source = packets.Source(fileIndex);
        facts[static_cast<std::size_t>(fileIndex)] = {source.Channels(), source.Samples()};
    }
    return PlanSound(mix.rows, facts, {mix.channels, mix.totalSamples});
}

/// The Encode steps, cut into stretches of about equal length.
std::vector<Stretch> StretchesOf(const std::vector<SoundStep>& plan) {
    std::vector<Stretch> stretches;
    for (std::size_t i = 0; i < plan.size(); ++i) {
        if (plan[i].kind != SoundStep::Kind::Encode) continue;
        const std::int64_t parts = CeilDiv(plan[i].count, kStretchPackets);
        for (std::int64_t part = 0; part < parts; ++part) {
            const std::int64_t first = plan[i].dstPacket + plan[i].count * part / parts;
            const std::int64_t end = plan[i].dstPacket + plan[i].count * (part + 1) / parts;
            stretches.push_back({first, end - first, part == 0 && i > 0, part == parts - 1 && i + 1 < plan.size()});
        }
    }
    return stretches;
}

/// The packet that a Copy step of the plan puts at place n.
OpusPacket CopiedAt(const std::vector<SoundStep>& plan, PacketSources& packets, std::int64_t n) {
    const auto step = std::ranges::partition_point(plan, [&](const SoundStep& s) { return s.DstEnd() <= n; });
    return packets.Read(step->fileIndex, step->srcPacket + (n - step->dstPacket));
}

}  // namespace

class SoundStream::Impl {
public:
    Impl(SoundMix mix, EncodeSettings settings, const std::function<void(const std::string&)>& log,
         std::stop_token stop);

    [[nodiscard]] std::int64_t PacketCount() const { return PacketsFor(mix_.totalSamples); }
    [[nodiscard]] std::int64_t CopiedPackets() const { return copied_; }
    bool Next(OpusPacket& packet);

private:
    void AddTasks();
    void TakeStretchThatIsDue();
    OpusPacket PacketBetweenStretches();

    SoundMix mix_;
    EncodeSettings settings_;
    std::stop_token stop_;
    Reader reader_;  ///< of the calling thread
    std::vector<SoundStep> plan_;
    std::vector<Stretch> stretches_;
    std::size_t added_ = 0;  ///< stretches that were given to the tasks
    std::size_t taken_ = 0;  ///< stretches whose packets were taken
    EncodedStretch current_;
    std::int64_t next_ = 0;
    std::int64_t copied_ = 0;
    std::optional<PacketEncoder> instead_;  ///< of copying, behind a stretch that found no place to join
    OrderedTasks<Reader, EncodedStretch> tasks_;
};

SoundStream::Impl::Impl(SoundMix mix, EncodeSettings settings, const std::function<void(const std::string&)>& log,
                        std::stop_token stop)
    : mix_([&] {
          mix.rows = HeardRows(mix, log);
          return std::move(mix);
      }()),
      settings_(settings),
      stop_(stop),
      reader_(mix_),
      plan_(PlanOf(mix_, reader_.packets)),
      stretches_(StretchesOf(plan_)),
      tasks_(
          settings.ThreadCount(), [this] { return std::make_unique<Reader>(mix_); }, std::move(stop)) {
    settings_.channels = mix_.channels;
}

bool SoundStream::Impl::Next(OpusPacket& packet) {
    if (stop_.stop_requested()) throw Abandoned();
    if (next_ == PacketCount()) return false;
    TakeStretchThatIsDue();
    if (next_ >= current_.first && next_ < current_.End()) {
        packet = std::move(current_.packets[static_cast<std::size_t>(next_ - current_.first)]);
    } else {
        packet = PacketBetweenStretches();
    }
    ++next_;
    return true;
}

void SoundStream::Impl::AddTasks() {
    for (; added_ < stretches_.size() && tasks_.HasRoom(); ++added_) {
        tasks_.Add([this, stretch = stretches_[added_]](Reader& reader, std::stop_token stop) {
            reader.mixer.Restart();
            const auto wanted = [&](std::int64_t from, std::span<float> out) { reader.mixer.Read(from, out); };
            const auto copied = [&](std::int64_t n) { return CopiedAt(plan_, reader.packets, n); };
            return EncodeStretch({settings_, wanted, copied}, stretch, std::move(stop));
        });
    }
}

/// The next stretch has to be known where the first packet may lie that it took from the copied ones before it.
void SoundStream::Impl::TakeStretchThatIsDue() {
    AddTasks();
    if (taken_ == stretches_.size() || next_ < current_.End()) return;
    const Stretch& stretch = stretches_[taken_];
    if (next_ < stretch.first - (stretch.afterCopy ? kJointBefore : 0)) return;
    current_ = tasks_.Take();
    ++taken_;
    AddTasks();
}

OpusPacket SoundStream::Impl::PacketBetweenStretches() {
    const bool justBehind = taken_ > 0 && next_ == current_.End();
    if (justBehind && !current_.joinsCopy) {
        reader_.mixer.Restart();
        instead_.emplace(
            settings_, [this](std::int64_t from, std::span<float> out) { reader_.mixer.Read(from, out); },
            next_ - kPrimingPackets);
        for (std::int64_t i = 0; i < kPrimingPackets; ++i) static_cast<void>(instead_->Next());
    } else if (justBehind) {
        instead_.reset();
    }
    if (instead_) return instead_->Next();
    ++copied_;
    return CopiedAt(plan_, reader_.packets, next_);
}

SoundStream::SoundStream(SoundMix mix, EncodeSettings settings, const std::function<void(const std::string&)>& log,
                         std::stop_token stop)
    : impl_(std::make_unique<Impl>(std::move(mix), settings, log, std::move(stop))) {}
SoundStream::~SoundStream() = default;
std::int64_t SoundStream::PacketCount() const { return impl_->PacketCount(); }
std::int64_t SoundStream::CopiedPackets() const { return impl_->CopiedPackets(); }
bool SoundStream::Next(OpusPacket& packet) { return impl_->Next(packet); }

}  // namespace qv
