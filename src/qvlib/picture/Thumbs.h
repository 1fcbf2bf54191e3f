// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <filesystem>
#include <vector>

#include "jobs/JobContext.h"
#include "qvlib/Rows.h"

namespace qv {

/// Reads a list of positions: decimal ms, one a line, line ends of either kind. Lines that are no number are passed over.
/// @throws MediaError when the list cannot be read
[[nodiscard]] std::vector<Ms> ReadThumbList(const std::filesystem::path& list);

/// Writes "<folder of media>/thumbnails/<position>.jpg" for each position, in their order; behind the end the last
/// picture stands in.
/// @param reached set to each position before its picture is made
/// @throws MediaError when the media cannot be read or the pictures not be written, Abandoned when told to stop
void MakeThumbs(const std::filesystem::path& media, const std::vector<Ms>& positions, std::atomic<Ms>& reached,
                const JobContext& job);

}  // namespace qv
