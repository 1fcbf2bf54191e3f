// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignSound.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "foreign/ForeignFile.h"
#include "foreign/Resampler.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// Containers round times, and some tell the time of a packet for the sound that begins in it: up to here the sound is
/// taken as going on without a break.
constexpr std::int64_t kJitter = std::int64_t{40} * kSamplesPerMs;
/// Where a break is known of, times are believed more closely.
constexpr std::int64_t kSmallJitter = std::int64_t{5} * kSamplesPerMs;
/// A start this close to zero is zero where there is a picture to be in step with; without one, a codec's lead-in is.
constexpr std::int64_t kRounding = kSamplesPerMs;
/// Times that jump back further than this were set anew; nothing is thrown away for them.
constexpr std::int64_t kTimesSetAnew = std::int64_t{10} * kSampleRate;
/// Longer silence than this, in a file that does not tell its length, is a broken time and not a pause.
constexpr std::int64_t kLongestHole = 3600LL * kSampleRate;

/// An MP4 file tells the sound's end to the sample; what the codec's last frame holds beyond is padding. Up to so much
/// is believed to be that; a greater difference is a length told wrong.
constexpr std::int64_t kMostPadding = kSampleRate / 4;

bool TellsExactEnd(const AVInputFormat& format) { return std::strstr(format.name, "mp4") != nullptr; }

int ChannelsFor(const AVStream& stream, int asked) {
    return asked != 0 ? asked : std::clamp(stream.codecpar->ch_layout.nb_channels, 1, 2);
}

}  // namespace

struct ForeignSound::Impl {
    Impl(const std::filesystem::path& path, int channelsAsked, LateStart late)
        : file(path), stream(file.SoundStream()), lateStart(late) {
        if (stream == nullptr) throw MediaError(path, "has no sound");
        channels = ChannelsFor(*stream, channelsAsked);
        decoder = OpenStreamDecoder(file, *stream, 0);
        priming = UntoldPriming(*stream->codecpar);
        file.ReadOnly(*stream);
        while (!resampler && Advance()) {
        }
        if (!resampler) throw MediaError(path, "has no sound that can be decoded");
    }

    /// Decodes one more packet. @returns false when the end was reached before
    bool Advance();
    void ReceiveFrames();
    void Place(const AVFrame& placed);
    void FillHole(std::int64_t samples);
    void End();
    /// What may be handed out: all but the last bit, which the end may have to cut.
    [[nodiscard]] std::size_t Free() const;

    /// Where the frame belongs, in samples from sound 0; nothing when the file does not tell.
    std::optional<std::int64_t> PlaceOf(const AVFrame& placed);
    /// Where the sound so far ends.
    [[nodiscard]] std::int64_t Reached() const;
    [[nodiscard]] std::int64_t LongestHole() const;
    [[nodiscard]] std::int64_t StartJitter() const {
        return file.PictureStream() != nullptr ? kRounding : kSmallJitter;
    }
    [[nodiscard]] std::int64_t Expected() const;

    ForeignFile file;
    AVStream* stream;
    LateStart lateStart;
    int channels = 1;
    av::Codec decoder;
    av::Packet packet = av::NewPacket();
    av::Frame frame = av::NewFrame();
    std::optional<Resampler> resampler;
    std::int64_t stretchStart = 0;        ///< where the sound begins that the resampler got
    std::optional<std::int64_t> shift;    ///< sound 0 in the file's own times
    std::optional<std::int64_t> toldEnd;  ///< where the container says that the sound ends
    int priming = 0;                      ///< samples still to be dropped
    std::vector<float> ready;
    std::size_t readyFrom = 0;
    int damaged = 0;
    bool afterDamage = false;
    bool trimming = false;  ///< the frame before came twice and was left out
    bool ended = false;
};

bool ForeignSound::Impl::Advance() {
    if (ended) return false;
    if (!file.Next(*packet)) {
        avcodec_send_packet(decoder.get(), nullptr);
        ReceiveFrames();
        End();
        return true;
    }
    if (packet->size == 0) return true;
    const int result = avcodec_send_packet(decoder.get(), packet.get());
    if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (result < 0 && result != AVERROR(EAGAIN)) {
        ++damaged;
        afterDamage = true;
    }
    ReceiveFrames();
    return true;
}

void ForeignSound::Impl::ReceiveFrames() {
    for (;;) {
        const int result = avcodec_receive_frame(decoder.get(), frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
        if (result < 0) {
            ++damaged;
            afterDamage = true;
            continue;
        }
        if (frame->nb_samples > 0 && frame->sample_rate > 0) Place(*frame);
        av_frame_unref(frame.get());
    }
}

std::optional<std::int64_t> ForeignSound::Impl::PlaceOf(const AVFrame& placed) {
    if (placed.best_effort_timestamp == AV_NOPTS_VALUE) return std::nullopt;
    const std::int64_t at = av_rescale_q(placed.best_effort_timestamp, stream->time_base, {1, kSampleRate}) +
                            av_rescale(priming, kSampleRate, placed.sample_rate);
    if (!shift) {
        const std::int64_t zero = av_rescale_q(file.ZeroUs(), AV_TIME_BASE_Q, {1, kSampleRate});
        const bool fromHere = lateStart == LateStart::Drop || std::llabs(at - zero) <= StartJitter();
        shift = fromHere ? at : zero;
        if (TellsExactEnd(*file.Input().iformat) && stream->duration > 0 && stream->start_time != AV_NOPTS_VALUE) {
            const std::int64_t end = stream->start_time + stream->duration;
            toldEnd = av_rescale_q(end, stream->time_base, {1, kSampleRate}) - *shift;
        }
    }
    return at - *shift;
}

std::int64_t ForeignSound::Impl::Reached() const {
    if (!resampler) return stretchStart;
    return stretchStart + av_rescale(resampler->SamplesIn(), kSampleRate, resampler->Rate());
}

std::int64_t ForeignSound::Impl::Expected() const {
    if (file.Input().duration == AV_NOPTS_VALUE) return 0;
    return av_rescale_q(file.Input().duration, AV_TIME_BASE_Q, {1, kSampleRate});
}

std::int64_t ForeignSound::Impl::LongestHole() const {
    constexpr std::int64_t kMargin = std::int64_t{60} * kSampleRate;
    const std::int64_t expected = Expected();
    return expected > 0 ? std::max<std::int64_t>(0, expected - Reached()) + kMargin : kLongestHole;
}

void ForeignSound::Impl::Place(const AVFrame& placed) {
    if (priming >= placed.nb_samples) {
        priming -= placed.nb_samples;
        return;
    }
    const std::optional<std::int64_t> at = PlaceOf(placed);
    if (resampler && !resampler->Takes(placed)) {
        stretchStart = Reached();
        resampler->Finish(ready);
        resampler.reset();
    }
    if (!resampler) resampler.emplace(placed, channels);

    std::int64_t off = at ? *at - Reached() : 0;
    if (off < -kTimesSetAnew || off > LongestHole()) {
        *shift += off;
        off = 0;
    }
    const std::int64_t jitter = afterDamage || trimming ? kSmallJitter : kJitter;
    const std::int64_t tolerated = Reached() == 0 ? StartJitter() : jitter;
    afterDamage = false;
    std::int64_t skip = std::exchange(priming, 0);
    if (off > tolerated) FillHole(off);
    if (off < -tolerated) skip += av_rescale(-off, placed.sample_rate, kSampleRate);
    trimming = skip >= placed.nb_samples;
    if (!trimming) resampler->Put(placed, static_cast<int>(skip), ready);
}

void ForeignSound::Impl::FillHole(std::int64_t samples) {
    std::int64_t left = av_rescale(samples, resampler->Rate(), kSampleRate);
    while (left > 0) {
        const int now = static_cast<int>(std::min<std::int64_t>(left, resampler->Rate()));
        resampler->PutSilence(now, ready);
        left -= now;
    }
}

void ForeignSound::Impl::End() {
    ended = true;
    if (!resampler) return;
    resampler->Finish(ready);
    const std::int64_t padding = toldEnd ? Reached() - *toldEnd : 0;
    const auto held = static_cast<std::int64_t>(ready.size() - readyFrom);
    if (padding <= 0 || padding > kMostPadding || padding * channels > held) return;
    ready.resize(ready.size() - static_cast<std::size_t>(padding * channels));
}

std::size_t ForeignSound::Impl::Free() const {
    const std::size_t all = ready.size() - readyFrom;
    if (ended || !toldEnd) return all;
    const auto held = static_cast<std::size_t>(kMostPadding * channels);
    return all > held ? all - held : 0;
}

ForeignSound::ForeignSound(const std::filesystem::path& file, int channels, LateStart lateStart)
    : impl_(std::make_unique<Impl>(file, channels, lateStart)) {}

ForeignSound::~ForeignSound() = default;

int ForeignSound::Channels() const { return impl_->channels; }

std::size_t ForeignSound::Read(std::span<float> into) {
    std::size_t written = 0;
    while (written < into.size()) {
        const std::size_t now = std::min(into.size() - written, impl_->Free());
        if (now == 0) {
            impl_->ready.erase(impl_->ready.begin(),
                               impl_->ready.begin() + static_cast<std::ptrdiff_t>(impl_->readyFrom));
            impl_->readyFrom = 0;
            if (!impl_->Advance()) break;
            continue;
        }
        std::copy_n(impl_->ready.begin() + static_cast<std::ptrdiff_t>(impl_->readyFrom), now,
                    into.begin() + static_cast<std::ptrdiff_t>(written));
        impl_->readyFrom += now;
        written += now;
    }
    return written;
}

int ForeignSound::Damaged() const { return impl_->damaged; }

std::int64_t ForeignSound::ExpectedSamples() const { return impl_->Expected(); }

}  // namespace qv
