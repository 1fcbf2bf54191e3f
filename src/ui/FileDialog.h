// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <filesystem>
#include <optional>
#include <string>

namespace mirrane {

/// Has the user choose a file that is there.
/// @param filter "Media files (*.wav;*.wma)|*.wav;*.wma"
/// @param startFolder empty: the present one
/// @returns nothing when the user gave up
[[nodiscard]] std::optional<std::filesystem::path> ChooseFile(QWidget* parent, const std::string& title,
                                                              const std::string& filter,
                                                              const std::filesystem::path& startFolder);

}  // namespace mirrane
