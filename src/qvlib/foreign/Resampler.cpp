// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/Resampler.h"

#include <algorithm>
#include <array>

#include "sound/SoundFormat.h"

namespace qv {

namespace {

constexpr const char* kWhat = "resampler";

/// Files that do not tell where their channels belong mean the usual places.
AVChannelLayout LayoutOf(const AVFrame& frame) {
    AVChannelLayout layout{};
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE) {
        av::Check(av_channel_layout_copy(&layout, &frame.ch_layout), kWhat);
    } else {
        av_channel_layout_default(&layout, frame.ch_layout.nb_channels);
    }
    return layout;
}

}  // namespace

Resampler::Resampler(const AVFrame& like, int channels)
    : format_(static_cast<AVSampleFormat>(like.format)),
      rate_(like.sample_rate),
      channels_(channels),
      innerChannels_(std::clamp(like.ch_layout.nb_channels, 1, 2)),
      sourceChannels_(like.ch_layout.nb_channels),
      layout_(LayoutOf(like)) {
    av::SilenceLog();
    if (rate_ <= 0 || sourceChannels_ <= 0) throw MediaError(kWhat, "sound without a rate or without channels");
    AVChannelLayout inner{};
    av_channel_layout_default(&inner, innerChannels_);
    SwrContext* made = nullptr;
    av::Check(swr_alloc_set_opts2(&made, &inner, AV_SAMPLE_FMT_FLT, kSampleRate, &layout_, format_, rate_, 0, nullptr),
              kWhat);
    swr_.reset(made);
    av_opt_set_int(made, "filter_size", 64, 0);
    av_opt_set_double(made, "cutoff", 0.97, 0);
    av_opt_set_double(made, "rematrix_maxval", 1.0, 0);  // more than two channels mixed down do not overload
    av::Check(swr_init(made), kWhat);
}

bool Resampler::Takes(const AVFrame& frame) const {
    return frame.format == format_ && frame.sample_rate == rate_ && frame.ch_layout.nb_channels == sourceChannels_;
}

void Resampler::Put(const AVFrame& frame, int skip, std::vector<float>& out) {
    const bool planar = av_sample_fmt_is_planar(format_) != 0;
    const int planes = planar ? sourceChannels_ : 1;
    const int stride = av_get_bytes_per_sample(format_) * (planar ? 1 : sourceChannels_);
    std::vector<const std::uint8_t*> data(frame.extended_data, frame.extended_data + planes);
    for (const std::uint8_t*& plane : data) plane += std::ptrdiff_t{skip} * stride;
    Convert(data.data(), frame.nb_samples - skip, out);
}

void Resampler::PutSilence(int samples, std::vector<float>& out) {
    const av::Frame silence = av::NewFrame();
    silence->format = format_;
    silence->nb_samples = std::min(samples, rate_);
    av::Check(av_channel_layout_copy(&silence->ch_layout, &layout_), kWhat);
    av::Check(av_frame_get_buffer(silence.get(), 0), kWhat);
    av_samples_set_silence(silence->extended_data, 0, silence->nb_samples, sourceChannels_, format_);
    Convert(silence->extended_data, silence->nb_samples, out);
}

void Resampler::Convert(const std::uint8_t* const* data, int samples, std::vector<float>& out) {
    const int most = av::Check(swr_get_out_samples(swr_.get(), samples), kWhat);
    inner_.resize(static_cast<std::size_t>(most) * static_cast<std::size_t>(innerChannels_));
    auto* into = reinterpret_cast<std::uint8_t*>(inner_.data());
    auto** from = const_cast<const std::uint8_t**>(data);  // NOLINT(*-const-cast): the call only reads
    const int count = av::Check(swr_convert(swr_.get(), &into, most, from, samples), kWhat);
    if (data != nullptr) samplesIn_ += samples;
    Add(inner_.data(), count, out);
}

void Resampler::Add(const float* samples, std::int64_t count, std::vector<float>& out) {
    samplesOut_ += count;
    const auto values = static_cast<std::size_t>(count * innerChannels_);
    if (innerChannels_ == channels_) {
        out.insert(out.end(), samples, samples + values);
    } else if (channels_ == 2) {
        for (std::size_t i = 0; i < values; ++i) out.insert(out.end(), 2, samples[i]);
    } else {
        for (std::size_t i = 0; i < values; i += 2) out.push_back((samples[i] + samples[i + 1]) / 2);
    }
}

void Resampler::Finish(std::vector<float>& out) {
    const std::int64_t wanted = av_rescale(samplesIn_, kSampleRate, rate_);
    const std::size_t before = out.size();
    const std::int64_t beforeCount = samplesOut_;
    Convert(nullptr, 0, out);
    out.resize(before + static_cast<std::size_t>(std::max<std::int64_t>(0, wanted - beforeCount) * channels_));
    samplesOut_ = wanted;
}

}  // namespace qv
