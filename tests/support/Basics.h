// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Folders, files and programs, for the tests of every room.
namespace support {

/// A fresh, empty folder for the running test; emptied when the test asks again.
std::filesystem::path TestFolder();

std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& file);
void WriteBytes(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes);

/// Runs a command through the shell. @returns what it printed on standard output
/// @throws std::runtime_error with the output when it fails
std::string Output(const std::string& command);

/// A path in single quotes, for Output.
std::string Quoted(const std::filesystem::path& path);

}  // namespace support
