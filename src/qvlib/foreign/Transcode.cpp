// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/Transcode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "MediaError.h"
#include "foreign/ForeignFile.h"
#include "foreign/ForeignSound.h"
#include "io/Files.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

constexpr std::uint32_t kSampleBytes = 2;
constexpr std::uint32_t kFormatSize = 16;
constexpr std::uint32_t kHeadSize = 44;
/// What the 32 bits of a WAV's lengths leave for its samples.
constexpr std::int64_t kMostData = std::int64_t{std::numeric_limits<std::uint32_t>::max()} - kHeadSize;

/// Lays words and numbers down, the low byte first.
class Bytes {
public:
    Bytes& Word(std::string_view word) {
        bytes_.insert(bytes_.end(), word.begin(), word.end());
        return *this;
    }
    Bytes& Number(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return *this;
    }
    [[nodiscard]] const std::vector<std::uint8_t>& Get() const { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
};

std::vector<std::uint8_t> WaveHead(int channels, std::uint32_t dataSize) {
    const std::uint32_t frameBytes = kSampleBytes * static_cast<std::uint32_t>(channels);
    Bytes head;
    head.Word("RIFF").Number(kHeadSize - 8 + dataSize, 4).Word("WAVE");
    head.Word("fmt ").Number(kFormatSize, 4).Number(1, 2).Number(static_cast<std::uint32_t>(channels), 2);
    head.Number(kSampleRate, 4).Number(kSampleRate * frameBytes, 4).Number(frameBytes, 2).Number(8 * kSampleBytes, 2);
    head.Word("data").Number(dataSize, 4);
    return head.Get();
}

/// 1.0 is 32768, as decoders read it back.
void AppendSamples(NewFile& out, std::span<const float> samples, std::vector<std::uint8_t>& bytes) {
    bytes.clear();
    for (const float sample : samples) {
        const long value = std::clamp(std::lrint(sample * 32768.0F), -32768L, 32767L);
        bytes.push_back(static_cast<std::uint8_t>(value & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 & 0xFF));
    }
    out.Append(bytes);
}

/// Of a file without a sound that can be decoded.
SoundKind KindOfUndecodable(const AVFormatContext& input) {
    for (const AVStream* stream : std::span(input.streams, input.nb_streams))
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            return stream->codecpar->codec_id == AV_CODEC_ID_NONE ? SoundKind::Unreadable : SoundKind::NoDecoder;
    return SoundKind::NoSound;
}

}  // namespace

void TranscodeToWave(const std::filesystem::path& source, const std::filesystem::path& target, const JobContext& job) {
    ForeignSound sound(source, 0, LateStart::Drop);
    const std::int64_t expected = sound.ExpectedSamples() * sound.Channels();
    NewFile out(target);
    out.Append(WaveHead(sound.Channels(), 0));
    std::vector<float> samples(std::size_t{kSampleRate});
    std::vector<std::uint8_t> bytes;
    std::int64_t done = 0;
    while (const std::size_t got = sound.Read(samples)) {
        job.Check();
        done += static_cast<std::int64_t>(got);
        if (done * kSampleBytes > kMostData) throw MediaError(target, "would be larger than a WAV file can be");
        AppendSamples(out, std::span(samples).first(got), bytes);
        if (expected > 0) job.Report(static_cast<double>(done) / static_cast<double>(expected));
    }
    if (done == 0) throw MediaError(source, "has no sound that can be decoded");
    out.Patch(0, WaveHead(sound.Channels(), static_cast<std::uint32_t>(done * kSampleBytes)));
    job.Check();
    out.Commit();
}

SoundKind SoundKindOf(const std::filesystem::path& path) noexcept {
    try {
        const ForeignFile file(path);
        return file.SoundStream() != nullptr ? SoundKind::Sound : KindOfUndecodable(file.Input());
    } catch (const std::exception&) {
        return SoundKind::Unreadable;
    }
}

}  // namespace qv
