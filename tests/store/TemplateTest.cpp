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

struct Template : testing::Test {
    Template() {
        world_.host.programFolder = program_;
        for (const auto& [file, text] : {std::pair{"encfiles/qvc.js", "script"},
                                         {"encfiles/images/a.png", "a"},
                                         {"secret/index.html", "secret"},
                                         {"template/default/index.html", "default page"},
                                         {"template/default/photo.gif", "photo of the template"},
                                         {"template/blue/index.html", "blue page"}})
            Put(program_ / file, text);
        fs::permissions(program_ / "encfiles/qvc.js", fs::perms::owner_read);
        fs::create_directories(project_);
        fs::copy_file(MIRRANE_SOURCE_DIR "/data/default.qvp", project_ / "project.qvp");
    }
    /// Applies with a template's name in the document. @returns the template's name that the document then holds
    std::string Apply(const std::string& name) {
        CProjectFile project(world_.world);
        EXPECT_TRUE(project.Load(project_ / "project.qvp"));
        project.templateName = name;
        EXPECT_TRUE(ApplyProjectTemplate(world_.world, project, project_)) << name;
        EXPECT_TRUE(project.Load(project_ / "project.qvp"));
        return project.templateName;
    }

    doubles::World world_;
    fs::path program_ = support::TestFolder() / "program";
    fs::path project_ = program_.parent_path() / "project";
};

TEST_F(Template, CopiesThePageOverWhatIsThereAndKeepsThePhoto) {
    for (const char* name : {"photo.gif", "index.html", "index.jpg", "pic.jpg"}) Put(project_ / name, "the user's");
    EXPECT_EQ(Apply("blue"), "blue");
    EXPECT_EQ(mirrane::ReadFile(project_ / "index.html"), "blue page");
    EXPECT_EQ(mirrane::ReadFile(project_ / "images/a.png"), "a");
    EXPECT_FALSE(fs::exists(project_ / "index.jpg") || fs::exists(project_ / "pic.jpg"));
    for (const char* name : {"gone", "", "..", "../secret"}) {
        EXPECT_EQ(Apply(name), "default") << name;
        EXPECT_EQ(mirrane::ReadFile(project_ / "index.html"), "default page") << name;
    }
    EXPECT_EQ(mirrane::ReadFile(project_ / "photo.gif"), "the user's");
    EXPECT_NE(fs::status(project_ / "qvc.js").permissions() & fs::perms::owner_write, fs::perms::none);
}

TEST_F(Template, AUsersPhotoOutlivesAFailureAtAnyStep) {
    int step = 0;
    for (bool failed = true; failed;) {
        Put(project_ / "photo.gif", "photo of the user");
        world_.disk.failAt = world_.disk.changes + ++step;
        CProjectFile project(world_.world);
        ASSERT_TRUE(project.Load(project_ / "project.qvp"));
        const bool done = ApplyProjectTemplate(world_.world, project, project_);
        failed = world_.disk.changes >= world_.disk.failAt;
        EXPECT_NE(done, failed) << step;
        world_.disk.failAt = 0;
        Apply("default");
        EXPECT_EQ(mirrane::ReadFile(project_ / "photo.gif"), "photo of the user") << step;
    }
}

TEST_F(Template, TheThumbnailsListHoldsTheSlidesOfTheRecording) {
    mirrane::GridTable table;
    mirrane::CGrid grid(world_.world);
    grid.Grid(table);
    for (const char* pos : {"0", "-1", "15040"}) grid.Append("title", pos, "", *pos == '-' ? "html1/i.htm" : "");
    for (const char* picture : {"15040.jpg", "html1.jpg"}) Put(project_ / "thumbnails" / picture, "old");
    WriteThumbList(world_.world, grid, project_);
    EXPECT_EQ(mirrane::ReadFile(project_ / "thumblist.txt"), "0\r\n15040\r\n");
    EXPECT_TRUE(!fs::exists(project_ / "thumbnails/15040.jpg") && fs::exists(project_ / "thumbnails/html1.jpg"));
}

}  // namespace
