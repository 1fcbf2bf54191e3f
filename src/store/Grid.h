// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "base/World.h"
#include "store/IndexItem.h"

namespace mirrane {

/// A table of text cells with marked rows and a current row, which a window may show and watch. Rows and columns count
/// from 1. A position outside throws std::out_of_range.
class GridTable {
public:
    static constexpr int kColumns = 6;

    [[nodiscard]] int Rows() const { return static_cast<int>(rows_.size()); }
    [[nodiscard]] const std::string& Cell(int row, int column) const;
    void SetCell(int row, int column, std::string text);
    void AppendRow();
    void Clear();

    [[nodiscard]] bool IsMarked(int row) const;
    void Mark(int row, bool marked);
    /// 0: none.
    [[nodiscard]] int CurrentRow() const { return currentRow_; }
    /// Moves the current row there and marks it alone.
    void SetCurrentRow(int row);

    /// While redrawing is off nobody is told of changes; switching it on tells of all at once.
    void SetRedraw(bool on);
    /// @param changed called after each change, or after SetRedraw(true); may be empty
    void Watch(std::function<void()> changed) { changed_ = std::move(changed); }
    /// Gives the table the keyboard focus, if a window shows it.
    void OnSetFocus(std::function<void()> setFocus) { setFocus_ = std::move(setFocus); }
    void SetFocus() const;

private:
    struct Row {
        std::array<std::string, kColumns> cells;
        bool isMarked = false;
    };

    [[nodiscard]] const Row& At(int row) const;
    [[nodiscard]] Row& At(int row);
    void Changed();

    std::vector<Row> rows_;
    int currentRow_ = 0;
    bool isRedrawn_ = true;
    bool isStale_ = false;
    std::function<void()> changed_;
    std::function<void()> setFocus_;
};

/// The project's index as the editor holds it: one row a slide, with the recording's own times, as text.
///
///     column    1 title   2 length "01:04"   3 pos   4 posEnd   5 Url   6 recording date
class CGrid {
public:
    /// A row argument that means the current row.
    static constexpr int kCurrentRow = -99;

    explicit CGrid(World& world) : world_(world) {}

    /// Binds the table; it outlives this.
    void Grid(GridTable& table) { table_ = &table; }

    [[nodiscard]] int Rows() const;
    /// The first marked row; curRow kept within 1..Rows when none is marked.
    [[nodiscard]] int SelectedRow() const;
    void SelectedRow(int row);
    /// The row last set by SelectedRow(row): the slide that is shown.
    [[nodiscard]] int CurrIndex() const { return curRow_; }
    void Redraw(bool on);
    void SetFocus();
    void Clear();
    /// The end of the last timed row, for Update. ms.
    void SetDuration(Ms totalEnd) { totalEnd_ = totalEnd; }

    /// The length cell stays empty, as the end, when posEnd is empty; Update fills both.
    void Append(const std::string& title, const std::string& pos, const std::string& recDate, const std::string& url,
                const std::string& posEnd = {});
    [[nodiscard]] CIndexItem item(int row) const;
    void SetTitle(int row, const std::string& title);

    /// "" when the row is out of range.
    [[nodiscard]] std::string GetTitle(int row) const;
    [[nodiscard]] std::string GetDate(int row) const;
    [[nodiscard]] std::string GetUrl(int row) const;
    /// "-2" when the row is out of range.
    [[nodiscard]] std::string GetPos(int row) const;
    /// "-1" when the row is out of range.
    [[nodiscard]] std::string GetEnd(int row) const;
    /// ms in decimal; "0" for a row out of range or off the timeline. A negative length is told in a message box.
    [[nodiscard]] std::string GetLen(int row);
    /// The row that stands at a time; without one the last row with a place on the timeline, 0 when there is none.
    [[nodiscard]] int GetIndex(Ms time) const;
    /// The next, or previous, row with a place on the timeline; 0 when there is none.
    [[nodiscard]] int GetNextQv(int row) const;
    [[nodiscard]] int GetPrevQv(int row) const;

    /// Makes each timed row end where the next one begins, the last one at the duration.
    void Update();
    void UpdateRow(int row);

private:
    [[nodiscard]] int RowOf(int row) const;
    [[nodiscard]] bool IsRow(int row) const;
    [[nodiscard]] bool IsTimed(int row) const;
    [[nodiscard]] GridTable& Table() const;
    [[nodiscard]] std::string CellOr(int row, int column, const char* fallback) const;

    World& world_;
    GridTable* table_ = nullptr;
    int curRow_ = 0;
    Ms totalEnd_ = 0;
};

}  // namespace mirrane
