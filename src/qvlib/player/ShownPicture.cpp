// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/ShownPicture.h"

#include <algorithm>
#include <cstring>

#include "av/Av.h"
#include "player/Shown.h"

namespace qv {

namespace {

constexpr std::ptrdiff_t kPixelBytes = 4;

/// Scales into its own memory, which is kept for the next picture of the same size.
class Canvas {
public:
    /// @throws MediaError when the picture cannot be converted
    const AVFrame& Draw(const AVFrame& picture, PictureDim size) {
        if (!frame_ || frame_->width != size.width || frame_->height != size.height) {
            frame_ = av::NewPictureFrame(AV_PIX_FMT_BGRA, size.width, size.height);
            frame_->color_range = AVCOL_RANGE_JPEG;
        }
        scaler_.Scale(picture, *frame_);
        return *frame_;
    }

private:
    av::Frame frame_;
    av::PictureScaler scaler_{SWS_BILINEAR};
};

bool IsSamePlane(const AVFrame& a, const AVFrame& b, int plane) {
    const auto format = static_cast<AVPixelFormat>(a.format);
    const int shift = plane == 1 || plane == 2 ? av_pix_fmt_desc_get(format)->log2_chroma_h : 0;
    const auto bytes = static_cast<std::size_t>(std::max(0, av_image_get_linesize(format, a.width, plane)));
    for (std::ptrdiff_t y = 0; y < AV_CEIL_RSHIFT(a.height, shift); ++y)
        if (std::memcmp(a.data[plane] + y * a.linesize[plane], b.data[plane] + y * b.linesize[plane], bytes) != 0)
            return false;
    return true;
}

}  // namespace

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

bool LooksLike(const Picture& picture, const Picture& other) {
    if (!picture.frame || !other.frame) return false;
    const AVFrame& a = *picture.frame;
    const AVFrame& b = *other.frame;
    if (&a == &b) return true;
    if (a.format != b.format || a.width != b.width || a.height != b.height || a.colorspace != b.colorspace ||
        av::IsFullRange(a) != av::IsFullRange(b)) {
        return false;
    }
    const int planes = av_pix_fmt_count_planes(static_cast<AVPixelFormat>(a.format));
    for (int plane = 0; plane < planes; ++plane)
        if (!IsSamePlane(a, b, plane)) return false;
    return planes > 0;
}

bool DrawBgra(const ShownPicture& picture, const BgraTarget& target) {
    const auto [width, height] = target.size;
    if (!picture.owner || width <= 0 || height <= 0 || target.stride < width * kPixelBytes) return false;
    if (static_cast<std::ptrdiff_t>(target.bytes.size()) < (height - 1) * target.stride + width * kPixelBytes)
        return false;
    try {
        thread_local Canvas canvas;
        const AVFrame& drawn = canvas.Draw(*static_cast<const AVFrame*>(picture.owner.get()), target.size);
        for (int y = 0; y < height; ++y)
            std::copy_n(drawn.data[0] + std::ptrdiff_t{y} * drawn.linesize[0], width * kPixelBytes,
                        target.bytes.data() + y * target.stride);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace qv
