// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "editing/EditContext.h"

/// The list of slides, ListView. Its rows are those of the grid's table; marked rows are the selected ones.
namespace mirrane::modSlideListView {

/// @returns false: the list must not see the key
[[nodiscard]] bool ListView_KeyDown(const EditContext& ctx);
/// The keys held with "A" select all rows.
void ListView_SelectAll(EditContext& ctx);
/// The user has selected other rows, which are marked in the table already.
void ListView_SelectionChange(EditContext& ctx);
void ListView_ItemClick(EditContext& ctx);
/// What a click on one row does, from the selection to the release.
void ChooseRow(EditContext& ctx, std::int32_t row);

}  // namespace mirrane::modSlideListView
