// SPDX-License-Identifier: GPL-3.0-or-later
#include "tool/Tool.h"

namespace {

TEST_F(Tool, MakesReadsAndMixesTheDemonstration) {
    ASSERT_EQ(Run("container " + kDemo + " source.qv").out, "source.qv: 95360 ms\n");
    EXPECT_EQ(Run("verify --whole source.qv").status, 0);
    const Result keys = Run("keys source.qv");
    EXPECT_EQ(keys.out.substr(0, 7), "0\n3760\n") << keys.out;
    for (const char* start : {"15040\n", "33920\n", "56640\n", "77440\n"})
        EXPECT_NE(keys.out.find("\n" + std::string(start)), std::string::npos) << start;
    const json peaks = json::parse(Run("peaks source.qv --start 1000 --end 3000 --json").out);
    EXPECT_EQ(peaks["peaks"].size(), 2000U / 64);
    EXPECT_GT(*std::max_element(peaks["peaks"].begin(), peaks["peaks"].end()), 3000);

    Shell("espeak-ng -w new.wav 'This sentence is new.'");
    ASSERT_EQ(Run("import new.wav new.qva").status, 0);
    std::ofstream(folder_ / "list.txt") << "S, 0, source.qv\r\nS, 1, new.qva\r\n"
                                           "F, 0, 15040, 0, 15040, 1\r\nF, 15040, 80320, 30080, 95360, 1\r\n"
                                           "A, 0, 15040, 0, 0, 15040, 100\r\nA, 15040, 16000, 1, 0, 960, 80\r\n"
                                           "A, 16000, 80320, 0, 31040, 95360, 100\r\n";
    fs::create_directory(folder_ / "out");
    const json mixed = json::parse(Run("mix list.txt out --json").out);
    EXPECT_EQ(mixed["duration"], 80320);
    EXPECT_EQ(Run("verify --whole out").out, "out/media.qv: sound\n");
    const json result = json::parse(Run("keys out --json").out);
    EXPECT_NE(std::find(result["keys"].begin(), result["keys"].end(), 15040), result["keys"].end());
}

TEST_F(Tool, TellsWhatIsWrongInOneLineAndLeavesNothingBehind) {
    std::ofstream(folder_ / "empty.qv");
    std::ofstream(folder_ / "text.qv") << "no media\n";
    std::ofstream(folder_ / "bad.txt") << "S, 0, empty.qv\nF, 0, ten\n";
    std::ofstream(folder_ / "self.txt") << "S, 0, media.qv\nF, 0, 10, 0, 10, 1\n";
    Shell("ffmpeg -v error -f lavfi -i testsrc=d=1:s=64x64 silent.avi && touch media.qv");
    Shell("ffmpeg -v error -f lavfi -i sine=d=1 sound.mp3");
    const auto before = Files();
    const struct {
        const char* arguments;
        int status;
        const char* reason;
    } cases[] = {
        {"", 2, "subcommand is required"},
        {"frobnicate", 2, ""},
        {"keys", 2, "MEDIA is required"},
        {"peaks empty.qv --start -5", 2, "start"},
        {"keys none.qv", 1, "qvtool: none.qv: No such file or directory\n"},
        {"keys empty.qv", 1, "qvtool: empty.qv: is empty\n"},
        {"verify text.qv", 1, "qvtool: text.qv: is no media container\n"},
        {"peaks text.qv", 1, "qvtool: text.qv: is no media container\n"},
        {"mix bad.txt .", 1, "qvtool: bad.txt: line 2: \"ten\" is no whole number of 32 bits\n"},
        {"mix none.txt .", 1, "qvtool: none.txt: cannot be read\n"},
        {"mix self.txt .", 1, "is a source of the play list\n"},
        {"import silent.avi a.qva", 1, "silent.avi"},
        {"import text.qv a.qva", 1, "text.qv"},
        {"import sound.mp3 none/a.qva", 1, "none/a.qva: No such file or directory\n"},
        {"container sound.mp3 a.qv", 1, "qvtool: sound.mp3: has no picture, only sound\n"},
        {"container silent.avi a.qv --key 5000", 1, "qvtool: silent.avi: there is no picture at 5000 ms\n"},
    };
    for (const auto& it : cases) {
        const Result result = Run(it.arguments);
        EXPECT_EQ(result.status, it.status) << it.arguments << ": " << result.err;
        EXPECT_NE(result.err.find(it.reason), std::string::npos) << it.arguments << ": " << result.err;
        const auto lines = std::count(result.err.begin(), result.err.end(), '\n');
        EXPECT_TRUE(lines == 1 || it.status == 2) << result.err;
        fs::remove(folder_ / "err.txt");
        EXPECT_EQ(Files(), before) << it.arguments;
    }
    EXPECT_EQ(Run("--version").out.substr(0, 7), "qvtool ");
    EXPECT_EQ(Run("mix --help").status, 0);
}

TEST_F(Tool, ASilentRecordingGetsASilentTrack) {
    Shell("ffmpeg -v error -f lavfi -i testsrc=d=2:s=64x64:r=10 -c:v libvpx -b:v 200k silent.webm");
    ASSERT_EQ(Run("container silent.webm silent.qv").out, "silent.qv: 2000 ms\n");
    EXPECT_EQ(Run("verify --whole silent.qv").status, 0);
    EXPECT_EQ(Run("peaks silent.qv").out.find_first_not_of("0\n"), std::string::npos);
}

TEST_F(Tool, AFullDiskIsToldAndLeavesNothing) {
    ASSERT_EQ(Run("container " + kDemo + " source.qv").status, 0);
    std::ofstream(folder_ / "list.txt") << "S, 0, source.qv\nF, 0, 95360, 0, 95360, 1\nA, 0, 95360, 0, 0, 95360, 100\n";
    fs::create_directory(folder_ / "small");
    // A file size limit is a full disk that needs no rights; the signal it would send is ignored first.
    const Result limited = Run("mix list.txt small", "trap '' XFSZ; ulimit -f 1000;");
    EXPECT_EQ(limited.status, 1);
    EXPECT_NE(limited.err.find("small/media.qv: File too large"), std::string::npos) << limited.err;
    EXPECT_TRUE(fs::is_empty(folder_ / "small"));
    if (std::system("mount -t tmpfs -o size=500k tmpfs /mnt 2>/dev/null") != 0) return;
    const Result full = Run("mix list.txt /mnt");
    const bool nothingLeft = fs::is_empty("/mnt");
    ASSERT_EQ(std::system("umount /mnt"), 0);
    EXPECT_EQ(full.status, 1);
    EXPECT_NE(full.err.find("/mnt/media.qv: No space left on device"), std::string::npos) << full.err;
    EXPECT_TRUE(nothingLeft);
}

}  // namespace
