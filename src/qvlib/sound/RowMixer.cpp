// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/RowMixer.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <set>
#include <utility>

#include "MediaError.h"
#include "sound/SoundFormat.h"

namespace qv {
namespace {

/// Sources that a mixer keeps open; a play list may have hundreds.
constexpr std::size_t kMaxOpen = 8;

std::int64_t SampleAt(Ms ms) { return std::int64_t{ms} * kSamplesPerMs; }

std::int64_t SamplesOf(const AudioRow& row) { return SampleAt(row.posEnd) - SampleAt(row.pos); }

bool IsSilence(const AudioRow& row) { return row.fileIndex < 0 || row.volPercent <= 0; }

/// How far a fade of `length` samples has come at its sample i: a raised cosine from 0 to 1, taken at the samples' middles.
float FadeAt(std::int64_t i, int length) {
    const double phase = (static_cast<double>(i) + 0.5) / length;
    return static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * phase));
}

/// A row's samples [from, from + out.size() / channels), counted from its beginning, in place.
struct EnvelopeSpan {
    std::int64_t from;
    std::int64_t rowSamples;
    int channels;
};

void ApplyEnvelope(const RowEnvelope& envelope, const EnvelopeSpan& where, std::span<float> out) {
    const auto channels = static_cast<std::size_t>(where.channels);
    const std::int64_t fadeOutFrom = where.rowSamples - envelope.fadeOut;
    for (std::size_t at = 0; at < out.size(); at += channels) {
        const std::int64_t i = where.from + static_cast<std::int64_t>(at / channels);
        float gain = envelope.gain;
        if (i < envelope.ramp) gain = std::lerp(envelope.gainFrom, envelope.gain, FadeAt(i, envelope.ramp));
        float fade = 1.0F;
        if (i < envelope.fadeIn) fade = FadeAt(i, envelope.fadeIn);
        if (i >= fadeOutFrom) fade *= FadeAt(where.rowSamples - 1 - i, envelope.fadeOut);
        for (float& sample : out.subspan(at, channels)) sample = std::clamp(sample * gain, -1.0F, 1.0F) * fade;
    }
}

/// The same for a part of the row that neither a fade nor a ramp touches.
void ApplyGain(float gain, std::span<float> out) {
    for (float& sample : out) sample = std::clamp(sample * gain, -1.0F, 1.0F);
}

}  // namespace

bool Continues(const AudioRow& before, const AudioRow& row) {
    return before.fileIndex == row.fileIndex && before.srcPosEnd == row.srcPos;
}

std::vector<RowEnvelope> EnvelopesOf(std::span<const AudioRow> rows) {
    std::vector<RowEnvelope> envelopes(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        RowEnvelope& envelope = envelopes[i];
        if (rows[i].fileIndex < 0) continue;
        envelope.gain = static_cast<float>(std::max(0, rows[i].volPercent)) / 100.0F;
        envelope.gainFrom = envelope.gain;
        const std::int64_t samples = SamplesOf(rows[i]);
        const bool continues = i > 0 && Continues(rows[i - 1], rows[i]);
        const bool continued = i + 1 == rows.size() || Continues(rows[i], rows[i + 1]);
        const bool fadesIn = !continues && (i > 0 || rows[i].srcPos > 0);
        const std::int64_t room = fadesIn && !continued ? samples / 2 : samples;
        const int length = static_cast<int>(std::min<std::int64_t>(kFadeSamples, room));
        if (fadesIn) envelope.fadeIn = length;
        if (!continued) envelope.fadeOut = length;
        if (continues && envelopes[i - 1].gain != envelope.gain) {
            envelope.gainFrom = envelopes[i - 1].gain;
            envelope.ramp = static_cast<int>(std::min<std::int64_t>(kFadeSamples, samples));
        }
    }
    return envelopes;
}

std::vector<AudioRow> HeardRows(const SoundMix& mix, const std::function<void(const std::string&)>& log) {
    std::vector<AudioRow> heard;
    std::set<int> told;
    for (AudioRow row : mix.rows) {
        if (SampleAt(row.pos) >= mix.totalSamples) break;
        if (row.fileIndex >= 0 && static_cast<std::size_t>(row.fileIndex) >= mix.files.size()) {
            if (told.insert(row.fileIndex).second && log) {
                log("the play list's sound names source " + std::to_string(row.fileIndex) + " of " +
                    std::to_string(mix.files.size()) + ": silence is heard there");
            }
            row.fileIndex = -1;
        }
        heard.push_back(row);
    }
    return heard;
}

RowMixer::RowMixer(SoundMix mix, OnDamage onDamage, std::function<void(const std::string&)> log)
    : mix_(std::move(mix)), onDamage_(onDamage), log_(std::move(log)) {
    mix_.rows = HeardRows(mix_, log_);
    envelopes_ = EnvelopesOf(mix_.rows);
}

std::int64_t RowMixer::DamagedPackets() const {
    std::int64_t damaged = damagedBefore_;
    for (const OpenSource& source : open_) damaged += source.reader ? source.reader->DamagedPackets() : 0;
    return damaged;
}

void RowMixer::Restart() {
    for (OpenSource& source : open_) {
        if (source.reader) source.reader->Restart();
    }
}

/// The row that is heard at a sample; rows.size() behind the last one.
std::size_t RowMixer::RowAt(std::int64_t sample) const {
    const auto after =
        std::ranges::partition_point(mix_.rows, [&](const AudioRow& row) { return SampleAt(row.posEnd) <= sample; });
    return static_cast<std::size_t>(after - mix_.rows.begin());
}

void RowMixer::Read(std::int64_t from, std::span<float> out) {
    const auto channels = static_cast<std::size_t>(mix_.channels);
    std::size_t row = RowAt(from);
    while (!out.empty()) {
        auto count = static_cast<std::int64_t>(out.size() / channels);
        const bool heard = from >= 0 && from < mix_.totalSamples && row < mix_.rows.size();
        if (from < 0) count = std::min(count, -from);
        if (heard) count = std::min({count, SampleAt(mix_.rows[row].posEnd) - from, mix_.totalSamples - from});
        const std::span<float> piece = out.first(static_cast<std::size_t>(count) * channels);
        if (heard) {
            ReadRow(row, from, piece);
        } else {
            std::ranges::fill(piece, 0.0F);
        }
        from += count;
        out = out.subspan(piece.size());
        if (heard && from >= SampleAt(mix_.rows[row].posEnd)) ++row;
    }
}

/// Samples of the timeline that lie in one row.
void RowMixer::ReadRow(std::size_t index, std::int64_t from, std::span<float> out) {
    const AudioRow& row = mix_.rows[index];
    const RowEnvelope& envelope = envelopes_[index];
    PcmReader* source = IsSilence(row) && envelope.ramp == 0 ? nullptr : Source(row.fileIndex);
    if (source == nullptr) {
        std::ranges::fill(out, 0.0F);
        return;
    }
    const std::int64_t inRow = from - SampleAt(row.pos);
    source->Read(SampleAt(row.srcPos) + inRow, out);

    const auto count = static_cast<std::int64_t>(out.size() / static_cast<std::size_t>(mix_.channels));
    const bool opening = inRow < std::max(envelope.fadeIn, envelope.ramp);
    const bool closing = inRow + count > SamplesOf(row) - envelope.fadeOut;
    if (opening || closing) {
        ApplyEnvelope(envelope, {inRow, SamplesOf(row), mix_.channels}, out);
    } else {
        ApplyGain(envelope.gain, out);
    }
}

/// The reader of a source, opened when it is not among the open ones; nullptr when it cannot be opened.
PcmReader* RowMixer::Source(int fileIndex) {
    const auto found = std::ranges::find(open_, fileIndex, &OpenSource::fileIndex);
    if (found != open_.end()) {
        open_.splice(open_.begin(), open_, found);
    } else {
        open_.push_front({fileIndex, Open(fileIndex)});
    }
    if (open_.size() > kMaxOpen) {
        if (open_.back().reader) damagedBefore_ += open_.back().reader->DamagedPackets();
        open_.pop_back();
    }
    return open_.front().reader ? &*open_.front().reader : nullptr;
}

std::optional<PcmReader> RowMixer::Open(int fileIndex) const {
    try {
        return PcmReader(mix_.open(fileIndex), mix_.files[static_cast<std::size_t>(fileIndex)], mix_.channels,
                         onDamage_);
    } catch (const MediaError& error) {
        if (onDamage_ == OnDamage::Throw) throw;
        if (log_) log_(std::string(error.what()) + ": silence is heard in its place");
        return std::nullopt;
    }
}

}  // namespace qv
