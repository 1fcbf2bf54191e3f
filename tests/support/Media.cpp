// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Media.h"

#include <cmath>
#include <numeric>

#include "av/Av.h"
#include "support/Containers.h"

namespace support {

namespace {

constexpr int kFirstBrightness = 20;
constexpr int kBrightnessStep = 4;

/// Calls visit(place, x, y, depth) for every sample of a plane; place has one byte, or two when depth is above 8.
template <typename Visit>
void ForEachSample(const AVFrame& frame, int plane, const Visit& visit) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const int width = AV_CEIL_RSHIFT(frame.width, plane == 0 ? 0 : format.log2_chroma_w);
    const int height = AV_CEIL_RSHIFT(frame.height, plane == 0 ? 0 : format.log2_chroma_h);
    const int depth = format.comp[plane].depth;
    for (int y = 0; y < height; ++y) {
        std::uint8_t* place = frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
        for (int x = 0; x<width; ++x, place += depth> 8 ? 2 : 1) visit(place, x, y, depth);
    }
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

void Damage(const std::filesystem::path& file, std::size_t count) {
    auto bytes = ReadBytes(file);
    const std::size_t from = bytes.size() / 3;
    for (std::size_t i = from; i < from + count; ++i) bytes.at(i) = static_cast<std::uint8_t>(i * 37);
    WriteBytes(file, bytes);
}

std::string NumberedPictures(int count, const std::string& size) {
    return "-f lavfi -i \"color=black:s=" + size + ":r=30,trim=end_frame=" + std::to_string(count) +
           ",geq=lum='20+4*mod(N,50)':cb=128:cr=128\" ";
}

int NumberOn(const qv::Picture& picture) {
    const auto luma = Samples(*picture.frame, 0);
    double mean = std::accumulate(luma.begin(), luma.end(), 0.0) / static_cast<double>(luma.size());
    if (qv::av::IsFullRange(*picture.frame)) mean = 16 + mean * 219 / 255;
    return static_cast<int>(std::lround((mean - kFirstBrightness) / kBrightnessStep));
}

qv::Picture DrawSlide(int width, int height, int format, int step) {
    qv::av::Frame frame = qv::av::NewPictureFrame(static_cast<AVPixelFormat>(format), width, height);
    for (int plane = 0; plane < 3; ++plane) {
        ForEachSample(*frame, plane, [&](std::uint8_t* place, int x, int y, int depth) {
            const int value = (plane == 0 ? Ink(x, y, step) : 100 + 40 * plane + x % 64 / 8) << (depth - 8);
            place[0] = static_cast<std::uint8_t>(value);
            if (depth > 8) place[1] = static_cast<std::uint8_t>(value >> 8);
        });
    }
    return {std::shared_ptr<const AVFrame>(std::move(frame)), 0};
}

std::vector<std::uint8_t> Samples(const AVFrame& frame, int plane) {
    std::vector<std::uint8_t> samples;
    ForEachSample(frame, plane, [&](const std::uint8_t* place, int, int, int depth) {
        const int value = depth > 8 ? place[0] | place[1] << 8 : place[0];
        samples.push_back(static_cast<std::uint8_t>(value >> (depth - 8)));
    });
    return samples;
}

}  // namespace support
