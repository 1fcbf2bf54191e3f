// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/MediaCheck.h"

#include <gtest/gtest.h>

#include "doubles/QvLib.h"
#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane::modMediaQv {
namespace {

/// pos and title of each; a pos of -1 is a web page.
using Rows = std::vector<std::pair<std::string, std::string>>;

struct MediaCheck : testing::Test {
    MediaCheck() { Disk().Write(media, "recording"); }

    /// Makes a project of these rows and 03:00, and fixes it on a disk whose changes fail from `failAt` on.
    /// @returns what was told, whether the project may be opened, and what it holds then on the disk
    std::string Fix(const Rows& rows, int failAt = 0) {
        std::filesystem::copy_file(MIRRANE_SOURCE_DIR "/data/default.qvp", document,
                                   std::filesystem::copy_options::overwrite_existing);
        project.Load(document);
        project.duration(180000);
        for (const auto& [pos, title] : rows)
            project.AddIndex({.title = title, .pos = pos, .Url = pos == "-1" ? "u" : ""});
        EXPECT_TRUE(project.Save({}) && project.Load(document));
        doubled.user.boxes.clear();
        doubled.disk.failAt = failAt;
        doubled.disk.failsFromThenOn = true;
        const bool mayOpen = FixProjectIndex(context, project, folder);
        doubled.disk.failAt = 0;
        std::string text = doubled.user.Told() + (mayOpen ? "open: " : "stay: ");
        EXPECT_TRUE(project.Load(document));
        for (const CIndexItem& item : project.items) text += item.pos + " " + item.title + ", ";
        return text + project.durationText;
    }

    std::filesystem::path folder = support::TestFolder();
    std::filesystem::path media = folder / "media.qv";
    std::filesystem::path document = folder / "project.qvp";
    doubles::World doubled{"/no/res.xml"};
    doubles::QvLib lib;
    MediaContext context{doubled.world, lib};
    CProjectFile project{doubled.world};
};

TEST_F(MediaCheck, VerifyTellsWhatItDoesAndWhatIsWrong) {
    const std::string afterFailure = "Recording was not completed successfully. Please wait while checking files.";
    const std::tuple<Check, std::string, std::string> cases[] = {
        {Check::Quick, "Verifying \"media.qv\" ...", "|Verify media.qv error!\n"},
        {Check::Whole, "Verifying whole \"media.qv\". Please wait.", "|Verify media.qv error!\n"},
        {Check::WholeAfterFailedRecording, afterFailure, "|File format error!\n"}};
    for (const auto& [check, status, told] : cases) {
        doubled.user = {};
        lib.isSound = check != Check::Quick;
        lib.isWholeSound = !lib.isSound;
        EXPECT_FALSE(VerifyMediaFile(context, media, check));
        std::swap(lib.isSound, lib.isWholeSound);
        EXPECT_TRUE(VerifyMediaFile(context, media, check));
        EXPECT_EQ(doubled.user.Told(), told);
        EXPECT_EQ(doubled.user.statuses, (std::vector<std::string>{status, "-", status, "-"}));
    }
}

TEST_F(MediaCheck, OnlyOneFormatIsRead) {
    lib.version = 1792;
    EXPECT_TRUE(IsQvFmtCompatible(context, media));
    for (const int version : {1793, 1791, 1920}) {
        lib.version = version;
        EXPECT_FALSE(IsQvFmtCompatible(context, media));
    }
    const std::string wanted = "Incompatible file format version (8.128)! Please upgrade your Mirrane.";
    EXPECT_EQ(doubled.user.boxes.back().text, wanted);
}

TEST_F(MediaCheck, SlidesFollowTheKeyframes) {
    const std::string fifty(50, 'x');
    const std::string cut = fifty.substr(1) + "\xF0\x9F\x8E\xB5";  // 51 UTF-16 units, the last two of one character
    lib.keys = {0, 64000, 128000};
    lib.length = 180000;
    EXPECT_EQ(Fix({{"-1", "web"}}), "open: -1 web, 03:00");
    EXPECT_EQ(Fix({{"-1", "web"}, {"0", "A"}, {"064000", "B"}}), "open: -1 web, 0 A, 064000 B, 03:00");
    EXPECT_EQ(lib.calls + context.gMediaKeys, "ListIndex media.qv,  0 64000 128000 ");
    EXPECT_FALSE(exists(folder / "media.key") || exists(folder / "project.qvp.__"));

    EXPECT_EQ(Fix({{"-1", "web"}, {"4000", fifty}, {"64000", "A"}, {"100000", cut}, {"128000", "D"}}),
              "|\r\nSlide 3 :  \"" + fifty + "\"\r\nSlide 5 :  \"" + fifty.substr(1) +
                  " ...\"\r\n\nopen: 0 ----, -1 web, 64000 A, 128000 D, 03:00");
    EXPECT_EQ(project.items[0].RecDate, "2024/3/5 13:04:05");
    EXPECT_NE(ReadFile(folder / "project.qvp.__").find("<pos>100000</pos>"), std::string::npos);
}

TEST_F(MediaCheck, NoSlideGoesWhenTheRecordingTellsNothing) {
    const Rows rows = {{"1200", "A"}, {"64000", "B"}};
    EXPECT_EQ(Fix(rows), "| (media.qv holds no picture)\nstay: 1200 A, 64000 B, 03:00");
    lib.leavesKeyList = false;
    EXPECT_NE(Fix(rows).find("media.key: No such file or directory)\nstay: 1200 A, 64000 B, 03:00"), std::string::npos);
    std::filesystem::remove(media);
    EXPECT_EQ(Fix(rows), "open: 1200 A, 64000 B, 03:00");
}

TEST_F(MediaCheck, DurationIsCorrectedWithConsentAndASoundFileAndDisk) {
    lib.keys = {0};
    lib.length = 179999;
    EXPECT_EQ(Fix({{"0", "A"}}), "|\nstay: 0 A, 03:00");
    EXPECT_EQ(lib.calls, "ListIndex media.qv, ");
    doubled.user.answers = {Answer::Yes, Answer::Yes, Answer::Yes};
    lib.isWholeSound = false;
    EXPECT_EQ(Fix({{"0", "A"}}), "|\n|Verify media.qv error!\nstay: 0 A, 03:00");
    lib.isWholeSound = true;
    EXPECT_EQ(Fix({{"0", "A"}}), "|\n|\nopen: 0 A, 02:59.999");
    EXPECT_TRUE(Fix({{"0", "A"}}, 1).ends_with("stay: 0 A, 03:00"));
}

}  // namespace
}  // namespace mirrane::modMediaQv
