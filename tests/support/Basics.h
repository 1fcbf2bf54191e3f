// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

/// What the tests of every room need: folders, files, programs, and the headers that nearly each of them would name.
namespace support {

/// A fresh, empty folder for the running test; emptied when the test asks again.
std::filesystem::path TestFolder();

std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& file);
void WriteBytes(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes);

/// Runs a command through the shell. @returns what it printed on standard output
/// @throws std::runtime_error with the output when it fails
std::string Output(const std::string& command);

/// What a deed complains of; "" when it throws nothing.
template <typename Deed>
std::string Complaint(const Deed& deed) try {
    deed();
    return {};
} catch (const std::exception& error) {
    return error.what();
}

/// A path in single quotes, for Output.
std::string Quoted(const std::filesystem::path& path);

}  // namespace support
