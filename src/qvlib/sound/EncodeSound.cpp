// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/EncodeSound.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "sound/OrderedTasks.h"
#include "sound/SoundFormat.h"
#include "sound/Stretch.h"

namespace qv {
namespace {

/// Cuts a source into stretches: each the samples of kStretchPackets, with those before it that an encoder is primed by.
class SourceCutter {
public:
    SourceCutter(PcmSource& source, int channels) : source_(source), channels_(static_cast<std::size_t>(channels)) {}

    /// A part of the sound; behind its end, silence.
    struct Part {
        Stretch stretch;
        std::int64_t from = 0;
        std::vector<float> samples;
        std::size_t channels = 1;

        void Read(std::int64_t sample, std::span<float> out) const {
            const std::size_t at = std::min(samples.size(), static_cast<std::size_t>(sample - from) * channels);
            const std::size_t there = std::min(out.size(), samples.size() - at);
            std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(at), there, out.begin());
            std::ranges::fill(out.subspan(there), 0.0F);
        }
    };

    /// @returns false when the sound is cut up
    bool Next(Part& part);

    /// Samples read so far.
    [[nodiscard]] std::int64_t Samples() const { return samples_; }

private:
    PcmSource& source_;
    std::size_t channels_;
    std::int64_t samples_ = 0;
    std::int64_t packets_ = 0;  ///< cut off so far
    bool ended_ = false;
    std::vector<float> priming_;  ///< the samples before the next stretch
};

bool SourceCutter::Next(Part& part) {
    if (ended_) return false;
    const std::size_t packetFloats = kPacketSamples * channels_;
    const std::size_t wanted = static_cast<std::size_t>(kStretchPackets) * packetFloats;
    part.channels = channels_;
    part.from = samples_ - static_cast<std::int64_t>(priming_.size() / channels_);
    part.samples = priming_;
    part.samples.resize(priming_.size() + wanted);
    const std::size_t got = source_.Read(std::span(part.samples).subspan(priming_.size()));
    part.samples.resize(priming_.size() + got);
    samples_ += static_cast<std::int64_t>(got / channels_);

    ended_ = got < wanted;
    const std::int64_t end = ended_ ? PacketsFor(samples_) : packets_ + kStretchPackets;
    part.stretch = {.first = packets_, .count = end - packets_};
    packets_ = end;
    const std::size_t kept = std::min(part.samples.size(), static_cast<std::size_t>(kPrimingPackets) * packetFloats);
    priming_.assign(part.samples.end() - static_cast<std::ptrdiff_t>(kept), part.samples.end());
    return part.stretch.count > 0;
}

struct NoWorker {};

}  // namespace

std::int64_t EncodeSound(PcmSource& source, const EncodeSettings& settings, const PacketSink& sink,
                         const JobContext& job) {
    OrderedTasks<NoWorker, EncodedStretch> tasks(
        settings.ThreadCount(), [] { return std::make_unique<NoWorker>(); }, job.stop);
    const auto takeOne = [&] {
        for (const OpusPacket& packet : tasks.Take().packets) sink(packet);
        job.Check();
    };
    SourceCutter cutter(source, settings.channels);
    SourceCutter::Part part;
    while (cutter.Next(part)) {
        const auto shared = std::make_shared<const SourceCutter::Part>(std::exchange(part, {}));
        tasks.Add([shared, settings](NoWorker&, const std::stop_token& stop) {
            const auto wanted = [&](std::int64_t from, std::span<float> out) { shared->Read(from, out); };
            return EncodeStretch({settings, wanted, {}}, shared->stretch, stop);
        });
        if (!tasks.HasRoom()) takeOne();
    }
    while (!tasks.IsEmpty()) takeOne();
    return cutter.Samples();
}

}  // namespace qv
