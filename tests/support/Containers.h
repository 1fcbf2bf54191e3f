// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "qvlib/Rows.h"

/// Small files and outside views of them, for tests.
namespace support {

/// A fresh, empty folder for the running test; emptied when the test asks again.
std::filesystem::path TestFolder();

/// A media.qv of made-up picture packets (a key every keyEvery ms, a packet every 100 ms) and real silence.
struct MadeUp {
    qv::Ms duration = 12000;
    qv::Ms keyEvery = 3000;
    bool camera = false;
};
void WriteMadeUp(const std::filesystem::path& target, const MadeUp& what);

std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& file);
void WriteBytes(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes);

/// Runs a command through the shell. @returns what it printed on standard output
/// @throws std::runtime_error with the output when it fails
std::string Output(const std::string& command);

/// A path in single quotes, for Output.
std::string Quoted(const std::filesystem::path& path);

}  // namespace support
