// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Grid.h"

#include <gtest/gtest.h>

#include "doubles/World.h"

namespace mirrane {
namespace {

struct Grid : testing::Test {
    Grid() { grid.Grid(table); }

    /// Each row is a pos, or the url of a web page.
    void Fill(const std::vector<std::string>& rows) {
        for (const std::string& row : rows)
            row.starts_with("html") ? grid.Append("web", "7", "", row) : grid.Append("T", row, "2024", "");
    }

    doubles::World doubled;
    GridTable table;
    CGrid grid{doubled.world};
};

TEST_F(Grid, UpdateEndsEachSlideWhereTheNextOneBegins) {
    Fill({"0", "html1/a.htm", "-1", "64000", "128000"});
    grid.SetDuration(189500);
    grid.Update();
    std::string text;
    for (int row = 0; row <= 6; ++row)
        text += grid.GetPos(row) + "-" + grid.GetEnd(row) + " " + grid.GetLen(row) + ", ";
    EXPECT_EQ(text, "-2--1 0, 0-64000 64000, 7- 0, -1- 0, 64000-128000 64000, 128000-189500 61500, -2--1 0, ");
    EXPECT_EQ(grid.item(1).Length + grid.item(2).Length + grid.item(5).Length, "01:0401:02");
    grid.Append("Late", "190000", "", "", "189000");
    EXPECT_EQ(grid.GetLen(6) + grid.GetLen(6), "-1000-1000");
    EXPECT_EQ(doubled.user.boxes.size(), 2U);
}

TEST_F(Grid, FindsTheSlideOfATimeAndItsNeighbours) {
    EXPECT_EQ(grid.GetIndex(0), 0);
    Fill({"html1/a.htm", "0", "-1", "64000", "html3/c.htm"});
    grid.SetDuration(128000);
    grid.Update();
    const std::vector<std::pair<Ms, int>> rowAt = {{0, 2}, {63999, 2}, {64000, 4}, {127999, 4}, {128000, 4}, {-1, 4}};
    for (const auto& [time, row] : rowAt) EXPECT_EQ(grid.GetIndex(time), row) << time;

    std::string neighbours;
    for (int row = -1; row <= 7; ++row)
        neighbours += std::to_string(grid.GetPrevQv(row)) + std::to_string(grid.GetNextQv(row)) + " ";
    EXPECT_EQ(neighbours, "02 02 02 04 24 20 40 40 40 ");
}

TEST_F(Grid, ShownSlideOutlivesMarksAndRows) {
    Fill({"0", "64000", "128000"});
    EXPECT_THROW(grid.SelectedRow(4), std::out_of_range);
    grid.SelectedRow(3);
    EXPECT_EQ(grid.GetPos(CGrid::kCurrentRow), "128000");
    table.Mark(2, true);
    EXPECT_EQ(grid.SelectedRow(), 2);
    grid.Clear();
    EXPECT_EQ(grid.SelectedRow(), 0);
}

}  // namespace
}  // namespace mirrane
