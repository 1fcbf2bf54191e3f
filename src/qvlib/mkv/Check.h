// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace qv {

/// Sets the QV_FREE_TAG of a file to 1 in place: its one digit and the checksum of its element, in one write, nothing
/// else. Safe on a file that is being played.
/// @throws MediaError when the file has no such fact or cannot be written
void SetFreeFact(const std::filesystem::path& file);

/// Whether a file is sound, told from its head, its index, its length and its last cluster. Reads some kilobytes.
/// @throws MediaError that says what is wrong
void CheckQuickly(const std::filesystem::path& file);

/// The same from every byte: all checksums, the order of every block, the index, and the tracks' extent against the
/// length that the file tells.
/// @throws MediaError that says what is wrong and where
void CheckWhole(const std::filesystem::path& file);

}  // namespace qv
