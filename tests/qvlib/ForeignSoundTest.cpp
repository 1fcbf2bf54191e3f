// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignSound.h"

#include <cmath>

#include "MediaError.h"
#include "sound/SoundFormat.h"
#include "support/Media.h"

namespace qv {
namespace {

struct Heard {
    int channels = 0;
    std::vector<float> values;
    int damaged = 0;

    [[nodiscard]] std::int64_t Samples() const { return static_cast<std::int64_t>(values.size()) / channels; }
    [[nodiscard]] float At(std::int64_t sample, int channel = 0) const {
        return values.at(static_cast<std::size_t>(sample * channels + channel));
    }
    /// The loudest sample from this one on.
    [[nodiscard]] std::int64_t Peak(std::int64_t from = 0) const {
        std::int64_t peak = from;
        for (std::int64_t i = from; i < Samples(); ++i)
            if (std::abs(At(i)) > std::abs(At(peak))) peak = i;
        return peak;
    }
};

Heard Hear(const std::filesystem::path& file, int channels = 0, LateStart late = LateStart::Silence) {
    ForeignSound sound(file, channels, late);
    Heard heard;
    heard.channels = sound.Channels();
    std::vector<float> buffer(3000);  // no multiple of any codec's frame
    while (const std::size_t got = sound.Read(buffer))
        heard.values.insert(heard.values.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(got));
    heard.damaged = sound.Damaged();
    return heard;
}

/// ffmpeg arguments for silence with a click of one sample.
std::string Click(double atSeconds, int rate = 48000, double length = 2.5) {
    const auto at = std::to_string(std::llround(atSeconds * rate));
    return "-f lavfi -i \"aevalsrc='0.8*eq(n," + at + ")':s=" + std::to_string(rate) + ":d=" + std::to_string(length) +
           "\" ";
}

TEST(ForeignSound, LengthAndPlaceAreExactInEveryFormat) {
    // An AVI or MPEG file does not tell the delay of its codec (1105 and 481 samples); Windows Media, AVI, MPEG and
    // Vorbis in Matroska end on the codec's frame.
    struct Case {
        const char* file;
        const char* args;
        int rate;
        double level;                   ///< height of the click; 0: not looked at
        std::int64_t samples = 120000;  ///< of 2.5 s; what the format itself adds included
        std::int64_t click = 48000;     ///< where the click of 1.0 s is found
    };
    const Case cases[] = {
        {"u8.wav", "-c:a pcm_u8", 48000, 0.8},
        {"phone.wav", "", 8000, 0},
        {"cd.flac", "", 44100, 0},
        {"flac.mkv", "-c:a flac", 48000, 0.8},
        {"alac.m4a", "-c:a alac", 48000, 0.8},
        {"a.mp3", "", 48000, 0},
        {"a.m4a", "", 48000, 0},
        {"a.ogg", "", 48000, 0},
        {"a.opus", "", 48000, 0},
        {"a.webm", "", 48000, 0},
        {"vorbis.mkv", "-c:a libvorbis", 48000, 0, 120384},
        {"a.wma", "", 48000, 0, 59 * 2048},
        {"a.avi", "-c:a libmp3lame", 48000, 0, 106 * 1152, 49105},
        {"a.mpg", "", 48000, 0, 105 * 1152, 48481},
        {"misnamed.wav", "-f mp3", 48000, 0},
    };
    const auto folder = support::TestFolder();
    for (const Case& now : cases) {
        const Heard heard = Hear(support::MakeMedia(folder, now.file, Click(1.0, now.rate) + now.args));
        EXPECT_EQ(heard.channels, 1) << now.file;
        EXPECT_EQ(heard.Samples(), now.samples) << now.file;
        EXPECT_EQ(heard.Peak(), now.click) << now.file;
        EXPECT_EQ(heard.damaged, 0) << now.file;
        EXPECT_TRUE(now.level == 0 || std::abs(heard.At(now.click) - now.level) < 0.005) << now.file;
    }
}

TEST(ForeignSound, ChannelsAreBroughtToTheNumberAskedFor) {
    const std::tuple<const char*, int, std::vector<float>> cases[] = {
        {"0.5", 0, {0.5}},          {"0.5", 2, {0.5, 0.5}},
        {"0.5|-0.25", 1, {0.125}},  {"0.5|-0.25", 0, {0.5, -0.25}},
        {"1|1|1|1|1|1", 0, {1, 1}}, {"0.4|-0.2|0|0.9|0|0", 0, {0.1657F, -0.0828F}},  // sides stay apart
    };
    const auto folder = support::TestFolder();
    for (const auto& [levels, asked, wanted] : cases) {
        const auto source = std::string("-f lavfi -i \"aevalsrc='") + levels + "':s=48000:d=0.5\" -c:a pcm_f32le";
        const Heard heard = Hear(support::MakeMedia(folder, "a.wav", source), asked);
        ASSERT_EQ(heard.channels, static_cast<int>(wanted.size())) << levels;
        EXPECT_EQ(heard.Samples(), 24000) << levels;
        for (int i = 0; i < heard.channels; ++i) {
            EXPECT_NEAR(heard.At(12000, i), wanted[static_cast<std::size_t>(i)], 0.001) << levels;
        }
    }
}

TEST(ForeignSound, LateSoundHolesAndOverlapsKeepTheirTimes) {
    const std::string late =
        support::NumberedPictures(90) + "-itsoffset 0.7 " + Click(1.0) + "-c:v libx264 -c:a pcm_s16le";
    const std::string filter = Click(2.0) + "-c:a pcm_s16le -filter_complex asetnsamples=480,";
    const std::tuple<const char*, std::string, LateStart, std::int64_t, std::int64_t> cases[] = {
        {"late.mkv", late, LateStart::Silence, 153600, 81600},
        {"late.mov", late, LateStart::Silence, 153600, 81600},
        {"late.mkv", late, LateStart::Drop, 120000, 48000},
        {"late.mov", late, LateStart::Drop, 120000, 48000},
        // 0.5 s are missing from 1.0 s on; the click afterwards stays where its time says.
        {"hole.mkv", filter + "\"aselect='not(between(t,1,1.4951))'\"", LateStart::Silence, 120000, 96000},
        // From 1.0 s on the times say 0.2 s earlier: what comes twice is left out.
        {"twice.nut", filter + "\"asetpts='PTS-gte(T,1)*0.2/TB'\"", LateStart::Silence, 110400, 86400},
    };
    const auto folder = support::TestFolder();
    for (const auto& [name, args, start, samples, click] : cases) {
        const Heard heard = Hear(support::MakeMedia(folder, name, args), 0, start);
        EXPECT_EQ(heard.Samples(), samples) << name;
        EXPECT_EQ(heard.Peak(), click) << name;
    }
}

TEST(ForeignSound, WhatIsNoSoundIsRefusedInPlainWords) {
    const auto folder = support::TestFolder();
    const auto write = [&](const char* name, const std::string& text) {
        std::ofstream(folder / name) << text;
        return folder / name;
    };
    support::MakeMedia(folder, "good.wav", Click(0.1));
    const std::string list = "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\ngood.wav\n#EXT-X-ENDLIST\n";
    const std::pair<std::filesystem::path, const char*> cases[] = {
        {folder / "missing.wav", "no such file"},
        {folder, "is a folder"},
        {write("empty.wav", ""), "the file is empty"},
        {write("text.wav", "Good morning, and welcome to the seventh lecture.\n"), "not a media file"},
        {write("unfinished.mp4", {"\0\0\0\x10"
                                  "ftypisom\0\0\2\0",
                                  16}),
         "is incomplete: it was cut off, or its recording never finished"},
        {write("list.m3u8", list), "not a media file"},
        {write("list.ffconcat", "ffconcat version 1.0\nfile good.wav\n"), "not a media file"},
        {support::MakeMedia(folder, "silent.mp4", support::NumberedPictures(5)), "has no sound"},
        {support::MakeMedia(folder, "none.wav", Click(0, 48000, 0.1) + "-af atrim=end_sample=0"),
         "has no sound that can be decoded"},
    };
    for (const auto& [file, words] : cases) {
        EXPECT_EQ(support::Complaint([&, &path = file] { ForeignSound(path, 0, LateStart::Drop); }),
                  file.string() + ": " + words);
    }
}

}  // namespace
}  // namespace qv
