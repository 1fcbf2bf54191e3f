// SPDX-License-Identifier: GPL-3.0-or-later
#include "av/Av.h"

#include <array>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>

namespace qv::av {

std::string ErrorText(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

int Check(int result, const std::filesystem::path& file) {
    if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (result < 0) throw MediaError(file, ErrorText(result));
    return result;
}

Packet NewPacket() {
    Packet packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    return packet;
}

Frame NewFrame() {
    Frame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    return frame;
}

Frame NewPictureFrame(AVPixelFormat format, int width, int height) {
    Frame frame = NewFrame();
    frame->format = format;
    frame->width = width;
    frame->height = height;
    Check(av_frame_get_buffer(frame.get(), 0), "picture");
    return frame;
}

Codec NewCodec(const AVCodec* codec) {
    SilenceLog();
    Codec context(avcodec_alloc_context3(codec));
    if (!context) throw std::bad_alloc();
    return context;
}

void SetExtradata(AVCodecContext& codec, const std::uint8_t* data, std::size_t size) {
    av_freep(&codec.extradata);
    codec.extradata_size = 0;
    if (size == 0) return;
    if (size > std::numeric_limits<int>::max() - AV_INPUT_BUFFER_PADDING_SIZE) throw std::bad_alloc();
    codec.extradata = static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (codec.extradata == nullptr) throw std::bad_alloc();
    std::memcpy(codec.extradata, data, size);
    codec.extradata_size = static_cast<int>(size);
}

AVPixelFormat WithRangeTold(AVPixelFormat format) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P:
            return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P:
            return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P:
            return AV_PIX_FMT_YUV444P;
        case AV_PIX_FMT_YUVJ440P:
            return AV_PIX_FMT_YUV440P;
        default:
            return format;
    }
}

bool IsFullRange(const AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    return frame.color_range == AVCOL_RANGE_JPEG || WithRangeTold(format) != format;
}

namespace {

const int* ScaleMatrix(const AVFrame& frame) {
    const int unspecified = frame.height >= 720 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    switch (frame.colorspace) {
        case AVCOL_SPC_BT709:
            return sws_getCoefficients(SWS_CS_ITU709);
        case AVCOL_SPC_FCC:
            return sws_getCoefficients(SWS_CS_FCC);
        case AVCOL_SPC_SMPTE240M:
            return sws_getCoefficients(SWS_CS_SMPTE240M);
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL:
            return sws_getCoefficients(SWS_CS_BT2020);
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
            return sws_getCoefficients(SWS_CS_ITU601);
        default:
            return sws_getCoefficients(unspecified);
    }
}

}  // namespace

void PictureScaler::Scale(const AVFrame& from, AVFrame& to) {
    const std::array<int, 10> kind{from.width, from.height, from.format, from.colorspace, IsFullRange(from) ? 1 : 0,
                                   to.width,   to.height,   to.format,   to.colorspace,   IsFullRange(to) ? 1 : 0};
    if (!scaler_ || kind != kind_) {
        SilenceLog();
        scaler_.reset(sws_getContext(from.width, from.height, WithRangeTold(static_cast<AVPixelFormat>(from.format)),
                                     to.width, to.height, WithRangeTold(static_cast<AVPixelFormat>(to.format)),
                                     filter_ | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
        if (!scaler_) throw MediaError("picture", "pixel format cannot be converted");
        constexpr int kUnity = 1 << 16;
        sws_setColorspaceDetails(scaler_.get(), ScaleMatrix(from), IsFullRange(from), ScaleMatrix(to), IsFullRange(to),
                                 0, kUnity, kUnity);
        kind_ = kind;
    }
    Check(sws_scale(scaler_.get(), from.data, from.linesize, 0, from.height, to.data, to.linesize), "picture");
}

void SilenceLog() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

}  // namespace qv::av
