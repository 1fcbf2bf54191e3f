// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace qv {

/// A media file that cannot be read, written or made sense of. what() is "<path>: <reason>", fit for a user to read.
class MediaError : public std::runtime_error {
public:
    MediaError(const std::filesystem::path& file, const std::string& reason)
        : std::runtime_error(file.string() + ": " + reason) {}
};

/// Thrown inside a job that was told to stop. Being abandoned is an answer, not an error: nothing is reported.
class Abandoned : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override { return "abandoned"; }
};

}  // namespace qv
