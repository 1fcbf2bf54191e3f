// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <deque>
#include <limits>

#include "av/Av.h"
#include "picture/PictureCodec.h"

namespace qv {

namespace {

const AVCodec* FindDecoder(PictureCodec codec) {
    const AVCodec* found = nullptr;
    switch (codec) {
        case PictureCodec::Vp8:
            found = avcodec_find_decoder(AV_CODEC_ID_VP8);
            break;
        case PictureCodec::Vp9:
            found = avcodec_find_decoder(AV_CODEC_ID_VP9);
            break;
        case PictureCodec::H264:
            found = avcodec_find_decoder(AV_CODEC_ID_H264);
            break;
        case PictureCodec::Av1:
            found = avcodec_find_decoder_by_name("libdav1d");
            if (found == nullptr) found = avcodec_find_decoder(AV_CODEC_ID_AV1);
            break;
    }
    if (found == nullptr) throw MediaError(CodecIdOf(codec), "no decoder for this codec is installed");
    return found;
}

/// An H.264 stream that does not tell how far its pictures are reordered makes the decoder guess, and drop what it
/// guessed wrong. In the strict mode it reckons with the most that the stream's level allows: later, but all there.
/// Baseline streams have no reordering and stay quick.
bool MayReorderUntold(const PictureFormat& format) {
    constexpr std::size_t kProfileByte = 1;
    constexpr std::uint8_t kBaseline = 66;
    if (format.codec != PictureCodec::H264) return false;
    return format.codecPrivate.size() <= kProfileByte || format.codecPrivate[kProfileByte] != kBaseline;
}

av::Codec OpenDecoder(const PictureFormat& format, int threads) {
    const AVCodec* decoder = FindDecoder(format.codec);
    av::Codec context = av::NewCodec(decoder);
    av::SetExtradata(*context, format.codecPrivate.data(), format.codecPrivate.size());
    context->width = format.width;
    context->height = format.height;
    context->thread_count = threads;
    context->pkt_timebase = {1, 1000};
    if (MayReorderUntold(format)) context->strict_std_compliance = FF_COMPLIANCE_STRICT;
    // In an H.264 decoder the flag would drop reordering; one thread is quick enough there.
    if (threads == 1 && format.codec != PictureCodec::H264) context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    av::Check(avcodec_open2(context.get(), decoder, nullptr), CodecIdOf(format.codec));
    return context;
}

}  // namespace

struct PictureDecoder::Impl {
    av::Codec context;
    av::Packet packet = av::NewPacket();
    std::deque<Picture> ready;
    int damaged = 0;

    /// Takes what the decoder has finished. A refused packet may surface here, with several threads some calls later.
    void Collect() {
        for (;;) {
            av::Frame frame = av::NewFrame();
            const int result = avcodec_receive_frame(context.get(), frame.get());
            if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
            if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
            if (result < 0) {
                ++damaged;
                continue;
            }
            const std::int64_t time = frame->pts != AV_NOPTS_VALUE ? frame->pts : frame->best_effort_timestamp;
            ready.push_back({std::shared_ptr<const AVFrame>(std::move(frame)), static_cast<Ms>(time)});
        }
    }

    /// @param sent nullptr marks the end
    void Push(const AVPacket* sent) {
        int result = avcodec_send_packet(context.get(), sent);
        if (result == AVERROR(EAGAIN)) {
            Collect();
            result = avcodec_send_packet(context.get(), sent);
        }
        if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
        if (result < 0 && result != AVERROR_EOF) ++damaged;
        Collect();
    }
};

PictureDecoder::PictureDecoder(const PictureFormat& format, int threads) : impl_(std::make_unique<Impl>()) {
    impl_->context = OpenDecoder(format, threads);
}

PictureDecoder::~PictureDecoder() = default;

void PictureDecoder::Send(Ms time, bool key, std::span<const std::uint8_t> data) {
    if (data.empty()) {  // to the codec an empty packet would mean the end
        ++impl_->damaged;
        return;
    }
    AVPacket* packet = impl_->packet.get();
    if (data.size() > std::numeric_limits<int>::max() - AV_INPUT_BUFFER_PADDING_SIZE) throw std::bad_alloc();
    if (av_new_packet(packet, static_cast<int>(data.size())) < 0) throw std::bad_alloc();
    std::copy(data.begin(), data.end(), packet->data);
    packet->pts = time;
    if (key) packet->flags |= AV_PKT_FLAG_KEY;
    impl_->Push(packet);
    av_packet_unref(packet);
}

void PictureDecoder::SendEnd() { impl_->Push(nullptr); }

std::optional<Picture> PictureDecoder::Receive() {
    if (impl_->ready.empty()) return std::nullopt;
    Picture picture = std::move(impl_->ready.front());
    impl_->ready.pop_front();
    return picture;
}

void PictureDecoder::Reset() {
    avcodec_flush_buffers(impl_->context.get());
    impl_->ready.clear();
}

int PictureDecoder::Damaged() const { return impl_->damaged; }

}  // namespace qv
