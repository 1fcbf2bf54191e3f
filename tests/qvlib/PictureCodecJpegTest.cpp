// SPDX-License-Identifier: GPL-3.0-or-later

#include "av/Av.h"
#include "picture/Jpeg.h"
#include "support/Media.h"

namespace qv {
namespace {

using support::Output;
using support::Quoted;

std::string SizeOf(const std::filesystem::path& file) {
    return Output("ffprobe -v error -of csv=p=0 -show_entries stream=codec_name,width,height " + Quoted(file));
}

/// Mean red, green and blue of an image file, as another program decodes it.
void ExpectColour(const std::filesystem::path& file, const std::vector<int>& rgb) {
    const std::string bytes =
        Output("ffmpeg -v error -i " + Quoted(file) + " -vf scale=1:1:flags=area -f rawvideo -pix_fmt rgb24 -");
    ASSERT_EQ(bytes.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(static_cast<std::uint8_t>(bytes[i]), rgb[i], 8);
}

TEST(PictureCodecJpeg, KeepsTheShapeWithinTheThumbnail) {
    const std::tuple<int, int, std::string> cases[] = {
        {1024, 768, "160,120"}, {720, 1280, "68,120"}, {1366, 768, "160,90"}, {100, 50, "100,50"}, {1900, 10, "160,1"}};
    const auto folder = support::TestFolder();
    for (const auto& [width, height, size] : cases) {
        const auto file = folder / "0.jpg";
        WriteJpeg(support::DrawSlide(width, height, AV_PIX_FMT_YUV420P, 0), kThumbWidth, kThumbHeight, file);
        EXPECT_EQ(SizeOf(file), "mjpeg," + size + "\n") << width << "x" << height;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1) << "nothing is left beside it";
}

TEST(PictureCodecJpeg, BitmapBecomesAThumbnail) {
    const auto folder = support::TestFolder();
    for (const std::string format : {"bgr24", "bgra", "rgb555le", "pal8"}) {
        const std::string args = "-f lavfi -i color=0xff0000:s=640x400 -frames:v 1 -pix_fmt " + format;
        BmpResizeImage(support::MakeMedia(folder, "page.bmp", args), folder / "page.jpg");
        EXPECT_EQ(SizeOf(folder / "page.jpg"), "mjpeg,160,100\n") << format;
        ExpectColour(folder / "page.jpg", {255, 0, 0});
    }
}

TEST(PictureCodecJpeg, WhatIsNoBitmapLeavesTheOldThumbnail) {
    const auto folder = support::TestFolder();
    const auto jpg = folder / "0.jpg";
    support::WriteBytes(jpg, {1, 2, 3});
    const auto cut = support::MakeMedia(folder, "cut.bmp", "-f lavfi -i color=red:s=64x64 -frames:v 1");
    std::filesystem::resize_file(cut, 40);
    for (const auto& bad : {jpg, cut, folder / "missing.bmp", folder})
        EXPECT_THROW(BmpResizeImage(bad, jpg), MediaError) << bad;
    EXPECT_EQ(support::ReadBytes(jpg), (std::vector<std::uint8_t>{1, 2, 3}));
}

}  // namespace
}  // namespace qv
