// SPDX-License-Identifier: GPL-3.0-or-later
#include "frame/Main.h"

#include <gtest/gtest.h>

#include "doubles/QvLib.h"
#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

struct Main : testing::Test, IShell {
    Main() {
        doubled.host.environment = {{"temp", folder + "/temp"}, {"appdata", folder + "/appdata"}};
        std::filesystem::create_directories(project);
        Disk().Write(project + "/media.qv", "recording");
    }

    void ShowStartPage() override {
        if (!chosen.empty()) state.gProjectFolder = chosen;
    }
    void ShowEditor() override { isShown = true; }

    /// The folder that was taken, what was told, and whether the editor came up.
    std::string Start(const std::string& commandLine) {
        isShown = false;
        doubled.user.boxes.clear();
        basMixMain::Main(state, media, *this, commandLine);
        return state.gProjectFolder.string() + doubled.user.Told() + (isShown ? " editor" : "");
    }

    const std::string folder = support::TestFolder();
    const std::string project = folder + "/my project";
    std::string chosen;  ///< on the start page
    bool isShown = false;
    doubles::World doubled;
    doubles::QvLib lib;
    modMediaQv::MediaContext media{doubled.world, lib};
    EditorState state{doubled.world};
};

TEST_F(Main, CommandLineNamesAnyFileInTheProjectsFolder) {
    EXPECT_EQ(Start(project + "/project.qvp"), project + " editor");
    EXPECT_EQ(Start(project + "/"), project + " editor");
    EXPECT_EQ(Start(project), folder + "|File '" + folder + "/media.qv' not exist!\n");
    EXPECT_EQ(Start("\"\\a\\project.qvp\""), "");
    EXPECT_EQ(state.gAppMode + state.gProjectFileName, "project.qvp");
}

TEST_F(Main, StartPageChoosesOrNobodyDoes) {
    state.gProjectFolder = project;
    EXPECT_EQ(Start(""), "");
    chosen = project;
    EXPECT_EQ(Start(""), project + " editor");
    EXPECT_EQ(lib.calls, "verifyQvFile media.qv, ");
    lib.isSound = false;
    EXPECT_EQ(Start(""), project + "|Verify media.qv error!\n");
}

TEST_F(Main, FoldersAreMadeOnceAndNeverEmptied) {
    basMixMain::InitPaths(state);
    EXPECT_EQ(state.gAppDataFolder, folder + "/temp/Tallowin");  // there is no folder appdata
    std::filesystem::create_directory(folder + "/appdata");
    basMixMain::InitPaths(state);
    EXPECT_EQ(state.gAppDataFolder, folder + "/appdata/Tallowin");
    for (const char* mine : {"/temp/mine", "/appdata/Tallowin/mine"}) Disk().Write(folder + mine, "1");
    basMixMain::InitPaths(state);
    EXPECT_TRUE(FileExists(folder + "/temp/mine") && FileExists(folder + "/appdata/Tallowin/mine"));
}

}  // namespace
}  // namespace mirrane
