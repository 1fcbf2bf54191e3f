// SPDX-License-Identifier: GPL-3.0-or-later
#include "CommandLine.h"

#include <filesystem>
#include <system_error>

namespace app {

namespace fs = std::filesystem;

namespace {

constexpr char kDocument[] = "project.qvp";

/// What a person at a shell means: a file's path may be relative, and a project's folder stands for its document.
/// Everything else stays as it is.
std::string Completed(const std::string& path) {
    std::error_code error;
    if (fs::is_regular_file(fs::path(path) / kDocument, error)) return (fs::absolute(path) / kDocument).string();
    return fs::is_regular_file(path, error) ? fs::absolute(path).string() : path;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
    return line;
}

}  // namespace

CommandLine Understand(const std::vector<std::string>& words) {
    using Wish = CommandLine::Wish;
    if (words.empty()) return {};
    const std::string& first = words.front();
    if (first == "--help" || first == "-h") return {Wish::Help, {}};
    if (first == "--version") return {Wish::Version, {}};
    // A desktop's menu entry has no file to open.
    if (first == "--open" && words.size() == 1) return {};
    if (first == "--open")
        return words.size() == 2 ? CommandLine{Wish::Open, words[1]} : CommandLine{Wish::Wrong, first};
    if (first.rfind("--", 0) == 0) return {Wish::Wrong, first};
    return {Wish::Edit, words.size() == 1 ? Completed(first) : Joined(words)};
}

}  // namespace app
