// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Media.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "av/Av.h"
#include "support/Containers.h"

namespace support {

namespace {

constexpr int kFirstBrightness = 20;
constexpr int kBrightnessStep = 4;

struct Plane {
    const std::uint8_t* data = nullptr;
    std::ptrdiff_t lineBytes = 0;
    int width = 0;
    int height = 0;
    int bytes = 1;  ///< per sample
    int depth = 8;

    [[nodiscard]] int At(int x, int y) const {
        const std::uint8_t* place = data + y * lineBytes + static_cast<std::ptrdiff_t>(x) * bytes;
        if (bytes == 1) return *place;
        std::uint16_t value = 0;
        std::memcpy(&value, place, sizeof value);
        return value;
    }
    void Set(int x, int y, int value) const {
        auto* place = const_cast<std::uint8_t*>(data) + y * lineBytes + static_cast<std::ptrdiff_t>(x) * bytes;
        const auto wide = static_cast<std::uint16_t>(value);
        bytes == 1 ? void(*place = static_cast<std::uint8_t>(value)) : void(std::memcpy(place, &wide, sizeof wide));
    }
};

Plane PlaneOf(const AVFrame& frame, int plane) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const int shiftX = plane == 0 ? 0 : format.log2_chroma_w;
    const int shiftY = plane == 0 ? 0 : format.log2_chroma_h;
    return {frame.data[plane],
            frame.linesize[plane],
            AV_CEIL_RSHIFT(frame.width, shiftX),
            AV_CEIL_RSHIFT(frame.height, shiftY),
            format.comp[plane].depth > 8 ? 2 : 1,
            format.comp[plane].depth};
}

/// Brightness 0 to 255 of a slide's point.
int Ink(int x, int y, int step) {
    const int pointerX = 40 + 7 * step;
    const int pointerY = 30 + 4 * step;
    const bool pointer = x >= pointerX && y >= pointerY && x - pointerX <= (y - pointerY) * 2 / 3 && y - pointerY < 20;
    if (pointer) return 20;
    const bool textLine = y % 32 > 8 && y % 32 < 24 && x % 400 > 30;
    const bool stroke = (x * 7 + y / 8 * 13) % 17 < 4 || (y % 32 == 16 && x % 11 < 6);
    if (textLine && stroke) return 40;
    return x > 400 ? 150 + (x + y) % 256 / 4 : 235;
}

}  // namespace

std::filesystem::path MakeMedia(const std::filesystem::path& folder, const std::string& name, const std::string& args) {
    std::filesystem::path file = folder / name;
    Output("ffmpeg -v error -nostdin -y " + args + " " + Quoted(file) + " 2>&1");
    return file;
}

std::string NumberedPictures(int count, const std::string& size) {
    return "-f lavfi -i \"color=black:s=" + size + ":r=30,trim=end_frame=" + std::to_string(count) +
           ",geq=lum='20+4*mod(N,50)':cb=128:cr=128\" ";
}

int NumberOn(const qv::Picture& picture) {
    const Plane luma = PlaneOf(*picture.frame, 0);
    double sum = 0;
    for (int y = 0; y < luma.height; ++y) {
        for (int x = 0; x < luma.width; ++x) sum += luma.At(x, y);
    }
    double mean = sum / (luma.width * luma.height);
    if (qv::av::IsFullRange(*picture.frame)) mean = 16 + mean * 219 / 255;
    return static_cast<int>(std::lround((mean - kFirstBrightness) / kBrightnessStep));
}

qv::Picture DrawSlide(int width, int height, int format, int step) {
    qv::av::Frame frame = qv::av::NewPictureFrame(static_cast<AVPixelFormat>(format), width, height);
    for (int p = 0; p < 3; ++p) {
        const Plane plane = PlaneOf(*frame, p);
        const int scale = 1 << (plane.depth - 8);
        for (int y = 0; y < plane.height; ++y) {
            for (int x = 0; x < plane.width; ++x) {
                plane.Set(x, y, (p == 0 ? Ink(x, y, step) : 100 + 40 * p + x % 64 / 8) * scale);
            }
        }
    }
    return {std::shared_ptr<const AVFrame>(std::move(frame)), 0};
}

double Psnr(const AVFrame& a, const AVFrame& b) {
    double worst = 99;
    for (int p = 0; p < 3; ++p) {
        const Plane left = PlaneOf(a, p);
        const Plane right = PlaneOf(b, p);
        double squares = 0;
        for (int y = 0; y < left.height; ++y) {
            for (int x = 0; x < left.width; ++x) squares += std::pow(left.At(x, y) - right.At(x, y), 2);
        }
        const double peak = (1 << left.depth) - 1;
        const double mean = squares / (static_cast<double>(left.width) * left.height);
        if (mean > 0) worst = std::min(worst, 10 * std::log10(peak * peak / mean));
    }
    return worst;
}

}  // namespace support
