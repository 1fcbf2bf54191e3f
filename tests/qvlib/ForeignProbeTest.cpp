// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignProbe.h"

#include <gtest/gtest.h>

#include "MediaError.h"
#include "foreign/FrameRate.h"
#include "support/Containers.h"
#include "support/Media.h"

namespace qv {
namespace {

const std::string kSound = "-f lavfi -i sine=d=2:r=48000 ";

std::string Describe(const Recording& recording) {
    const auto picture = [](const RecordedPicture& one) {
        return one.codecName + (one.carried ? " carried " : " ") + std::to_string(one.width) + "x" +
               std::to_string(one.height) + " ";
    };
    std::string text;
    if (recording.picture) text += picture(*recording.picture);
    if (recording.camera) text += "+ " + picture(*recording.camera);
    if (recording.hasSound) text += "sound " + std::to_string(recording.channels) + " ";
    for (const Chapter& chapter : recording.chapters) {
        text += std::to_string(chapter.start) + ":" + chapter.title + " ";
    }
    return text;
}

TEST(ForeignProbe, TellsWhatARecordingHolds) {
    const auto folder = support::TestFolder();
    support::WriteBytes(folder / "chapters.txt", [] {
        const std::string text =
            ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=800\ntitle=Start\n"
            "[CHAPTER]\nTIMEBASE=1/1000\nSTART=800\nEND=2000\ntitle=Noise\n";
        return std::vector<std::uint8_t>(text.begin(), text.end());
    }());
    struct Case {
        const char* file;
        std::string args;
        const char* holds;
        int durationMs;
        int slack;
    };
    const std::string both = support::NumberedPictures(60) + kSound;
    const std::string chapters =
        both + "-i " + support::Quoted(folder / "chapters.txt") + " -map_metadata 2 -c:v libx264";
    const Case cases[] = {
        {"a.mp4", chapters, "h264 carried 64x48 sound 1 0:Start 800:Noise ", 2000, 0},
        {"a.mkv", chapters + " -c:a flac", "h264 carried 64x48 sound 1 0:Start 800:Noise ", 2000, 1},
        {"live.webm", both + "-ac 2 -live 1 -c:v libvpx", "vp8 carried 64x48 sound 2 ", 2000, 20},
        {"a.wmv", both, "msmpeg4v3 64x48 sound 1 ", 2000, 60},
        {"camera.mkv", both + support::NumberedPictures(60, "32x32") + "-map 0 -map 1 -map 2 -c:v mpeg4",
         "mpeg4 64x48 + mpeg4 32x32 sound 1 ", 2000, 30},
        {"shifted.ts", both + "-c:v libx264 -output_ts_offset 30", "h264 carried 64x48 sound 1 ", 2000, 30},
        {"sound.mp3", kSound, "sound 1 ", 2000, 40},
        {"picture.mp4", support::NumberedPictures(60) + "-c:v libx264", "h264 carried 64x48 ", 2000, 0},
    };
    for (const Case& now : cases) {
        const Recording recording = ProbeRecording(support::MakeMedia(folder, now.file, now.args));
        EXPECT_EQ(Describe(recording), now.holds) << now.file;
        EXPECT_NEAR(recording.durationMs, now.durationMs, now.slack) << now.file;
        EXPECT_NEAR(recording.startOffsetMs, std::string(now.file) == "shifted.ts" ? 31400 : 0, 60) << now.file;
    }
}

TEST(ForeignProbe, RefusesWhatIsNoRecording) {
    const auto folder = support::TestFolder();
    support::WriteBytes(folder / "empty.mp4", {});
    support::WriteBytes(folder / "text.mp4", {'n', 'o', 't', 'e', 's', '\n'});
    support::WriteBytes(folder / "title.srt", [] {
        const std::string text = "1\n00:00:00,000 --> 00:00:01,000\nWelcome\n";
        return std::vector<std::uint8_t>(text.begin(), text.end());
    }());
    for (const char* name : {"missing.mp4", "empty.mp4", "text.mp4", "title.srt", "."}) {
        EXPECT_THROW((void)ProbeRecording(folder / name), MediaError) << name;
        EXPECT_EQ(IsWmvConstFrmRate(folder / name), -3) << name;
    }
}

TEST(FrameRate, TheTimesOfThePicturesDecide) {
    const auto folder = support::TestFolder();
    const std::string pictures = "-f lavfi -i testsrc=s=64x48:d=2:r=";
    const std::string dropSome = "-vf \"select='not(eq(mod(n,7),3))'\" -vsync vfr ";
    struct Case {
        const char* file;
        std::string args;
        int answer;
    };
    const Case cases[] = {
        {"15.wmv", pictures + "15 " + kSound, 1},
        {"29.wmv", pictures + "30000/1001 " + kSound, 1},
        {"uneven.wmv", pictures + "15 " + kSound + dropSome, -2},
        {"reordered.mp4", pictures + "25 " + kSound + "-c:v libx264 -bf 3", 1},
        {"uneven.mkv", pictures + "25 " + kSound + "-c:v libx264 -bf 3 " + dropSome, -2},
        {"silent.wmv", pictures + "15", 0},
        {"silent uneven.wmv", pictures + "15 " + dropSome, 0},
        {"sound.wma", kSound, 1},
    };
    for (const Case& now : cases) {
        EXPECT_EQ(IsWmvConstFrmRate(support::MakeMedia(folder, now.file, now.args)), now.answer) << now.file;
    }
}

}  // namespace
}  // namespace qv
