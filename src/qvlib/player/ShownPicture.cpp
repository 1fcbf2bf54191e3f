// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/ShownPicture.h"

#include "av/Av.h"
#include "player/Shown.h"

namespace qv {

ShownPicture ToShown(const Picture& picture, Ms pos) {
    const AVFrame& frame = *picture.frame;
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    ShownPicture shown{.pos = pos, .size = {frame.width, frame.height}, .owner = picture.frame};
    if (format == nullptr) return shown;
    shown.planeCount = std::min(3, av_pix_fmt_count_planes(static_cast<AVPixelFormat>(frame.format)));
    for (std::size_t plane = 0; plane < static_cast<std::size_t>(shown.planeCount); ++plane) {
        shown.planes.at(plane) = frame.data[plane];
        shown.strides.at(plane) = frame.linesize[plane];
    }
    shown.chromaShiftX = format->log2_chroma_w;
    shown.chromaShiftY = format->log2_chroma_h;
    shown.bits = format->comp[0].depth;
    shown.isRgb = (format->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    shown.isFullRange = av::IsFullRange(frame);
    return shown;
}

bool DrawBgra(const ShownPicture& picture, const BgraTarget& target) {
    constexpr std::ptrdiff_t kPixelBytes = 4;
    const auto [width, height] = target.size;
    if (!picture.owner || width <= 0 || height <= 0 || target.stride < width * kPixelBytes) return false;
    if (static_cast<std::ptrdiff_t>(target.bytes.size()) < (height - 1) * target.stride + width * kPixelBytes)
        return false;
    try {
        const av::Frame drawn = av::NewFrame();
        drawn->format = AV_PIX_FMT_BGRA;
        drawn->width = width;
        drawn->height = height;
        drawn->color_range = AVCOL_RANGE_JPEG;
        drawn->data[0] = target.bytes.data();
        drawn->linesize[0] = static_cast<int>(target.stride);
        thread_local av::PictureScaler scaler(SWS_BILINEAR);
        scaler.Scale(*static_cast<const AVFrame*>(picture.owner.get()), *drawn);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace qv
