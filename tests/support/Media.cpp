// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Media.h"

#include <cmath>
#include <iterator>
#include <numeric>
#include <sstream>

#include "av/Av.h"

namespace support {

namespace fs = std::filesystem;

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

fs::path MakeMedia(const fs::path& folder, const std::string& name, const std::string& args) {
    fs::path file = folder / name;
    Output("ffmpeg -v error -nostdin -y " + args + " " + Quoted(file) + " 2>&1");
    return file;
}

fs::path EngineTest::MakeSource(const std::string& name, const std::string& encode) {
    const fs::path recording = MakeMedia(
        folder_, "recording.mkv",
        "-f lavfi -i testsrc2=s=160x90:r=20:d=12 -f lavfi -i anoisesrc=c=brown:r=48000:a=0.4:seed=9:d=12,lowpass=2000 "
        "-g 60 -c:a pcm_s16le " +
            encode);
    engine_.recordings->MakeContainer({.recording = recording, .target = folder_ / name}, {});
    return folder_ / name;
}

fs::path EngineTest::MakeNoise(int seconds, int seed) {
    const fs::path wave = MakeMedia(
        folder_, "noise.wav",
        "-f lavfi -i anoisesrc=c=pink:r=48000:a=0.5:seed=" + std::to_string(seed) + ":d=" + std::to_string(seconds));
    engine_.mixEdit->qvImportWave(wave, folder_ / "noise.qva");
    AwaitImport();
    return folder_ / "noise.qva";
}

std::vector<qv::Ms> EngineTest::KeysOf(const fs::path& file) {
    engine_.lib->ListIndex(folder_ / "keys", file);
    std::ifstream list(folder_ / "keys");
    return {std::istream_iterator<qv::Ms>(list), {}};
}

void EngineTest::AwaitImport() const {
    while (engine_.mixEdit->GetImportProgress() < 100) ASSERT_GE(engine_.mixEdit->GetImportProgress(), 0);
}

std::vector<qv::AudioRow> AudioRows(const std::string& text) {
    std::vector<qv::AudioRow> rows;
    std::istringstream words(text);
    qv::Ms pos = 0;
    for (std::string word; words >> word;) {
        qv::AudioRow row{pos, 0, 0, 0, 0, 100};
        char mark = 0;
        std::istringstream fields(word);
        fields >> mark >> row.fileIndex >> mark >> row.srcPos >> mark >> row.srcPosEnd;
        if (fields >> mark) fields >> row.volPercent;
        pos = row.posEnd = pos + row.srcPosEnd - row.srcPos;
        rows.push_back(row.fileIndex < 0 ? qv::AudioRow{row.pos, row.posEnd, -1, 0, 0, 0} : row);
    }
    return rows;
}

std::vector<qv::FrameRow> FrameRows(const std::string& text) {
    std::vector<qv::FrameRow> rows;
    std::istringstream words(text);
    qv::Ms pos = 0;
    for (std::string word; words >> word;) {
        const bool isSlideStart = word[0] == '*';
        qv::Ms from = 0;
        char kind = 0;
        qv::Ms to = 0;
        std::istringstream(word.substr(isSlideStart ? 1 : 0)) >> from >> kind >> to;
        const qv::Ms length = kind == '+' ? to : kind == '>' ? 1 : to - from;
        rows.push_back({pos, pos + length, from, kind == '+' ? from : to, isSlideStart ? 1 : 0});
        pos += length;
    }
    return rows;
}

qv::Ms SourceAt(const std::vector<qv::FrameRow>& rows, qv::Ms t) {
    const auto row = std::find_if(rows.begin(), rows.end(), [t](const qv::FrameRow& one) { return t < one.posEnd; });
    if (row->srcPos == row->srcPosEnd) return std::max(row->srcPos - 1, 0);
    if (row->srcPosEnd - row->srcPos != row->posEnd - row->pos) return row->srcPosEnd - 1;
    return row->srcPos + (t - row->pos);
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

DecodedPackets DecodePackets(const qv::PictureFormat& format, const std::vector<qv::PicturePacket>& packets) {
    qv::PictureDecoder decoder(format, 1);
    DecodedPackets all;
    const auto take = [&] {
        while (auto picture = decoder.Receive()) all.pictures.push_back(*picture);
    };
    for (const qv::PicturePacket& packet : packets) {
        decoder.Send(packet.time, packet.key, packet.data);
        take();
    }
    decoder.SendEnd();
    take();
    all.damaged = decoder.Damaged();
    return all;
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
