// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Grid.h"

#include <algorithm>
#include <stdexcept>

#include "base/Text.h"
#include "store/Time.h"

namespace mirrane {

namespace {

// Columns of the index.
constexpr int kTitle = 1;
constexpr int kLength = 2;
constexpr int kPos = 3;
constexpr int kEnd = 4;
constexpr int kUrl = 5;
constexpr int kDate = 6;

}  // namespace

// ---------------------------------------------------------------------------------------------------------- GridTable

const GridTable::Row& GridTable::At(int row) const {
    if (row < 1 || row > Rows()) throw std::out_of_range("Row " + std::to_string(row) + " is not in the table");
    return rows_[static_cast<std::size_t>(row - 1)];
}

GridTable::Row& GridTable::At(int row) {
    if (row < 1 || row > Rows()) throw std::out_of_range("Row " + std::to_string(row) + " is not in the table");
    return rows_[static_cast<std::size_t>(row - 1)];
}

const std::string& GridTable::Cell(int row, int column) const {
    return At(row).cells.at(static_cast<std::size_t>(column - 1));
}

void GridTable::SetCell(int row, int column, std::string text) {
    At(row).cells.at(static_cast<std::size_t>(column - 1)) = std::move(text);
    Changed();
}

void GridTable::AppendRow() {
    rows_.emplace_back();
    Changed();
}

void GridTable::Clear() {
    rows_.clear();
    currentRow_ = 0;
    Changed();
}

bool GridTable::IsMarked(int row) const { return At(row).isMarked; }

void GridTable::Mark(int row, bool marked) {
    At(row).isMarked = marked;
    Changed();
}

void GridTable::SetCurrentRow(int row) {
    Row& current = At(row);
    for (Row& other : rows_) other.isMarked = false;
    current.isMarked = true;
    currentRow_ = row;
    Changed();
}

void GridTable::SetRedraw(bool on) {
    isRedrawn_ = on;
    if (on && isStale_) Changed();
}

void GridTable::SetFocus() const {
    if (setFocus_) setFocus_();
}

void GridTable::Changed() {
    isStale_ = !isRedrawn_;
    if (isRedrawn_ && changed_) changed_();
}

// -------------------------------------------------------------------------------------------------------------- CGrid

int CGrid::Rows() const { return table_ != nullptr ? table_->Rows() : 0; }

int CGrid::RowOf(int row) const { return row == kCurrentRow && table_ != nullptr ? table_->CurrentRow() : row; }

bool CGrid::IsRow(int row) const { return row >= 1 && row <= Rows(); }

GridTable& CGrid::Table() const {
    if (table_ == nullptr) throw std::logic_error("No grid is bound");
    return *table_;
}

int CGrid::SelectedRow() const {
    for (int row = 1; row <= Rows(); ++row) {
        if (table_->IsMarked(row)) return row;
    }
    return Rows() == 0 ? 0 : std::clamp(curRow_, 1, Rows());
}

void CGrid::SelectedRow(int row) {
    if (!IsRow(row)) throw std::out_of_range("Row " + std::to_string(row) + " is not in the index");
    // Whoever watches the marks asks for the shown slide.
    curRow_ = row;
    Table().SetCurrentRow(row);
}

void CGrid::Redraw(bool on) { Table().SetRedraw(on); }
void CGrid::SetFocus() { Table().SetFocus(); }
void CGrid::Clear() { Table().Clear(); }

void CGrid::Append(const std::string& title, const std::string& pos, const std::string& recDate, const std::string& url,
                   const std::string& posEnd) {
    GridTable& table = Table();
    table.AppendRow();
    const int row = table.Rows();
    table.SetCell(row, kTitle, title);
    table.SetCell(row, kPos, pos);
    table.SetCell(row, kDate, recDate);
    table.SetCell(row, kUrl, url);
    if (posEnd.empty()) return;
    table.SetCell(row, kEnd, posEnd);
    table.SetCell(row, kLength, CTime::GetString(CheckedSub(IntegerPrefix(posEnd), IntegerPrefix(pos)), "sec"));
}

CIndexItem CGrid::item(int row) const {
    const GridTable& table = Table();
    const int at = RowOf(row);
    CIndexItem item;
    item.title = table.Cell(at, kTitle);
    item.pos = table.Cell(at, kPos);
    item.RecDate = table.Cell(at, kDate);
    item.posEnd = table.Cell(at, kEnd);
    item.Length = table.Cell(at, kLength);
    item.Url = table.Cell(at, kUrl);
    item.selected = table.IsMarked(at);
    return item;
}

void CGrid::SetTitle(int row, const std::string& title) { Table().SetCell(RowOf(row), kTitle, title); }

std::string CGrid::CellOr(int row, int column, const char* fallback) const {
    const int at = RowOf(row);
    return IsRow(at) ? table_->Cell(at, column) : fallback;
}

std::string CGrid::GetTitle(int row) const { return CellOr(row, kTitle, ""); }
std::string CGrid::GetDate(int row) const { return CellOr(row, kDate, ""); }
std::string CGrid::GetUrl(int row) const { return CellOr(row, kUrl, ""); }
std::string CGrid::GetPos(int row) const { return CellOr(row, kPos, "-2"); }
std::string CGrid::GetEnd(int row) const { return CellOr(row, kEnd, "-1"); }

bool CGrid::IsTimed(int row) const {
    return IsRow(row) && !IsOffTimeline(table_->Cell(row, kPos), table_->Cell(row, kUrl));
}

std::string CGrid::GetLen(int row) {
    const int at = RowOf(row);
    if (!IsTimed(at)) return "0";
    const Ms length = CheckedSub(IntegerPrefix(table_->Cell(at, kEnd)), IntegerPrefix(table_->Cell(at, kPos)));
    if (length < 0) {
        const std::string text =
            GetResString(world_, "frmCommon", "msgLenError", "Slide \"%s\" ends before it begins!");
        ShowFailure(world_, ReplaceAll(text, "%s", table_->Cell(at, kTitle)));
    }
    return std::to_string(length);
}

int CGrid::GetIndex(Ms time) const {
    int lastTimed = 0;
    for (int row = 1; row <= Rows(); ++row) {
        if (!IsTimed(row)) continue;
        lastTimed = row;
        if (IntegerPrefix(table_->Cell(row, kPos)) <= time && time < IntegerPrefix(table_->Cell(row, kEnd))) return row;
    }
    return lastTimed;
}

int CGrid::GetNextQv(int row) const {
    for (int next = RowOf(row) + 1; next <= Rows(); ++next) {
        if (IsTimed(next)) return next;
    }
    return 0;
}

int CGrid::GetPrevQv(int row) const {
    for (int previous = RowOf(row) - 1; previous >= 1; --previous) {
        if (IsTimed(previous)) return previous;
    }
    return 0;
}

void CGrid::Update() {
    for (int row = 1; row <= Rows(); ++row) UpdateRow(row);
}

void CGrid::UpdateRow(int row) {
    const int at = RowOf(row);
    if (!IsTimed(at)) return;
    const int next = GetNextQv(at);
    table_->SetCell(at, kEnd, next < 1 ? std::to_string(totalEnd_) : table_->Cell(next, kPos));
    table_->SetCell(at, kLength, CTime::GetString(IntegerPrefix(GetLen(at)), "sec"));
}

}  // namespace mirrane
