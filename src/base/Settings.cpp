// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Settings.h"

#include <algorithm>
#include <filesystem>

#include "base/Disk.h"
#include "base/Text.h"

namespace mirrane {

namespace {

constexpr char kRecentSection[] = "lastOpenedProj";
constexpr std::size_t kRecentCount = 6;
constexpr std::string_view kHexPrefix = "&H";

/// -1 when it is none.
int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

/// The UTF-16 units of four digits each, the lower byte first.
std::optional<std::u16string> ReadUnits(std::string_view digits) {
    if (digits.size() % 4 != 0) return std::nullopt;
    std::u16string units;
    for (std::size_t i = 0; i < digits.size(); i += 4) {
        int unit = 0;
        for (const std::size_t place : {2U, 3U, 0U, 1U}) {
            const int digit = HexDigit(digits[i + place]);
            if (digit < 0) return std::nullopt;
            unit = unit * 16 + digit;
        }
        units += static_cast<char16_t>(unit);
    }
    return units;
}

bool IsProjectThere(const std::string& path) {
    return std::filesystem::path(path).filename() == "project.qvp" && FileExists(path);
}

}  // namespace

std::optional<std::string> MemorySettings::Get(const std::string& section, const std::string& key) {
    const auto found = values_.find({section, key});
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

void MemorySettings::Set(const std::string& section, const std::string& key, const std::string& value) {
    values_[{section, key}] = value;
}

std::string ToHexValue(std::string_view text) {
    if (text.empty()) return {};
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string value(kHexPrefix);
    for (const char16_t unit : ToUtf16(text))
        for (const int shift : {4, 0, 12, 8}) value += kDigits[unit >> shift & 15];
    return value;
}

std::string FromHexValue(const std::string& value) {
    if (value.size() <= kHexPrefix.size() || !value.starts_with(kHexPrefix)) return value;
    const auto units = ReadUnits(std::string_view(value).substr(kHexPrefix.size()));
    return units ? ToUtf8(*units) : value;
}

std::string GetHexSetting(ISettings& settings, const std::string& section, const std::string& key,
                          const std::string& fallback) {
    const auto value = settings.Get(section, key);
    return value ? FromHexValue(*value) : fallback;
}

void SetHexSetting(ISettings& settings, const std::string& section, const std::string& key, const std::string& value) {
    settings.Set(section, key, ToHexValue(value));
}

void RecentProjects::LoadRecentProjects() {
    projects_.clear();
    dates_.clear();
    for (std::size_t i = 1; i <= kRecentCount; ++i) {
        const std::string key = std::to_string(i);
        const std::string path = GetHexSetting(settings_, kRecentSection, key, {});
        if (!IsProjectThere(path)) continue;
        projects_.push_back(path);
        dates_.push_back(GetHexSetting(settings_, kRecentSection, key + "dt", {}));
    }
}

void RecentProjects::AddRecentProject(const std::string& projectPath, const DateTime& now) {
    const auto known = std::find(projects_.begin(), projects_.end(), projectPath);
    if (known != projects_.end()) {
        dates_.erase(dates_.begin() + (known - projects_.begin()));
        projects_.erase(known);
    } else if (projects_.size() == kRecentCount) {
        projects_.pop_back();
        dates_.pop_back();
    }
    projects_.insert(projects_.begin(), projectPath);
    dates_.insert(dates_.begin(), GetNowString(now));
    for (std::size_t i = 0; i < projects_.size(); ++i) {
        const std::string key = std::to_string(i + 1);
        SetHexSetting(settings_, kRecentSection, key, projects_[i]);
        SetHexSetting(settings_, kRecentSection, key + "dt", dates_[i]);
    }
}

}  // namespace mirrane
