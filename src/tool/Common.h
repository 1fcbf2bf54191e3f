// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

#include "Commands.h"
#include "qvlib/Engine.h"

/// What the commands share.
namespace tool {

using Json = nlohmann::ordered_json;

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;

/// A failure whose reason stands on standard error already.
struct AlreadyTold : std::exception {};

/// An engine that tells its failures on standard error.
[[nodiscard]] qv::Engine OpenEngine(const Context& context);

/// A project folder stands for its media file.
[[nodiscard]] std::filesystem::path MediaOf(const std::filesystem::path& given);

/// The keys that the engine lists, through a file in the temporary folder; none for an unreadable media file.
/// @throws std::runtime_error
[[nodiscard]] std::vector<qv::Ms> ReadKeys(qv::IQvLib& lib, const std::filesystem::path& media);

/// On one line; bytes that are no UTF-8 are replaced.
void PrintJson(const Json& result);

}  // namespace tool
