// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "picture/PictureCodec.h"
#include "qvlib/Engine.h"
#include "qvlib/Rows.h"
#include "support/Basics.h"

struct AVFrame;

/// Media files and pictures made for tests.
namespace support {

/// Has ffmpeg make folder/name of these arguments.
/// @throws std::runtime_error with ffmpeg's words
std::filesystem::path MakeMedia(const std::filesystem::path& folder, const std::string& name, const std::string& args);

inline const std::string kVp9 = "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M ";

/// An engine, and sources in a folder that it made.
class EngineTest : public testing::Test {
protected:
    /// Has ffmpeg record twelve seconds as folder_/recording.mkv, and makes folder_/name of it: 20 pictures of 160 x 90
    /// a second, no two alike, with a key every 3 s, and a noise that fits itself at one shift only.
    /// @param encode options of the encoder of the pictures, perhaps a -vf
    std::filesystem::path MakeSource(const std::string& name, const std::string& encode = kVp9);

    /// Imports so many seconds of another noise as folder_/noise.qva.
    std::filesystem::path MakeNoise(int seconds, int seed);

    /// The keys that the engine lists.
    std::vector<qv::Ms> KeysOf(const std::filesystem::path& file);

    /// Waits for an import or for a transcoding.
    void AwaitImport() const;

    const std::filesystem::path folder_ = TestFolder();
    qv::Engine engine_ = qv::MakeEngine({});
};

/// Audio rows that follow each other: "#0:500-900*80" is 500 to 900 ms of source 0 at 80 percent, "#-1:0-14" silence.
std::vector<qv::AudioRow> AudioRows(const std::string& text);

/// Frame rows that follow each other: "500-900" of the source, "500+40" a hold of 40 ms, "500>901" the first ms behind a
/// cut; "*" before it begins a slide.
std::vector<qv::FrameRow> FrameRows(const std::string& text);

/// The source time whose picture the rows show at t, told row by row without any plan.
qv::Ms SourceAt(const std::vector<qv::FrameRow>& rows, qv::Ms t);

/// ffmpeg arguments for a source of pictures that bear their number, 0 to 49, as brightness; 30 a second.
std::string NumberedPictures(int count, const std::string& size = "64x48");
/// The number that such a picture bears, after whatever codec.
int NumberOn(const qv::Picture& picture);

/// All pictures of a stream, decoded from its first packet to its last.
struct DecodedPackets {
    std::vector<qv::Picture> pictures;
    int damaged = 0;
};
DecodedPackets DecodePackets(const qv::PictureFormat& format, const std::vector<qv::PicturePacket>& packets);

/// A slide with a pointer: sharp strokes of text, a soft gradient, an arrow that has moved step places on.
/// @param format any planar AVPixelFormat of YUV
qv::Picture DrawSlide(int width, int height, int format, int step);

/// The samples of one plane of planar YUV, line by line, brought to 8 bits.
std::vector<std::uint8_t> Samples(const AVFrame& frame, int plane);

}  // namespace support
