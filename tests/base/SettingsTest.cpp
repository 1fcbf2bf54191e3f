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

class RecentTest : public testing::Test {
protected:
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
    for (int i = 1; i <= 6; ++i) recent_.AddRecentProject(Project(std::to_string(i)), {2024, 3, i, 13, 4, 5});
    EXPECT_EQ(Shown(recent_), "6 5 4 3 2 1 ");
    recent_.AddRecentProject(Project("2"), {2024, 4, 1, 0, 0, 0});
    EXPECT_EQ(Shown(recent_), "2 6 5 4 3 1 ") << "one that is known moves to the front";
    EXPECT_EQ(recent_.gRecentDates()[1], "2024/3/6 13:04:05");
    recent_.AddRecentProject(Project("7"), {2024, 4, 2, 0, 0, 0});
    EXPECT_EQ(Shown(recent_), "7 2 6 5 4 3 ") << "a seventh pushes the oldest out";
    RecentProjects later(settings_);
    later.LoadRecentProjects();
    later.LoadRecentProjects();
    EXPECT_EQ(later.gRecentProjects(), recent_.gRecentProjects());
    EXPECT_EQ(later.gRecentDates(), recent_.gRecentDates());
    EXPECT_EQ(Stored("2dt") + " " + Stored("7"), "2024/4/1 00:00:00 none");
}

TEST_F(RecentTest, LeavesOutWhatIsNoProjectAnyMore) {
    const std::string gone = Project("gone");
    std::filesystem::remove(gone);
    const std::string entries[] = {gone, Project("case", "Project.qvp"), Project("here"), ""};
    for (int i = 0; i < 4; ++i) SetHexSetting(settings_, kSection, std::to_string(i + 1), entries[i]);
    EXPECT_EQ(settings_.Get(kSection, "4"), "");
    recent_.LoadRecentProjects();
    EXPECT_EQ(Shown(recent_), "here ");
    EXPECT_EQ(Stored("1"), gone) << "the settings still hold it";
    recent_.AddRecentProject(Project("new"), {});
    EXPECT_EQ(Shown(recent_), "new here ");
    EXPECT_EQ(Stored("2") + Stored("3"), entries[2] + entries[2]) << "keys beyond the count are left alone";
}

TEST(Settings, AgeOfAHeartbeat) { EXPECT_TRUE(IsHeartbeatAlive(299999) && !IsHeartbeatAlive(300000)); }

}  // namespace
}  // namespace mirrane
