// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Template.h"

#include <gtest/gtest.h>

#include "doubles/World.h"
#include "store/ThumbList.h"
#include "support/Basics.h"

namespace {

namespace fs = std::filesystem;
using mirrane::CProjectFile;

void Put(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    mirrane::Disk().Write(file, text);
}

class Template : public testing::Test {
protected:
    Template() {
        world_.host.programFolder = program_;
        Put(program_ / "encfiles/qvc.js", "script");
        Put(program_ / "encfiles/images/a.png", "a");
        Put(program_ / "template/default/index.html", "default page");
        Put(program_ / "template/default/photo.gif", "photo of the template");
        Put(program_ / "template/blue/index.html", "blue page");
        Put(program_ / "secret/index.html", "secret");
        fs::permissions(program_ / "encfiles/qvc.js", fs::perms::owner_read);
        fs::create_directories(project_);
        fs::copy_file(MIRRANE_SOURCE_DIR "/data/default.qvp", project_ / "project.qvp");
    }
    /// Applies with a template's name in the document. @returns the template's name that the document then holds
    std::string Apply(const std::string& name, bool wanted = true) {
        CProjectFile project(world_.world);
        EXPECT_TRUE(project.Load(project_ / "project.qvp"));
        project.templateName = name;
        EXPECT_EQ(ApplyProjectTemplate(world_.world, project, project_), wanted) << name;
        CProjectFile saved(world_.world);
        EXPECT_TRUE(saved.Load(project_ / "project.qvp"));
        return saved.templateName;
    }

    doubles::World world_;
    fs::path program_ = support::TestFolder() / "program";
    fs::path project_ = program_.parent_path() / "project";
};

TEST_F(Template, CopiesThePageOverWhatIsThereAndKeepsThePhoto) {
    Put(project_ / "photo.gif", "photo of the user");
    Put(project_ / "index.html", "old page");
    Put(project_ / "index.jpg", "old");
    Put(project_ / "pic.jpg", "old");
    EXPECT_EQ(Apply("blue"), "blue");
    EXPECT_EQ(mirrane::ReadFile(project_ / "index.html"), "blue page");
    EXPECT_EQ(mirrane::ReadFile(project_ / "images/a.png"), "a");
    EXPECT_FALSE(fs::exists(project_ / "index.jpg") || fs::exists(project_ / "pic.jpg"));
    for (const char* name : {"gone", "", "..", "../secret"}) {
        EXPECT_EQ(Apply(name), "default") << name;
        EXPECT_EQ(mirrane::ReadFile(project_ / "index.html"), "default page") << name;
    }
    EXPECT_EQ(mirrane::ReadFile(project_ / "photo.gif"), "photo of the user");
    EXPECT_FALSE(fs::exists(project_ / "bak.photo.gif"));
    EXPECT_NE(fs::status(project_ / "qvc.js").permissions() & fs::perms::owner_write, fs::perms::none);
}

TEST_F(Template, DoesWithoutTheProgramsFiles) {
    fs::remove_all(program_ / "encfiles");
    fs::remove_all(program_ / "template");
    EXPECT_EQ(Apply("blue"), "default");
    EXPECT_EQ(world_.user.Told(), "");
}

TEST_F(Template, AUsersPhotoOutlivesAFailureAtAnyStep) {
    for (int step = 1;; ++step) {
        Put(project_ / "photo.gif", "photo of the user");
        world_.disk.failAt = world_.disk.changes + step;
        CProjectFile project(world_.world);
        ASSERT_TRUE(project.Load(project_ / "project.qvp"));
        const bool done = ApplyProjectTemplate(world_.world, project, project_);
        const bool failed = world_.disk.changes >= world_.disk.failAt;
        world_.disk.failAt = 0;
        EXPECT_NE(done, failed) << step;
        if (!failed) break;
        ASSERT_LT(step, 100);
        Apply("default");
        EXPECT_EQ(mirrane::ReadFile(project_ / "photo.gif"), "photo of the user") << step;
    }
}

TEST_F(Template, AFoldersNameIsTheTitle) {
    EXPECT_EQ(mirrane::TitleOfFolder("/a/Lesson.qvp"), "Lesson");
    EXPECT_EQ(mirrane::TitleOfFolder("/a/Lesson 1.5"), "Lesson 1.5");
}

TEST_F(Template, TheThumbnailsListHoldsTheSlidesOfTheRecording) {
    mirrane::GridTable table;
    mirrane::CGrid grid(world_.world);
    grid.Grid(table);
    grid.Append("a", "0", "", "");
    grid.Append("web", "-1", "", "html1/i.htm");
    grid.Append("b", "15040", "", "");
    Put(project_ / "thumbnails/15040.jpg", "old");
    Put(project_ / "thumbnails/html1.jpg", "kept");
    WriteThumbList(world_.world, grid, project_);
    EXPECT_EQ(mirrane::ReadFile(project_ / "thumblist.txt"), "0\r\n15040\r\n");
    EXPECT_FALSE(fs::exists(project_ / "thumbnails/15040.jpg"));
    EXPECT_TRUE(fs::exists(project_ / "thumbnails/html1.jpg"));
}

}  // namespace
