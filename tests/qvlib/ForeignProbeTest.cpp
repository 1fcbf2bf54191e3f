// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignProbe.h"

#include "foreign/FrameRate.h"
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
    std::ofstream(folder / "chapters.txt") << ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/10\nSTART=1\nEND=8\ntitle=\n"
                                              "[CHAPTER]\nTIMEBASE=1/10\nSTART=8\nEND=8\ntitle=Noise\n"
                                              "[CHAPTER]\nTIMEBASE=1/10\nSTART=8\nEND=20\ntitle=Again\n"
                                              "[CHAPTER]\nTIMEBASE=1/10\nSTART=20\nEND=30\ntitle=Past the end\n";
    const std::string both = support::NumberedPictures(60) + kSound;
    const std::string chapters =
        both + "-i " + support::Quoted(folder / "chapters.txt") + " -map_metadata 2 -c:v libx264";
    const std::tuple<const char*, std::string, const char*, int> cases[] = {
        {"a.mp4", chapters, "h264 carried 64x48 sound 1 0: 800:Noise ", 0},
        {"a.mkv", chapters + " -c:a flac", "h264 carried 64x48 sound 1 100: 800:Noise ", 1},
        {"live.webm", both + "-ac 2 -live 1 -c:v libvpx", "vp8 carried 64x48 sound 2 ", 20},
        {"a.wmv", both, "msmpeg4v3 64x48 sound 1 ", 60},
        {"camera.mkv", both + support::NumberedPictures(60, "32x32") + "-map 0 -map 1 -map 2 -c:v mpeg4",
         "mpeg4 64x48 + mpeg4 32x32 sound 1 ", 30},
        {"shifted.ts", both + "-c:v libx264 -output_ts_offset 30", "h264 carried 64x48 sound 1 ", 30},
        {"sound.mp3", kSound, "sound 1 ", 40},
        {"picture.mp4", support::NumberedPictures(60) + "-c:v libx264", "h264 carried 64x48 ", 0},
    };
    for (const auto& [file, args, holds, slack] : cases) {
        const Recording recording = ProbeRecording(support::MakeMedia(folder, file, args));
        EXPECT_EQ(Describe(recording), holds) << file;
        EXPECT_NEAR(recording.durationMs, 2000, slack) << file;
        EXPECT_NEAR(recording.startOffsetMs, std::string(file) == "shifted.ts" ? 31400 : 0, 60) << file;
    }
}

TEST(FrameRate, TheTimesOfThePicturesDecide) {
    const auto folder = support::TestFolder();
    const std::string pictures = "-f lavfi -i testsrc=s=64x48:d=2:r=";
    const std::string dropSome = "-vf \"select='not(eq(mod(n,7),3))'\" -vsync vfr ";
    const std::tuple<const char*, std::string, int> cases[] = {
        {"15.wmv", pictures + "15 " + kSound, 1},
        {"29.wmv", pictures + "30000/1001 " + kSound, 1},
        {"uneven.wmv", pictures + "15 " + kSound + dropSome, -2},
        {"reordered.mp4", pictures + "25 " + kSound + "-c:v libx264 -bf 3", 1},
        {"silent uneven.wmv", pictures + "15 " + dropSome, 0},
        {"sound.wma", kSound, 1},
    };
    for (const auto& [file, args, answer] : cases) {
        EXPECT_EQ(IsWmvConstFrmRate(support::MakeMedia(folder, file, args)), answer) << file;
    }
    EXPECT_EQ(IsWmvConstFrmRate(folder / "missing.wmv"), -3);
}

}  // namespace
}  // namespace qv
