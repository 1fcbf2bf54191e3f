// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Host.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace mirrane {

namespace fs = std::filesystem;

namespace {

fs::path HomeFolder(IHost& host) {
    if (const auto home = host.Environment("HOME")) return *home;
    const passwd* user = ::getpwuid(::getuid());
    return user != nullptr ? user->pw_dir : "/";
}

}  // namespace

fs::path SystemHost::ProgramFolder() {
    if (const auto folder = Environment("MIRRANE_PROGRAM_FOLDER")) return *folder;
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    return (executable.parent_path() / "../share/mirrane").lexically_normal();
}

std::optional<std::string> SystemHost::Environment(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
}

fs::path TempFolder(IHost& host) {
    if (const auto temp = host.Environment("temp")) return *temp;
    return host.Environment("TMPDIR").value_or("/tmp");
}

fs::path AppDataFolder(IHost& host) {
    if (const auto appdata = host.Environment("appdata")) return *appdata;
    if (const auto data = host.Environment("XDG_DATA_HOME")) return *data;
    return HomeFolder(host) / ".local/share";
}

fs::path ConfigFolder(IHost& host) {
    if (const auto config = host.Environment("XDG_CONFIG_HOME")) return *config;
    return HomeFolder(host) / ".config";
}

}  // namespace mirrane
