// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qv {

/// Joins paths as qvMixSave takes them: "?" between two, and inside a path %3F for "?" and %25 for "%".
[[nodiscard]] inline std::string JoinFileList(const std::vector<std::filesystem::path>& files) {
    std::string list;
    for (const auto& file : files) {
        if (!list.empty()) list += '?';
        for (const char letter : file.string()) {
            if (letter == '?') {
                list += "%3F";
            } else if (letter == '%') {
                list += "%25";
            } else {
                list += letter;
            }
        }
    }
    return list;
}

}  // namespace qv
