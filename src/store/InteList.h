// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/Numbers.h"
#include "base/World.h"

namespace mirrane {

/// One interaction: a time and a line of text that only other programs understand.
struct CInteItem {
    Ms pos = 0;
    Ms posEnd = 0;  ///< where the next row begins, or the project's duration
    std::string text;
    bool selected = false;
    std::int32_t deleteID = 0;
};

/// The interaction index inteIndex.txt: UTF-8, lines end in LF.
///
///     ver=1.0
///     lastFinalPos=<pos of the last row, or 0>
///     <pos>,<text, commas and all>
class CInteList {
public:
    explicit CInteList(World& world) : world_(world) {}

    std::string ver;
    std::int32_t lastFinalPos = 0;

    [[nodiscard]] const std::vector<CInteItem>& items() const { return items_; }
    [[nodiscard]] std::int32_t Count() const { return static_cast<std::int32_t>(items_.size()); }
    [[nodiscard]] std::int32_t DelCount() const { return static_cast<std::int32_t>(deleted_.size()); }
    [[nodiscard]] std::int32_t SelectionCount() const;

    /// Reads a file: times go up to the 64 ms grid; of two rows closer than a second the later one stays; rows at or past
    /// the duration and in its last second fall out. A missing file, or one without rows, is an empty list.
    /// @returns false after a message; the rows read so far stay
    bool Load(const std::filesystem::path& file, Ms duration);
    /// Replaces the file in one step. @returns false after a message
    bool Save(const std::filesystem::path& file);
    /// Takes rows as GetInteAry gives them, without rounding or thinning. Rows at or past the duration, and all behind
    /// them, fall out.
    /// @returns false after a message
    bool LoadAry(const std::vector<Ms>& times, const std::vector<std::string>& texts, Ms duration);
    /// An empty list is one element, -1 and "".
    void GetInteAry(std::vector<Ms>& times, std::vector<std::string>& texts) const;
    /// Whether the file holds at least one row; false when there is none.
    /// @throws std::filesystem::filesystem_error when it cannot be read
    [[nodiscard]] static bool IndexDataExists(const std::filesystem::path& file);
    void ClearAll();

private:
    void ReadRows(const std::vector<std::string_view>& lines, Ms duration);
    void Replace(const std::filesystem::path& file, const std::string& text);
    /// @throws std::invalid_argument when there is a row of that time
    void Append(CInteItem item);
    void RemoveLast();

    World& world_;
    std::vector<CInteItem> items_;
    std::unordered_set<Ms> times_;  ///< of items_: no two rows begin together
    std::vector<CInteItem> deleted_;
};

}  // namespace mirrane
