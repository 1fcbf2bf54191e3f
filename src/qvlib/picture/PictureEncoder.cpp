// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <deque>
#include <thread>

#include "av/Av.h"
#include "av/Bitstream.h"
#include "picture/PictureCodec.h"

namespace qv {

namespace {

constexpr int kMostThreads = 4;

/// Keys come where they are asked for and nowhere else: an interval longer than any piece.
constexpr int kNoKeysOfItsOwn = 1 << 20;

/// Quantizers that keep even grainy pictures above 40 dB; slides come out far above that.
constexpr int kVp8Quantizer = 7;
constexpr int kVp9Quantizer = 12;
constexpr int kAv1Quantizer = 12;
constexpr int kH264Quantizer = 19;

const AVCodec* FindEncoder(PictureCodec codec) {
    const char* name = nullptr;
    switch (codec) {
        case PictureCodec::Vp8:
            name = "libvpx";
            break;
        case PictureCodec::Vp9:
            name = "libvpx-vp9";
            break;
        case PictureCodec::Av1:
            name = "libaom-av1";
            break;
        case PictureCodec::H264:
            name = "libx264";
            break;
    }
    const AVCodec* found = avcodec_find_encoder_by_name(name);
    if (found == nullptr) throw MediaError(CodecIdOf(codec), std::string("the encoder ") + name + " is not installed");
    return found;
}

/// The picture's own format where the encoder takes it, otherwise the one that every player knows.
AVPixelFormat ChooseFormat(const AVCodec& encoder, AVPixelFormat picture) {
    const AVPixelFormat wanted = av::WithRangeTold(picture);
    for (const AVPixelFormat* format = encoder.pix_fmts; format != nullptr && *format != AV_PIX_FMT_NONE; ++format) {
        if (*format == wanted) return wanted;
    }
    return AV_PIX_FMT_YUV420P;
}

AVColorRange RangeOf(const AVFrame& frame) { return av::IsFullRange(frame) ? AVCOL_RANGE_JPEG : frame.color_range; }

void SetVpxOptions(av::Options& options, int quantizer) {
    options.Set("deadline", "realtime");
    options.Set("lag-in-frames", 0);
    options.Set("auto-alt-ref", 0);
    options.Set("qmin", quantizer);
    options.Set("qmax", quantizer);
}

void SetVp9Options(av::Options& options) {
    SetVpxOptions(options, kVp9Quantizer);
    options.Set("cpu-used", 8);
    options.Set("crf", kVp9Quantizer);
    options.Set("row-mt", 1);
    options.Set("tile-columns", 2);
    options.Set("tune-content", "screen");
}

void SetAv1Options(av::Options& options, int width) {
    constexpr int kEnoughForTwoTiles = 256;
    options.Set("usage", "realtime");
    options.Set("cpu-used", 8);
    options.Set("lag-in-frames", 0);
    options.Set("row-mt", 1);
    if (width >= kEnoughForTwoTiles) options.Set("tile-columns", 1);
    options.Set("crf", kAv1Quantizer);
    options.Set("qmin", kAv1Quantizer);
    options.Set("qmax", kAv1Quantizer);
}

/// The first id above 0 that no parameter set of the track has: what is copied around the piece must find its own.
int FreeParameterSetId(const PictureFormat& like) {
    constexpr std::uint32_t kHighest = 31;
    const ParameterSets taken = ParameterSetsOf(like.codecPrivate);
    const auto isTaken = [&](std::uint32_t id) {
        const auto has = [&](const Bytes& set) { return ParameterSetId(set) == id; };
        return std::any_of(taken.sps.begin(), taken.sps.end(), has) ||
               std::any_of(taken.pps.begin(), taken.pps.end(), has);
    };
    std::uint32_t id = 1;
    while (id < kHighest && isTaken(id)) ++id;
    return static_cast<int>(id);
}

void SetH264Options(av::Options& options, const PictureFormat& like) {
    std::string own = "annexb=1:repeat-headers=1:scenecut=0:bframes=0:rc-lookahead=0:sync-lookahead=0";
    own += ":sps-id=" + std::to_string(FreeParameterSetId(like));
    if (NalLengthSize(like.codecPrivate) <= 2) own += ":slice-max-size=50000";
    options.Set("preset", "veryfast");
    options.Set("forced-idr", 1);
    options.Set("qp", kH264Quantizer);
    options.Set("x264-params", own);
}

void SetOptions(av::Options& options, AVCodecContext& context, const PictureFormat& like) {
    switch (like.codec) {
        case PictureCodec::Vp8:
            SetVpxOptions(options, kVp8Quantizer);
            options.Set("cpu-used", -12);      // below zero: a fixed speed, not one that follows the machine's load
            context.bit_rate = 1'000'000'000;  // the quantizer alone decides
            break;
        case PictureCodec::Vp9:
            SetVp9Options(options);
            break;
        case PictureCodec::Av1:
            SetAv1Options(options, context.width);
            break;
        case PictureCodec::H264:
            SetH264Options(options, like);
            break;
    }
}

av::Codec OpenEncoder(const PictureFormat& like, const AVFrame& first) {
    const AVCodec* encoder = FindEncoder(like.codec);
    av::Codec context = av::NewCodec(encoder);
    context->width = first.width;
    context->height = first.height;
    context->pix_fmt = ChooseFormat(*encoder, static_cast<AVPixelFormat>(first.format));
    context->time_base = {1, 1000};
    context->framerate = {30, 1};
    context->sample_aspect_ratio = first.sample_aspect_ratio;
    context->color_range = RangeOf(first);
    context->colorspace = first.colorspace;
    context->color_primaries = first.color_primaries;
    context->color_trc = first.color_trc;
    context->chroma_sample_location = first.chroma_location;
    context->gop_size = kNoKeysOfItsOwn;
    context->keyint_min = kNoKeysOfItsOwn;
    context->max_b_frames = 0;
    // The threads of VP8 wait for one another in loops: on a busy machine they take many times as long as one.
    const bool alone = like.codec == PictureCodec::Vp8;
    context->thread_count =
        alone ? 1 : std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
    av::Options options;
    SetOptions(options, *context, like);
    av::Check(avcodec_open2(context.get(), encoder, options.Get()), CodecIdOf(like.codec) + " encoder");
    return context;
}

}  // namespace

struct PictureEncoder::Impl {
    PictureFormat like;
    av::Codec context;
    std::deque<PicturePacket> ready;
    av::PictureScaler scaler{SWS_BICUBIC};
    bool first = true;

    /// The frame as the encoder wants it; without a copy where it is that already.
    [[nodiscard]] av::Frame Fit(const AVFrame& from) {
        av::Frame frame = av::NewFrame();
        const bool fits = from.width == context->width && from.height == context->height &&
                          av::WithRangeTold(static_cast<AVPixelFormat>(from.format)) == context->pix_fmt;
        if (fits) {
            av::Check(av_frame_ref(frame.get(), &from), "picture");
        } else {
            frame = av::NewPictureFrame(context->pix_fmt, context->width, context->height);
            frame->color_range = context->color_range;
            frame->colorspace = context->colorspace;
            scaler.Scale(from, *frame);
        }
        frame->format = context->pix_fmt;
        frame->color_range = context->color_range;
        return frame;
    }

    void Push(const AVFrame* frame) {
        av::Check(avcodec_send_frame(context.get(), frame), CodecIdOf(like.codec) + " encoder");
        const av::Packet packet = av::NewPacket();
        for (;;) {
            const int result = avcodec_receive_packet(context.get(), packet.get());
            if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
            av::Check(result, CodecIdOf(like.codec) + " encoder");
            Keep(*packet);
            av_packet_unref(packet.get());
        }
    }

    void Keep(const AVPacket& packet) {
        const ByteView data(packet.data, static_cast<std::size_t>(packet.size));
        PicturePacket out;
        out.time = static_cast<Ms>(packet.pts);
        out.key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
        if (like.codec == PictureCodec::H264) {
            const int lengthSize = NalLengthSize(like.codecPrivate);
            for (const ByteView nal : SplitAnnexB(data)) AppendNal(out.data, nal, lengthSize);
        } else if (like.codec == PictureCodec::Av1) {
            out.data = WithoutTemporalDelimiters(data);
        } else {
            out.data.assign(data.begin(), data.end());
        }
        ready.push_back(std::move(out));
    }
};

PictureEncoder::PictureEncoder(const PictureFormat& like, const Picture& first) : impl_(std::make_unique<Impl>()) {
    impl_->like = like;
    impl_->context = OpenEncoder(like, *first.frame);
}

PictureEncoder::~PictureEncoder() = default;

void PictureEncoder::Send(const Picture& picture, Ms time, bool forceKey) {
    const av::Frame frame = impl_->Fit(*picture.frame);
    frame->pts = time;
    frame->pkt_dts = AV_NOPTS_VALUE;
    frame->pict_type = forceKey || impl_->first ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    frame->key_frame = 0;
    impl_->first = false;
    impl_->Push(frame.get());
}

void PictureEncoder::SendEnd() { impl_->Push(nullptr); }

std::optional<PicturePacket> PictureEncoder::Receive() {
    if (impl_->ready.empty()) return std::nullopt;
    PicturePacket packet = std::move(impl_->ready.front());
    impl_->ready.pop_front();
    return packet;
}

}  // namespace qv
