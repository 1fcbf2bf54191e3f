// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>

#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane::modFiles {
namespace {

namespace fs = std::filesystem;

struct FilesTest : testing::Test {
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
    /// What a deed throws.
    static std::string ErrorOf(const std::function<void()>& deed) {
        try {
            deed();
        } catch (const fs::filesystem_error& error) {
            return ErrorText(error);
        }
        return "done";
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
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { (void)ReadFile(folder_); }, folder_.string() + ": Is a directory"},
        {[&] { (void)ReadFile(pipe); }, pipe.string() + ": Invalid argument"},  // and does not wait for a writer
        {[&] { disk.Copy(none, file); }, none.string() + ": No such file or directory"},
        {[&] { disk.Copy(file, file); }, file.string() + ": File exists"},
        {[&] { disk.Write("/dev/full", "x"); }, "/dev/full: No space left on device"}};
    for (const auto& [deed, told] : cases) EXPECT_EQ(ErrorOf(deed), told);
    EXPECT_EQ(ReadFile(file), "bytes") << "all of it without a trace";
    disk.Copy(Make("short", "x"), file);
    EXPECT_EQ(ReadFile(file), "x");
}

TEST_F(FilesTest, DeleteFile) {
    const fs::path file = Make("locked/file", "x", 0444);
    ::chmod(file.parent_path().c_str(), 0555);
    EXPECT_TRUE(DeleteFileIfAny(world_, file) && made_.disk.changes == 3) << "permission, permission, removal";
    EXPECT_TRUE(DeleteFileIfAny(world_, file)) << "none";
    fs::create_symlink(outside_, folder_ / "link");
    EXPECT_TRUE(DeleteFileIfAny(world_, folder_ / "link") && !fs::is_symlink(folder_ / "link") && IsOutsideAsItWas());
    made_.disk.failAt = made_.disk.changes + 3;
    EXPECT_FALSE(DeleteFileIfAny(world_, outside_));
}

TEST_F(FilesTest, DeleteFolder) {
    MakeTree();
    made_.disk.failAt = 5;
    EXPECT_FALSE(DeleteFolderIfAny(world_, tree_));
    EXPECT_TRUE(DeleteFolderIfAny(world_, tree_) && !fs::exists(tree_) && IsOutsideAsItWas());
}

TEST_F(FilesTest, DeleteUnforcedLeavesAllOfAReadOnlyTree) {
    MakeTree();
    const auto remove = [this] { DeleteUnforced(world_, tree_); };
    EXPECT_EQ(ErrorOf(remove), (tree_ / "in").string() + ": Permission denied");
    ::chmod((tree_ / "in").c_str(), 0755);
    EXPECT_EQ(ErrorOf(remove), (tree_ / "in/file").string() + ": Permission denied");
    EXPECT_EQ(made_.disk.changes, 0);
    Make("tree/in/file", "x", 0644);
    EXPECT_EQ(ErrorOf(remove), "done") << "a link to what is read-only hinders nothing";
    EXPECT_TRUE(!fs::exists(tree_) && IsOutsideAsItWas());
}

TEST_F(FilesTest, ClearReadOnlyBelow) {
    MakeTree();
    ::chmod(tree_.c_str(), 0555);
    made_.disk.failAt = 1;  // whichever comes first; the others get their permission
    EXPECT_TRUE(ClearReadOnly(world_, tree_) && ClearReadOnly(world_, tree_));
    EXPECT_EQ(fs::status(tree_ / "in").permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(tree_ / "in/file").permissions(), fs::perms(0644));
    EXPECT_EQ(fs::status(tree_).permissions(), fs::perms(0555)) << "below, it says";
    EXPECT_TRUE(IsOutsideAsItWas());
    EXPECT_FALSE(ClearReadOnly(world_, folder_ / "none") || ClearReadOnly(world_, tree_ / "plain"));
}

TEST_F(FilesTest, SpaceAndPermissionToWrite) {
    const std::pair<std::uint64_t, int> cases[] = {
        {104333312, 100}, {104333311, 99}, {105381888, 100}, {std::uint64_t{1} << 60, 2147483647}};
    for (const auto& [bytes, megabytes] : cases) {
        made_.disk.freeBytes = bytes;
        EXPECT_EQ(GetFreeSpaceMB(world_, folder_), megabytes) << bytes;
    }
    EXPECT_EQ(GetFreeSpaceMB(world_, "//server/share") + GetFreeSpaceMB(world_, "\\\\server\\share"), 202);
    EXPECT_FALSE(IsNetworkPath("/home//x") || IsNetworkPath("\\one"));
    made_.disk.freeBytes = 0;
    EXPECT_GT(GetFreeSpaceMB(world_, folder_ / "not/yet/there"), 0);
    EXPECT_EQ(GetFreeSpaceMB(world_, std::string(300, 'x')), 0);

    Make("tmp.txt", "the user's own");
    EXPECT_TRUE(IsFolderWritable(world_, folder_) && !fs::exists(folder_ / "tmp.txt"));
    made_.disk.failAt = made_.disk.changes + 1;
    EXPECT_FALSE(IsFolderWritable(world_, folder_));
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
}

TEST_F(FilesTest, TemporaryNames) {
    const fs::path file = MakeTempFile(folder_, "_qv_", ".wav");
    EXPECT_TRUE(std::regex_match(file.filename().string(), std::regex("_qv_rad[0-9A-F]{5}\\.tmp\\.wav"))) << file;
    EXPECT_TRUE(fs::is_empty(file) && file.parent_path() == folder_ && MakeTempFile(folder_, "_qv_", ".wav") != file);
}

}  // namespace
}  // namespace mirrane::modFiles
