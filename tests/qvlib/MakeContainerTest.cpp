// SPDX-License-Identifier: GPL-3.0-or-later

#include <cmath>

#include "mkv/Check.h"
#include "support/Decoded.h"
#include "support/Media.h"

namespace qv {
namespace {

/// ffmpeg arguments for three seconds of black that turn white from 1.0 to 1.2 s, while a tone sounds.
std::string Flash(const std::string& sizeAndRate = "s=64x48:r=25") {
    return "-f lavfi -i \"color=black:d=3:" + sizeAndRate +
           ",drawbox=t=fill:color=white:enable='between(t,0.999,1.199)'\" ";
}
std::string Tone(const std::string& lengthAndRate = "d=3:s=48000") {
    return "-f lavfi -i \"aevalsrc='0.5*sin(6283*t)*between(t,1,1.2)':" + lengthAndRate + "\" ";
}
const std::string kX264 = "-c:v libx264 -preset veryfast -bf 3 -g 25 -keyint_min 25 -sc_threshold 0 ";
const std::string kVp8 = "-c:v libvpx -deadline realtime -cpu-used 8 ";

using MakeContainer = support::EngineTest;

TEST_F(MakeContainer, LengthAndStepAreRightWhateverTheRecordingIs) {
    struct Case {
        const char* file;
        std::string args;
        Ms duration;
        Ms slack = 0;         ///< of the duration: the codecs' frames at its ends
        double late = 0;      ///< the tone after the flash, as the file's times tell
        int percent = 100;    ///< of the file is there
        bool isHeard = true;  ///< there is a tone
    };
    const std::string both = Flash() + Tone();
    const auto whole = support::MakeMedia(folder_, "whole.mp4", both + kX264);
    std::ofstream(folder_ / "late.txt") << ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1\nSTART=7\nEND=9\ntitle=Past\n";
    const std::string copy = "-i " + support::Quoted(whole) + " -c copy ";
    const Case cases[] = {
        {"Übung № 7 .mp4", both + kX264 + "-vf \"select='not(between(mod(n,10),6,8))'\" -vsync vfr", 3000},
        {"edited.mp4", "-ss 0.44 " + copy, 2560},
        {"chapters.mp4", both + "-i " + support::Quoted(folder_ / "late.txt") + " -map_chapters 2 " + kX264, 3000},
        // The muxer does not reckon with the delay of Opus: its picture is late by that.
        {"browser.webm", both + kVp8 + "-live 1", 3000, 20, -7},
        {"odd.webm", Flash("s=853x481:r=10") + Tone() + "-c:v libvpx-vp9 -deadline realtime -cpu-used 8", 3000, 2, -7},
        {"silent.webm", Flash() + kVp8, 3000, 0, 0, 100, false},
        {"cd.mkv", Flash("s=1366x768:r=60") + Tone("d=3:s=44100:c=stereo") + kX264 + "-c:a flac", 3000},
        {"shifted.mp4", both + kX264 + "-output_ts_offset 37.5", 3022},
        {"shifted.mkv", both + kX264 + "-output_ts_offset 37.5", 3000, 40},
        {"late.mov", Tone() + "-itsoffset 0.72 " + Flash() + kX264 + "-vsync passthrough", 3720, 0, -720},
        {"short.mp4", Flash() + Tone("d=1.5:s=48000") + kX264, 3000},
        {"long.wmv", Flash() + Tone("d=5:s=48000"), 5000, 60},
        {"broken off.mkv", copy, 1900, 300, 0, 80},
        {"broken off.mp4", copy + "-movflags +faststart", 2000, 500, 0, 95},
        {"fragment.mp4", both + kX264 + "-g 99 -movflags frag_keyframe+empty_moov", 3080, 0, 0, 80},
    };
    for (const Case& now : cases) {
        SCOPED_TRACE(now.file);
        const auto recording = support::MakeMedia(folder_, now.file, now.args);
        std::filesystem::resize_file(recording, std::filesystem::file_size(recording) * now.percent / 100);
        const auto target = folder_ / "media.qv";
        const auto made =
            engine_.recordings->MakeContainer({.recording = recording, .target = target, .keys = {777, 1500}}, {});
        CheckWhole(target);
        EXPECT_NEAR(made.duration, now.duration, now.slack);
        EXPECT_EQ(engine_.lib->GetLength(target), made.duration);
        EXPECT_EQ(engine_.recordings->Probe(recording).duration, made.duration);
        const auto keys = KeysOf(target);
        EXPECT_TRUE(std::ranges::includes(keys, std::vector<Ms>{777, 1500})) << testing::PrintToString(keys);
        const auto pictures = support::DecodePictures(target);
        const auto isWhite = [](const auto& luma) { return luma[luma.size() / 2] > 128; };
        const auto white = std::ranges::find_if(pictures.luma, isWhite) - pictures.luma.begin();
        const auto sound = support::DecodeSound(target);
        const auto tone = std::ranges::find_if(sound, [](float it) { return std::abs(it) > 0.1F; }) - sound.begin();
        EXPECT_EQ(sound.size(), static_cast<std::size_t>(made.duration) * 48);
        ASSERT_EQ(now.isHeard, tone < std::ssize(sound));
        const Ms flash = pictures.times.at(static_cast<std::size_t>(white));
        EXPECT_TRUE(!now.isHeard || std::abs(static_cast<double>(tone) / 48 - flash - now.late) < 0.9)
            << tone / 48 << " " << flash;
    }
}

TEST_F(MakeContainer, WantedKeysGoToKeysOfTheRecordingAsFarAsTheyMay) {
    const std::tuple<const char*, Ms, std::vector<Ms>> cases[] = {
        {"a.mkv", 0, {300, 900, 1100, 1700, 2101}},
        {"a.mkv", 100, {300, 1000, 1100, 1700, 2101}},  // two as near to 1000: the first takes it
        {"a.mkv", 300, {300, 1000, 1100, 1700, 2000}},  // 0 is no place for another slide; 2000 is nearer to 2101
        {"a.wmv", 500, {300, 900, 1100, 1700, 2101}},
    };
    for (const auto& [name, mayMove, wanted] : cases) {
        const auto recording = support::MakeMedia(folder_, name, Flash() + (std::string(name) == "a.mkv" ? kX264 : ""));
        const auto made = engine_.recordings->MakeContainer({.recording = recording,
                                                             .target = folder_ / "media.qv",
                                                             .keys = {300, 900, 1100, 1700, 2101},
                                                             .keysMayMove = mayMove},
                                                            {});
        EXPECT_EQ(made.keys, wanted) << name << " " << mayMove;
        CheckWhole(folder_ / "media.qv");
        EXPECT_TRUE(std::ranges::includes(KeysOf(folder_ / "media.qv"), wanted)) << name << " " << mayMove;
    }
}

}  // namespace
}  // namespace qv
