// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/Jpeg.h"

#include <algorithm>

#include "av/Av.h"
#include "io/Files.h"

namespace qv {

namespace {

/// The largest size of the same shape that fits, rounded to whole pixels.
void FitInto(int width, int height, int& maxWidth, int& maxHeight) {
    if (width <= maxWidth && height <= maxHeight) {
        maxWidth = width;
        maxHeight = height;
    } else if (static_cast<std::int64_t>(width) * maxHeight > static_cast<std::int64_t>(height) * maxWidth) {
        maxHeight = static_cast<int>(av_rescale(height, maxWidth, width));
    } else {
        maxWidth = static_cast<int>(av_rescale(width, maxHeight, height));
    }
    maxWidth = std::max(1, maxWidth);
    maxHeight = std::max(1, maxHeight);
}

/// A copy in the full-range BT.601 colours that every JPEG reader takes for granted.
av::Frame Shrink(const AVFrame& from, int maxWidth, int maxHeight) {
    FitInto(from.width, from.height, maxWidth, maxHeight);
    av::Frame small = av::NewPictureFrame(AV_PIX_FMT_YUVJ420P, maxWidth, maxHeight);
    small->color_range = AVCOL_RANGE_JPEG;
    small->colorspace = AVCOL_SPC_BT470BG;
    av::PictureScaler(SWS_AREA).Scale(from, *small);
    return small;
}

av::Packet EncodeJpeg(AVFrame& frame, const std::filesystem::path& path) {
    constexpr int kQuality = 2 * FF_QP2LAMBDA;  // of 1 (best) to 31
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    if (encoder == nullptr) throw MediaError(path, "no JPEG encoder is installed");
    const av::Codec context = av::NewCodec(encoder);
    context->width = frame.width;
    context->height = frame.height;
    context->pix_fmt = AV_PIX_FMT_YUVJ420P;
    context->color_range = AVCOL_RANGE_JPEG;
    context->time_base = {1, 1};
    context->thread_count = 1;
    context->flags |= AV_CODEC_FLAG_QSCALE;
    context->global_quality = kQuality;
    av::Check(avcodec_open2(context.get(), encoder, nullptr), path);
    frame.quality = kQuality;
    frame.pts = 0;
    av::Check(avcodec_send_frame(context.get(), &frame), path);
    av::Check(avcodec_send_frame(context.get(), nullptr), path);
    av::Packet packet = av::NewPacket();
    av::Check(avcodec_receive_packet(context.get(), packet.get()), path);
    return packet;
}

av::Packet ReadWhole(const std::filesystem::path& path) {
    constexpr std::int64_t kMostBytes = 1 << 28;
    const ReadFile file(path);
    if (file.Size() == 0) throw MediaError(path, "the file is empty");
    if (file.Size() > kMostBytes) throw MediaError(path, "too large for a picture");
    av::Packet packet = av::NewPacket();
    av::Check(av_new_packet(packet.get(), static_cast<int>(file.Size())), path);
    const std::size_t read = file.ReadAt(0, {packet->data, static_cast<std::size_t>(packet->size)});
    av_shrink_packet(packet.get(), static_cast<int>(read));
    return packet;
}

av::Frame DecodeBmp(const std::filesystem::path& path) {
    const av::Packet packet = ReadWhole(path);
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_BMP);
    if (decoder == nullptr) throw MediaError(path, "no BMP decoder is installed");
    const av::Codec context = av::NewCodec(decoder);
    context->thread_count = 1;
    av::Check(avcodec_open2(context.get(), decoder, nullptr), path);
    av::Check(avcodec_send_packet(context.get(), packet.get()), path);
    av::Frame frame = av::NewFrame();
    av::Check(avcodec_receive_frame(context.get(), frame.get()), path);
    return frame;
}

}  // namespace

void WriteJpeg(const Picture& picture, int maxWidth, int maxHeight, const std::filesystem::path& path) {
    const av::Frame small = Shrink(*picture.frame, maxWidth, maxHeight);
    const av::Packet jpeg = EncodeJpeg(*small, path);
    NewFile file(path);
    file.Append({jpeg->data, static_cast<std::size_t>(jpeg->size)});
    file.Commit();
}

void BmpResizeImage(const std::filesystem::path& bmp, const std::filesystem::path& jpg) {
    WriteJpeg({std::shared_ptr<const AVFrame>(DecodeBmp(bmp)), 0}, kThumbWidth, kThumbHeight, jpg);
}

}  // namespace qv
