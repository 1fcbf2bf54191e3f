// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace qv {

/// Whether the pictures of a recording follow each other evenly, by the times of the pictures themselves.
///
///     1   they do, or there are none
///     0   the file has no sound
///    -2   they do not
///    -3   the file cannot be read
[[nodiscard]] int IsWmvConstFrmRate(const std::filesystem::path& path) noexcept;

}  // namespace qv
