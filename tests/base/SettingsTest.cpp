// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Settings.h"

#include <gtest/gtest.h>

#include "support/Basics.h"

namespace mirrane {
namespace {

constexpr char kSection[] = "lastOpenedProj";

/// "3 1 ": the last folder of each project.
std::string Shown(const RecentProjects& recent) {
    std::string shown;
    for (const std::filesystem::path path : recent.gRecentProjects())
        shown += path.parent_path().filename().string() + " ";
    return shown;
}

struct RecentTest : testing::Test {
    std::string Project(const std::string& name, const std::string& file = "project.qvp") {
        std::filesystem::create_directories(folder_ / name);
        support::WriteBytes(folder_ / name / file, {'x'});
        return (folder_ / name / file).string();
    }
    std::string Stored(const std::string& key) { return GetHexSetting(settings_, kSection, key, "none"); }

    std::filesystem::path folder_ = support::TestFolder();
    MemorySettings settings_;
    RecentProjects recent_{settings_};
};

TEST_F(RecentTest, SixNewestFirst) {
    for (const char* name : {"1", "2", "3", "4", "5", "6", "2", "7"})
        recent_.AddRecentProject(Project(name), {2024, 3, name[0] - '0', 13, 4, 5});
    EXPECT_EQ(Shown(recent_), "7 2 6 5 4 3 ") << "a known one moves to the front, a seventh pushes the oldest out";
    EXPECT_EQ(recent_.gRecentDates()[2], "2024/3/6 13:04:05");
    RecentProjects later(settings_);
    later.LoadRecentProjects();
    EXPECT_EQ(later.gRecentProjects(), recent_.gRecentProjects());
    EXPECT_EQ(later.gRecentDates(), recent_.gRecentDates());
    EXPECT_EQ(Stored("2dt") + " " + Stored("7"), "2024/3/2 13:04:05 none");
}

TEST_F(RecentTest, LeavesOutWhatIsNoProjectAnyMore) {
    const std::string gone = (folder_ / "gone/project.qvp").string();
    const std::string entries[] = {gone, Project("case", "Project.qvp"), Project("here"), ""};
    for (int i = 0; i < 4; ++i) SetHexSetting(settings_, kSection, std::to_string(i + 1), entries[i]);
    recent_.LoadRecentProjects();
    EXPECT_EQ(Shown(recent_) + Stored("1"), "here " + gone) << "the settings still hold it";
}

}  // namespace
}  // namespace mirrane
