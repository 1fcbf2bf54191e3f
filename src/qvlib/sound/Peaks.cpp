// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/Peaks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <span>
#include <utility>

#include "sound/Division.h"
#include "sound/Opus.h"
#include "sound/OrderedTasks.h"
#include "sound/PcmReader.h"
#include "sound/PeakCache.h"
#include "sound/SoundFormat.h"

namespace qv {
namespace {

constexpr std::int64_t kChunkQuanta = KeptPeaks::kChunkQuanta;

/// Quanta [from, to).
struct QuantumRange {
    std::int64_t from = 0;
    std::int64_t to = 0;
};

/// The quanta that part i of a request touches, of those that the sound has.
QuantumRange QuantaOfPart(const PeakRequest& request, std::int64_t i, std::int64_t quanta) {
    // Part i is [start + span i / count, start + span (i + 1) / count) ms; all in 1 / (8 count) quanta.
    const std::int64_t count = request.count;
    const std::int64_t start = std::int64_t{request.startMs} * count;
    const std::int64_t span = std::int64_t{request.endMs} - request.startMs;
    if (span <= 0) return {};
    const std::int64_t from = FloorDiv(start + span * i, kQuantumMs * count);
    const std::int64_t to = CeilDiv(start + span * (i + 1), kQuantumMs * count);
    return {std::clamp<std::int64_t>(from, 0, quanta), std::clamp<std::int64_t>(to, 0, quanta)};
}

/// The largest |sample|. A float's bits without the sign rise with its magnitude, and comparing whole numbers is several
/// times faster.
float LoudestOf(std::span<const float> samples) {
    std::int32_t loudest = 0;
    for (const float sample : samples) loudest = std::max(loudest, std::bit_cast<std::int32_t>(sample) & 0x7fffffff);
    return std::bit_cast<float>(loudest);
}

std::int16_t PeakOf(std::span<const float> samples) {
    const float loudest = LoudestOf(samples);
    return loudest < 1.0F ? static_cast<std::int16_t>(std::min(32767L, std::lrint(loudest * 32768.0F)))
                          : std::int16_t{32767};
}

/// The peaks of one chunk. It is decoded from the same place on each time, so that they depend on the file alone.
std::vector<std::int16_t> PeaksOfChunk(PcmReader& reader, std::int64_t chunk, std::int64_t quanta,
                                       const std::stop_token& stop) {
    reader.Restart();
    std::vector<float> samples(static_cast<std::size_t>(kQuantumSamples) * static_cast<std::size_t>(reader.Channels()));
    std::vector<std::int16_t> peaks;
    const std::int64_t end = std::min(quanta, (chunk + 1) * kChunkQuanta);
    for (std::int64_t quantum = chunk * kChunkQuanta; quantum < end; ++quantum) {
        if (stop.stop_requested()) throw Abandoned();
        reader.Read(quantum * kQuantumSamples, samples);
        peaks.push_back(PeakOf(samples));
    }
    return peaks;
}

std::unique_ptr<OpusPackets> Open(const PeakRequest& request) {
    return request.open ? request.open() : OpenSound(request.file);
}

std::unique_ptr<PcmReader> OpenReader(const PeakRequest& request) {
    std::unique_ptr<OpusPackets> packets = Open(request);
    const int channels = packets->Channels();
    return std::make_unique<PcmReader>(std::move(packets), request.file, channels, OnDamage::Silence);
}

/// Decodes the chunks of [from, to) that are not known. @returns whether there was one
bool Learn(const PeakRequest& request, QuantumRange asked, KeptPeaks& kept, const JobContext& job) {
    std::vector<std::int64_t> missing;
    for (std::int64_t chunk = asked.from / kChunkQuanta; chunk * kChunkQuanta < asked.to; ++chunk) {
        if (kept.known[static_cast<std::size_t>(chunk)] == 0) missing.push_back(chunk);
    }
    const auto quanta = static_cast<std::int64_t>(kept.peaks.size());
    OrderedTasks<PcmReader, std::vector<std::int16_t>> tasks(
        EncodeSettings{.threads = request.threads}.ThreadCount(), [&] { return OpenReader(request); }, job.stop);
    std::size_t added = 0;
    for (std::size_t taken = 0; taken < missing.size(); ++taken) {
        for (; added < missing.size() && tasks.HasRoom(); ++added) {
            tasks.Add([chunk = missing[added], quanta](PcmReader& reader, const std::stop_token& stop) {
                return PeaksOfChunk(reader, chunk, quanta, stop);
            });
        }
        std::ranges::copy(tasks.Take(), kept.peaks.begin() + missing[taken] * kChunkQuanta);
        kept.known[static_cast<std::size_t>(missing[taken])] = 1;
        job.Report(static_cast<double>(taken + 1) / static_cast<double>(missing.size()));
    }
    return !missing.empty();
}

}  // namespace

std::vector<std::int16_t> SamplePeaks(const PeakRequest& request, const JobContext& job) {
    job.Check();
    if (request.count <= 0) return {};
    const PeakCache cache(request.file, request.cacheFolder);
    std::optional<KeptPeaks> kept = cache.Load();
    if (!kept) kept = KeptPeaks::Unknown(Open(request)->Samples());

    const auto quanta = static_cast<std::int64_t>(kept->peaks.size());
    const QuantumRange asked{QuantaOfPart(request, 0, quanta).from,
                             QuantaOfPart(request, request.count - 1, quanta).to};
    if (Learn(request, asked, *kept, job)) cache.Save(*kept);

    std::vector<std::int16_t> values(static_cast<std::size_t>(request.count));
    for (std::int64_t i = 0; i < request.count; ++i) {
        const QuantumRange part = QuantaOfPart(request, i, quanta);
        if (part.from >= part.to) continue;
        values[static_cast<std::size_t>(i)] =
            *std::max_element(kept->peaks.begin() + part.from, kept->peaks.begin() + part.to);
    }
    return values;
}

}  // namespace qv
