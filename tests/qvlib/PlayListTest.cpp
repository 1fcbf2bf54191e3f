// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/PlayList.h"

#include "mix/Mix.h"
#include "qvlib/Engine.h"
#include "support/Basics.h"

namespace qv {
namespace {

TEST(PlayListText, ReadsRowsOfEitherLineEnd) {
    const PlayList list = ParsePlayList(
        "S, 0, /p/media.qv\r\nS, 1, /p/what, now?.qva\r\n"
        "F, 0, 49984, 0, 49984, 1\r\nF, 49984, 49985, 49984, 64001, 0\n"
        "A, 0, 9984, 0, 0, 9984, 100\nA, 9984, 14984, -1, 0, 0, 0");
    EXPECT_EQ(list.sources, (std::vector<std::filesystem::path>{"/p/media.qv", "/p/what, now?.qva"}));
    EXPECT_EQ(list.frameRows, (std::vector<FrameRow>{{0, 49984, 0, 49984, 1}, {49984, 49985, 49984, 64001, 0}}));
    EXPECT_EQ(list.audioRows, (std::vector<AudioRow>{{0, 9984, 0, 0, 9984, 100}, {9984, 14984, -1, 0, 0, 0}}));
}

TEST(PlayListText, NamesTheLineThatIsWrong) {
    const struct {
        const char* text;
        const char* reason;
    } cases[] = {
        {"hello", "line 1: it begins with none of \"S, \", \"F, \", \"A, \""},
        {"S, 1, /a", "line 1: the sources are not numbered 0, 1, 2 ..."},
        {"S, 0, ", "line 1: the source has no path"},
        {"S, 0, /a\nF, 0, 1, 0, 1", "line 2: \"\" is no whole number of 32 bits"},
        {"F, 0, 1, 0, 1, 1, 7", "line 1: there is more than a row takes"},
        {"F, 0, 2147483648, 0, 1, 1", "line 1: \"2147483648\" is no whole number of 32 bits"},
        {"F, 0, 1x, 0, 1, 1", "line 1: \"1x\" is no whole number of 32 bits"},
        {"A, 0, 1, 0, 0, 1, 100\nF, 0, 1, 0, 1, 1", "line 2: the rows stand in another order than S, F, A"},
    };
    for (const auto& it : cases)
        EXPECT_EQ(support::Complaint([&] { (void)ParsePlayList(it.text); }), it.reason) << it.text;
}

TEST(FileList, KeepsQuestionMarksAndPercentSignsInPaths) {
    const std::vector<std::filesystem::path> files = {"/p/media.qv", "/p/what?.wav.qva", "/p/100%3F.qva"};
    const std::string joined = JoinFileList(files);
    EXPECT_EQ(joined, "/p/media.qv?/p/what%3F.wav.qva?/p/100%253F.qva");
    EXPECT_EQ(SplitFileList(joined), files);
    EXPECT_EQ(SplitFileList("/only one.qv"), (std::vector<std::filesystem::path>{"/only one.qv"}));
}

}  // namespace
}  // namespace qv
