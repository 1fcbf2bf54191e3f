// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "av/Av.h"
#include "picture/Jpeg.h"
#include "support/Containers.h"
#include "support/Media.h"

namespace qv {
namespace {

using support::Output;
using support::Quoted;

std::string SizeOf(const std::filesystem::path& file) {
    return Output("ffprobe -v error -of csv=p=0 -show_entries stream=codec_name,width,height " + Quoted(file));
}

/// Mean red, green and blue of an image file, as another program decodes it.
std::vector<int> ColourOf(const std::filesystem::path& file) {
    const std::string bytes =
        Output("ffmpeg -v error -i " + Quoted(file) + " -vf scale=1:1:flags=area -f rawvideo -pix_fmt rgb24 -");
    std::vector<int> colour;
    for (const char byte : bytes) colour.push_back(static_cast<std::uint8_t>(byte));
    return colour;
}

TEST(PictureCodecJpeg, KeepsTheShapeWithinTheThumbnail) {
    struct Case {
        int width, height;
        const char* size;
    };
    const Case cases[] = {{1280, 720, "mjpeg,160,90\n"}, {1024, 768, "mjpeg,160,120\n"}, {720, 1280, "mjpeg,68,120\n"},
                          {1366, 768, "mjpeg,160,90\n"}, {341, 191, "mjpeg,160,90\n"},   {100, 50, "mjpeg,100,50\n"},
                          {1900, 10, "mjpeg,160,1\n"}};
    const auto folder = support::TestFolder();
    for (const Case& now : cases) {
        const auto file = folder / "0.jpg";
        WriteJpeg(support::DrawSlide(now.width, now.height, AV_PIX_FMT_YUV420P, 0), kThumbWidth, kThumbHeight, file);
        EXPECT_EQ(SizeOf(file), now.size) << now.width << "x" << now.height;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1) << "nothing is left beside it";
}

TEST(PictureCodecJpeg, ColoursOfBothRangesComeOutRight) {
    struct Case {
        const char* name;
        AVColorRange range;
        AVColorSpace space;
        int y, u, v;
        std::vector<int> rgb;
    };
    const Case cases[] = {
        {"white, limited", AVCOL_RANGE_MPEG, AVCOL_SPC_BT709, 235, 128, 128, {255, 255, 255}},
        {"white, full", AVCOL_RANGE_JPEG, AVCOL_SPC_BT709, 255, 128, 128, {255, 255, 255}},
        {"black, limited", AVCOL_RANGE_MPEG, AVCOL_SPC_BT709, 16, 128, 128, {0, 0, 0}},
        {"red, HD colours", AVCOL_RANGE_MPEG, AVCOL_SPC_BT709, 63, 102, 240, {255, 0, 0}},
        {"red, SD colours", AVCOL_RANGE_MPEG, AVCOL_SPC_SMPTE170M, 81, 90, 240, {255, 0, 0}},
    };
    const auto file = support::TestFolder() / "0.jpg";
    for (const Case& now : cases) {
        av::Frame frame = av::NewPictureFrame(AV_PIX_FMT_YUV420P, 320, 240);
        frame->color_range = now.range;
        frame->colorspace = now.space;
        const int values[] = {now.y, now.u, now.v};
        for (int plane = 0; plane < 3; ++plane) {
            const int lines = plane == 0 ? 240 : 120;
            memset(frame->data[plane], values[plane], static_cast<std::size_t>(frame->linesize[plane] * lines));
        }
        WriteJpeg({std::shared_ptr<const AVFrame>(std::move(frame)), 0}, kThumbWidth, kThumbHeight, file);
        const auto colour = ColourOf(file);
        ASSERT_EQ(colour.size(), 3U);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(colour[i], now.rgb[i], 4) << now.name;
    }
}

TEST(PictureCodecJpeg, BitmapBecomesAThumbnail) {
    const auto folder = support::TestFolder();
    for (const char* format : {"bgr24", "bgra", "rgb555le", "pal8", "gray"}) {
        const auto bmp =
            support::MakeMedia(folder, "page.bmp",
                               std::string("-f lavfi -i color=0x2060c0:s=640x400 ") + "-frames:v 1 -pix_fmt " + format);
        BmpResizeImage(bmp, folder / "page.jpg");
        EXPECT_EQ(SizeOf(folder / "page.jpg"), "mjpeg,160,100\n") << format;
        if (std::string(format) != "bgr24") continue;
        const auto colour = ColourOf(folder / "page.jpg");
        EXPECT_NEAR(colour[0], 0x20, 4);
        EXPECT_NEAR(colour[1], 0x60, 4);
        EXPECT_NEAR(colour[2], 0xc0, 4);
    }
}

TEST(PictureCodecJpeg, WhatIsNoBitmapLeavesTheOldThumbnail) {
    const auto folder = support::TestFolder();
    const auto jpg = folder / "0.jpg";
    support::WriteBytes(jpg, {1, 2, 3});
    support::WriteBytes(folder / "empty.bmp", {});
    support::WriteBytes(folder / "text.bmp", {'h', 'e', 'l', 'l', 'o'});
    const auto whole = support::MakeMedia(folder, "cut.bmp", "-f lavfi -i color=red:s=64x64 -frames:v 1");
    auto bytes = support::ReadBytes(whole);
    bytes.resize(40);
    support::WriteBytes(whole, bytes);
    for (const char* name : {"empty.bmp", "text.bmp", "cut.bmp", "missing.bmp"}) {
        EXPECT_THROW(BmpResizeImage(folder / name, jpg), MediaError) << name;
    }
    EXPECT_THROW(BmpResizeImage(folder, jpg), MediaError);
    EXPECT_EQ(support::ReadBytes(jpg), (std::vector<std::uint8_t>{1, 2, 3}));
    const Picture slide = support::DrawSlide(64, 48, AV_PIX_FMT_YUV420P, 0);
    EXPECT_THROW(WriteJpeg(slide, 160, 120, folder / "no folder" / "0.jpg"), MediaError);
}

}  // namespace
}  // namespace qv
