// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>
#include <set>

#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane::modFiles {
namespace {

namespace fs = std::filesystem;

class FilesTest : public testing::Test {
protected:
    fs::path Make(const std::string& name, const std::string& bytes = "bytes", mode_t mode = 0644) const {
        fs::path file = folder_ / name;
        fs::create_directories(file.parent_path());
        Disk().Write(file, bytes);
        ::chmod(file.c_str(), mode);
        return file;
    }
    /// A folder with a read-only file in a read-only folder, and links to what lies outside.
    void MakeTree() const {
        Make("tree/in/file", "x", 0444);
        Make("tree/plain");
        fs::create_symlink(outside_, tree_ / "link");
        fs::create_directory_symlink(outside_.parent_path(), tree_ / "in/folder link");
        fs::create_symlink("nowhere", tree_ / "dangling");
        ::chmod((tree_ / "in").c_str(), 0555);
    }
    bool IsOutsideAsItWas() const { return fs::status(outside_).permissions() == fs::perms(0444); }

    const fs::path folder_ = support::TestFolder();
    const fs::path tree_ = folder_ / "tree";
    const fs::path outside_ = Make("outside/kept", "x", 0444);
    doubles::World made_{Make("res.xml", R"(<r><f name="frmCommon"><t name="msgDeleteFolder">in use</t>
        <t name="msgParentFolderNotExist">no parent of %s</t><t name="msgCreateFolder">cannot write %s</t></f></r>)")};
    World& world_ = made_.world;
};

TEST_F(FilesTest, DiskTellsTheCulpritAndTheReason) {
    Disk disk;
    const fs::path none = folder_ / "none";
    const fs::path file = Make("a");
    const fs::path pipe = folder_ / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::tuple<std::function<void()>, fs::path, std::string> cases[] = {
        {[&] { (void)ReadFile(none); }, none, "No such file or directory"},
        {[&] { (void)ReadFile(folder_); }, folder_, "Is a directory"},
        {[&] { (void)ReadFile(pipe); }, pipe, "Invalid argument"},  // and does not wait for a writer
        {[&] { disk.Copy(none, file); }, none, "No such file or directory"},
        {[&] { disk.Copy(file, file); }, file, "File exists"},
        {[&] { disk.Write("/dev/full", "x"); }, "/dev/full", "No space left on device"},
        {[&] { disk.Rename(none, file); }, file, "No such file or directory"}};
    for (const auto& [deed, culprit, reason] : cases) {
        try {
            deed();
            ADD_FAILURE() << culprit << " " << reason;
        } catch (const fs::filesystem_error& error) {
            EXPECT_EQ(ErrorText(error), culprit.string() + ": " + reason);
        }
    }
    EXPECT_EQ(ReadFile(file), "bytes") << "all of it without a trace";
    disk.Copy(Make("short", "x"), file);
    EXPECT_EQ(ReadFile(file), "x");
    EXPECT_FALSE(FileExists(pipe) || FolderExists(pipe));
    EXPECT_EQ(InFolder("//server/a/", "b").native(), "//server/a//b") << "nothing is normalised";
}

TEST_F(FilesTest, DeleteFile) {
    const fs::path file = Make("locked/file", "x", 0444);
    ::chmod(file.parent_path().c_str(), 0555);
    EXPECT_TRUE(DeleteFileIfAny(world_, file));
    EXPECT_EQ(made_.disk.log, (std::vector<std::string>{"AddOwnerWrite locked", "AddOwnerWrite file", "Remove file"}));
    EXPECT_TRUE(DeleteFileIfAny(world_, file)) << "none";
    fs::create_symlink(outside_, folder_ / "link");
    EXPECT_TRUE(DeleteFileIfAny(world_, folder_ / "link") && !fs::is_symlink(folder_ / "link") && IsOutsideAsItWas());
    EXPECT_TRUE(DeleteFileIfAny(world_, folder_ / "locked") && fs::exists(folder_ / "locked")) << "a folder is no file";
    made_.disk.failAt = made_.disk.changes + 3;
    EXPECT_FALSE(DeleteFileIfAny(world_, outside_));
}

TEST_F(FilesTest, DeleteFolder) {
    MakeTree();
    made_.disk.failAt = 5;
    EXPECT_FALSE(DeleteFolderIfAny(world_, tree_));
    EXPECT_TRUE(DeleteFolderIfAny(world_, tree_) && !fs::exists(tree_));
    EXPECT_TRUE(DeleteFolderIfAny(world_, tree_)) << "none";
    EXPECT_TRUE(IsOutsideAsItWas());
}

TEST_F(FilesTest, DeleteUnforcedLeavesAllOfAReadOnlyTree) {
    MakeTree();
    for (const auto& [mode, culprit] : {std::pair{0555, tree_ / "in"}, std::pair{0755, tree_ / "in/file"}}) {
        ::chmod((tree_ / "in").c_str(), static_cast<mode_t>(mode));
        try {
            DeleteUnforced(world_, tree_);
            FAIL() << culprit;
        } catch (const fs::filesystem_error& error) {
            EXPECT_EQ(ErrorText(error), culprit.string() + ": Permission denied");
        }
    }
    EXPECT_EQ(made_.disk.changes, 0);
    Make("tree/in/file", "x", 0644);
    DeleteUnforced(world_, tree_);
    EXPECT_TRUE(!fs::exists(tree_) && IsOutsideAsItWas()) << "a link to what is read-only hinders nothing";
    EXPECT_THROW(DeleteUnforced(world_, tree_), fs::filesystem_error);
}

TEST_F(FilesTest, ClearReadOnlyBelow) {
    MakeTree();
    ::chmod(tree_.c_str(), 0555);
    made_.disk.failAt = 1;  // whichever comes first; the others get their permission
    EXPECT_TRUE(ClearReadOnly(world_, tree_));
    EXPECT_TRUE(ClearReadOnly(world_, tree_));
    EXPECT_EQ(fs::status(tree_ / "in").permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(tree_ / "in/file").permissions(), fs::perms(0644));
    EXPECT_EQ(fs::status(tree_).permissions(), fs::perms(0555)) << "below, it says";
    EXPECT_TRUE(IsOutsideAsItWas());
    EXPECT_FALSE(ClearReadOnly(world_, folder_ / "none") || ClearReadOnly(world_, tree_ / "plain"));
}

TEST_F(FilesTest, SizesAndSpace) {
    EXPECT_EQ(GetFileSizeBytes(Make("five")) * 10 + GetFileSizeBytes(folder_ / "none"), 50);
    const std::pair<std::uint64_t, int> cases[] = {
        {104333312, 100}, {104333311, 99}, {105381888, 100}, {std::uint64_t{1} << 60, 2147483647}};
    for (const auto& [bytes, megabytes] : cases) {
        made_.disk.freeBytes = bytes;
        EXPECT_EQ(GetFreeSpaceMB(world_, folder_), megabytes) << bytes;
    }
    EXPECT_EQ(GetFreeSpaceMB(world_, "//server/share") + GetFreeSpaceMB(world_, "\\\\server\\share"), 202);
    EXPECT_FALSE(IsNetworkPath("/home//x") || IsNetworkPath("\\one"));
    made_.disk.freeBytes = 0;
    const std::string shown =
        support::Output("stat -f -c '%a * %S / 1048576' " + support::Quoted(folder_) + " | xargs expr");
    EXPECT_NEAR(GetFreeSpaceMB(world_, folder_ / "not/yet/there"), std::stoi(shown), 500) << "others write meanwhile";
    EXPECT_EQ(GetFreeSpaceMB(world_, std::string(300, 'x')), 0);
}

TEST_F(FilesTest, FolderWritable) {
    Make("tmp.txt", "the user's own");
    EXPECT_TRUE(IsFolderWritable(world_, folder_) && !fs::exists(folder_ / "tmp.txt"));
    for (const int step : {3, 5}) {
        made_.disk.failAt = step;
        EXPECT_FALSE(IsFolderWritable(world_, folder_)) << step;
        made_.disk.changes = 4;
    }
}

TEST_F(FilesTest, RecreateFolderTwiceThenTell) {
    const auto told = [&](const fs::path& folder, int failAt, bool failsOn) {
        made_.user.boxes.clear();
        made_.disk = {};
        made_.disk.failAt = failAt;
        made_.disk.failsFromThenOn = failsOn;
        const bool done = CreateFolderWithMsg(world_, folder);
        EXPECT_EQ(done, made_.user.boxes.empty());
        return made_.user.Told();
    };
    MakeTree();
    EXPECT_EQ(told(tree_ / "a/b", 0, false), "|no parent of " + (tree_ / "a/b").string() + "\n");
    EXPECT_EQ(told(tree_, 1, true), "|in use\n");
    EXPECT_EQ(told(tree_, 1, false), "") << "done at the second try";
    EXPECT_TRUE(fs::is_directory(tree_) && fs::is_empty(tree_) && IsOutsideAsItWas());
    EXPECT_EQ(told(folder_ / "new", 1, true), "|cannot write " + folder_.string() + "\n");
    EXPECT_EQ(told(outside_, 0, false), "|cannot write " + outside_.parent_path().string() + "\n") << "a file";
}

TEST_F(FilesTest, TemporaryNames) {
    std::set<fs::path> paths;
    std::set<char> digits;
    for (int i = 0; i < 200; ++i) {
        const fs::path file = MakeTempFile(folder_, "_qv_", ".wav");
        const std::string name = file.filename().string();
        EXPECT_TRUE(std::regex_match(name, std::regex("_qv_rad[0-9A-F]{5}\\.tmp\\.wav"))) << name;
        EXPECT_TRUE(paths.insert(file).second && fs::is_empty(file) && file.parent_path() == folder_) << file;
        digits.insert(name.begin() + 7, name.begin() + 12);
    }
    EXPECT_EQ(digits.size(), 16U);
    EXPECT_TRUE(fs::is_directory(MakeTempFolder(folder_, "_qvMix_")));
    EXPECT_THROW((void)MakeTempFile(folder_ / "none", "x"), fs::filesystem_error);
}

}  // namespace
}  // namespace mirrane::modFiles
