// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignSound.h"

#include <gtest/gtest.h>

#include <cmath>

#include "MediaError.h"
#include "sound/SoundFormat.h"
#include "support/Containers.h"
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
    /// The loudest sample in [from, to).
    [[nodiscard]] std::int64_t Peak(std::int64_t from, std::int64_t to) const {
        std::int64_t peak = from;
        for (std::int64_t i = from; i < to; ++i) {
            if (std::abs(At(i)) > std::abs(At(peak))) peak = i;
        }
        return peak;
    }
    [[nodiscard]] std::int64_t Peak() const { return Peak(0, Samples()); }
};

Heard Hear(const std::filesystem::path& file, int channels = 0, LateStart late = LateStart::Silence) {
    ForeignSound sound(file, channels, late);
    Heard heard;
    heard.channels = sound.Channels();
    std::vector<float> buffer(3000);  // no multiple of any codec's frame
    while (const std::size_t got = sound.Read(buffer)) {
        heard.values.insert(heard.values.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(got));
    }
    heard.damaged = sound.Damaged();
    return heard;
}

/// ffmpeg arguments for silence with a click of one sample.
std::string Click(double atSeconds, int rate = 48000, double length = 2.5) {
    const auto at = std::to_string(std::llround(atSeconds * rate));
    return "-f lavfi -i \"aevalsrc='0.8*eq(n," + at + ")':s=" + std::to_string(rate) + ":d=" + std::to_string(length) +
           "\" ";
}

struct FormatCase {
    const char* file;
    const char* args;
    int rate = 48000;
    std::int64_t samples = 120000;  ///< of 2.5 s; what the format itself adds included
    std::int64_t click = 48000;     ///< where the click of 1.0 s is found
    double level = 0;               ///< expected height of the click; 0: not looked at
};

class ForeignSoundFormats : public testing::TestWithParam<FormatCase> {};

TEST_P(ForeignSoundFormats, LengthAndPlaceAreExact) {
    const FormatCase& now = GetParam();
    const auto file = support::MakeMedia(support::TestFolder(), now.file, Click(1.0, now.rate) + now.args);
    const Heard heard = Hear(file);
    EXPECT_EQ(heard.channels, 1);
    EXPECT_EQ(heard.Samples(), now.samples);
    EXPECT_EQ(heard.Peak(), now.click);
    EXPECT_EQ(heard.damaged, 0);
    if (now.level > 0) {
        EXPECT_NEAR(heard.At(now.click), now.level, 0.005);
    }
}

INSTANTIATE_TEST_SUITE_P(Lossless, ForeignSoundFormats,
                         testing::Values(FormatCase{.file = "s16.wav", .args = "", .level = 0.8},
                                         FormatCase{.file = "u8.wav", .args = "-c:a pcm_u8", .level = 0.8},
                                         FormatCase{.file = "s24.wav", .args = "-c:a pcm_s24le", .level = 0.8},
                                         FormatCase{.file = "f32.wav", .args = "-c:a pcm_f32le", .level = 0.8},
                                         FormatCase{.file = "cd.wav", .args = "", .rate = 44100},
                                         FormatCase{.file = "phone.wav", .args = "", .rate = 8000},
                                         FormatCase{.file = "studio.wav", .args = "", .rate = 96000},
                                         FormatCase{.file = "a.flac", .args = "", .level = 0.8},
                                         FormatCase{.file = "cd.flac", .args = "", .rate = 44100},
                                         FormatCase{.file = "flac.mkv", .args = "-c:a flac", .level = 0.8},
                                         FormatCase{.file = "alac.m4a", .args = "-c:a alac", .level = 0.8},
                                         FormatCase{.file = "pcm.avi", .args = "-c:a pcm_s16le", .level = 0.8},
                                         FormatCase{.file = "a.aiff", .args = "", .level = 0.8}));

// An AVI or MPEG file does not tell the delay of its codec (1105 and 481 samples); Windows Media, AVI, MPEG and Vorbis
// in Matroska end on the codec's frame.
INSTANTIATE_TEST_SUITE_P(
    Lossy, ForeignSoundFormats,
    testing::Values(FormatCase{.file = "a.mp3", .args = ""}, FormatCase{.file = "cd.mp3", .args = "", .rate = 44100},
                    FormatCase{.file = "a.m4a", .args = ""}, FormatCase{.file = "cd.m4a", .args = "", .rate = 44100},
                    FormatCase{.file = "a.mp4", .args = ""}, FormatCase{.file = "a.ogg", .args = ""},
                    FormatCase{.file = "a.opus", .args = ""}, FormatCase{.file = "a.webm", .args = ""},
                    FormatCase{.file = "opus.mkv", .args = "-c:a libopus"},
                    FormatCase{.file = "vorbis.mkv", .args = "-c:a libvorbis", .samples = 120384},
                    FormatCase{.file = "a.wma", .args = "", .samples = 59 * 2048},
                    FormatCase{.file = "cd.wma", .args = "", .rate = 44100, .samples = 120372},
                    FormatCase{.file = "a.wmv", .args = "", .samples = 59 * 2048},
                    FormatCase{.file = "v1.asf", .args = "-c:a wmav1", .samples = 59 * 2048},
                    FormatCase{.file = "a.avi", .args = "-c:a libmp3lame", .samples = 106 * 1152, .click = 49105},
                    FormatCase{.file = "a.mpg", .args = "", .samples = 105 * 1152, .click = 48481}));

TEST(ForeignSound, ContentDecidesNotTheName) {
    const auto folder = support::TestFolder();
    const auto mp3 = support::MakeMedia(folder, "a.mp3", Click(1.0));
    std::filesystem::rename(mp3, folder / "a.wav");
    const Heard heard = Hear(folder / "a.wav");
    EXPECT_EQ(heard.Samples(), 120000);
    EXPECT_EQ(heard.Peak(), 48000);
}

TEST(ForeignSound, ChannelsAreBroughtToTheNumberAskedFor) {
    const auto folder = support::TestFolder();
    const auto constant = [&](const char* name, const std::string& levels) {
        return support::MakeMedia(folder, name,
                                  "-f lavfi -i \"aevalsrc='" + levels + "':s=48000:d=0.5\" -c:a pcm_f32le");
    };
    const auto mono = constant("mono.wav", "0.5");
    const auto stereo = constant("stereo.wav", "0.5|-0.25");
    const auto six = constant("six.wav", "0.5|-0.25|0|0.9|0|0");
    constexpr std::int64_t kMiddle = 12000;
    EXPECT_EQ(Hear(mono).channels, 1);
    EXPECT_EQ(Hear(stereo).channels, 2);
    EXPECT_EQ(Hear(six).channels, 2);
    EXPECT_FLOAT_EQ(Hear(mono, 2).At(kMiddle, 0), 0.5F);
    EXPECT_FLOAT_EQ(Hear(mono, 2).At(kMiddle, 1), 0.5F);
    EXPECT_FLOAT_EQ(Hear(stereo).At(kMiddle, 0), 0.5F);
    EXPECT_FLOAT_EQ(Hear(stereo).At(kMiddle, 1), -0.25F);
    EXPECT_FLOAT_EQ(Hear(stereo, 1).At(kMiddle), 0.125F);
    EXPECT_EQ(Hear(stereo, 1).Samples(), 24000);
    const Heard mixed = Hear(six);
    EXPECT_NEAR(mixed.At(kMiddle, 0) / mixed.At(kMiddle, 1), -2, 0.01) << "sides stay apart";
    EXPECT_LE(std::abs(Hear(constant("loud.wav", "1|1|1|1|1|1")).At(kMiddle)), 1.001);
}

TEST(ForeignSound, ResamplingKeepsASineCleanAndInPlace) {
    const auto file = support::MakeMedia(support::TestFolder(), "sine.wav",
                                         "-f lavfi -i \"aevalsrc='0.5*sin(2*PI*5000*t)':s=44100:d=1\" -c:a pcm_f32le");
    const Heard heard = Hear(file);
    double error = 0;
    for (std::int64_t i = 4800; i < 43200; ++i) {
        const double wanted = 0.5 * std::sin(2 * M_PI * 5000 * static_cast<double>(i) / kSampleRate);
        error = std::max(error, std::abs(heard.At(i) - wanted));
    }
    EXPECT_LT(20 * std::log10(error / 0.5), -80) << "dB below the sine";
}

TEST(ForeignSound, LateSoundIsPrecededBySilenceWhenAsked) {
    const auto folder = support::TestFolder();
    const auto pictures = support::NumberedPictures(90) + "-itsoffset 0.7 " + Click(1.0);
    for (const char* name : {"late.mkv", "late.mov"}) {
        const auto file = support::MakeMedia(folder, name, pictures + "-c:v libx264 -c:a pcm_s16le");
        EXPECT_EQ(Hear(file, 0, LateStart::Silence).Peak(), 48000 * 17 / 10) << name;
        EXPECT_EQ(Hear(file, 0, LateStart::Silence).Samples(), 48000 * 32 / 10) << name;
        EXPECT_EQ(Hear(file, 0, LateStart::Drop).Peak(), 48000) << name;
        EXPECT_EQ(Hear(file, 0, LateStart::Drop).Samples(), 120000) << name;
    }
}

TEST(ForeignSound, HolesAreFilledAndWhatComesTwiceIsLeftOut) {
    const auto folder = support::TestFolder();
    // 0.5 s are missing from 1.0 s on; the click afterwards stays where its time says.
    const auto later =
        Click(2.0) + "-filter_complex \"asetnsamples=480,aselect='not(between(t,1,1.4951))'\" -c:a pcm_s16le";
    const Heard hole = Hear(support::MakeMedia(folder, "hole.mkv", later));
    EXPECT_EQ(hole.Samples(), 120000);
    EXPECT_EQ(hole.Peak(), 96000);
    // From 1.0 s on the times say 0.2 s earlier.
    const auto twice = Click(2.0) + "-filter_complex \"asetnsamples=480,asetpts='PTS-gte(T,1)*0.2/TB'\" -c:a pcm_s16le";
    const Heard overlap = Hear(support::MakeMedia(folder, "twice.nut", twice));
    EXPECT_EQ(overlap.Samples(), 120000 - 9600);
    EXPECT_EQ(overlap.Peak(), 96000 - 9600);
}

TEST(ForeignSound, DamageIsCountedAndMovesNothing) {
    const auto folder = support::TestFolder();
    for (const char* name : {"a.flac", "a.ogg", "a.m4a", "a.webm"}) {
        const auto file = support::MakeMedia(
            folder, name,
            "-f lavfi -i \"aevalsrc='0.1*sin(2*PI*(200+300*t)*t)+0.6*eq(n,336000)':s=48000:d=8\" -b:a 128k");
        auto bytes = support::ReadBytes(file);
        const std::size_t from = bytes.size() / 3;
        for (std::size_t i = from; i < from + 3000; ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
        support::WriteBytes(file, bytes);
        const Heard heard = Hear(file);
        EXPECT_NEAR(static_cast<double>(heard.Samples()), 384000, 48) << name;
        EXPECT_NEAR(static_cast<double>(heard.Peak(300000, heard.Samples())), 336000, 96) << name;
        if (std::string(name) == "a.m4a") {  // the others have checksums: damage does not get as far as the codec
            EXPECT_GT(heard.damaged, 0);
        }
    }
}

TEST(ForeignSound, FileCutShortIsHeardAsFarAsItGoes) {
    const auto folder = support::TestFolder();
    for (const char* name : {"a.wav", "a.mp3", "a.ogg", "a.flac", "a.mkv", "a.wma"}) {
        const auto file = support::MakeMedia(folder, name, "-f lavfi -i sine=d=4:r=48000");
        auto bytes = support::ReadBytes(file);
        bytes.resize(bytes.size() / 2);
        support::WriteBytes(file, bytes);
        const std::int64_t heard = Hear(file).Samples();
        EXPECT_GT(heard, 40000) << name;
        EXPECT_LT(heard, 120000) << name;
    }
}

std::string Refusal(const std::filesystem::path& file) {
    try {
        ForeignSound(file, 0, LateStart::Drop);
        return "taken";
    } catch (const MediaError& error) {
        const std::string told = error.what();
        const std::string start = file.string() + ": ";
        return told.starts_with(start) ? told.substr(start.size()) : "no path in: " + told;
    }
}

TEST(ForeignSound, WhatIsNoSoundIsRefusedInPlainWords) {
    const auto folder = support::TestFolder();
    const auto write = [&](const char* name, const std::string& text) {
        support::WriteBytes(folder / name, {text.begin(), text.end()});
        return folder / name;
    };
    const std::string text = "Good morning, and welcome to the seventh lecture.\n";
    const auto wav = support::MakeMedia(folder, "good.wav", Click(0.1));
    EXPECT_EQ(Refusal(folder / "missing.wav"), "no such file");
    EXPECT_EQ(Refusal(folder), "is a folder");
    EXPECT_EQ(Refusal(write("empty.wav", "")), "the file is empty");
    EXPECT_EQ(Refusal(write("text.txt", text)), "not a media file");
    EXPECT_EQ(Refusal(write("text.wav", text)), "not a media file");
    EXPECT_EQ(Refusal(write("list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\ngood.wav\n#EXT-X-ENDLIST\n")),
              "not a media file");
    EXPECT_EQ(Refusal(write("list.ffconcat", "ffconcat version 1.0\nfile good.wav\n")), "not a media file");
    EXPECT_EQ(Refusal(support::MakeMedia(folder, "silent.mp4", support::NumberedPictures(5))), "has no sound");
    EXPECT_EQ(Refusal(support::MakeMedia(folder, "none.wav", Click(0, 48000, 0.1) + "-af atrim=end_sample=0")),
              "has no sound that can be decoded");
    EXPECT_EQ(Refusal(wav), "taken");
}

}  // namespace
}  // namespace qv
