// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/PageFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>

#include "base/Disk.h"

namespace mirrane {

namespace fs = std::filesystem;

namespace {

bool IsBelow(const fs::path& folder, const fs::path& file) {
    const auto [left, right] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
    return left == folder.end() && right != file.end();
}

bool IsPlainFile(int fd) {
    struct stat facts = {};
    return ::fstat(fd, &facts) == 0 && S_ISREG(facts.st_mode);
}

/// "html1/a.html" of ".../lecture/html1/a.html".
std::optional<std::string> PathIn(const fs::path& folder, const fs::path& file) {
    const fs::path below = file.lexically_relative(folder);
    if (folder.empty() || below.empty() || !IsInProject(below.string())) return std::nullopt;
    return below.string();
}

bool IsForPages(const PagePlace& place) {
    return place.root == PagePlace::Root::Project || place.path == "qvblank.html";
}

}  // namespace

OpenFile OpenInside(const fs::path& folder, const fs::path& file) {
    std::error_code error;
    const fs::path trueFolder = fs::canonical(folder, error);
    if (error) return {};
    // A pipe must hold nobody up, and a terminal must not become ours.
    OpenFile opened(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened || !IsPlainFile(opened.fd())) return {};
    const fs::path trueFile = fs::read_symlink("/proc/self/fd/" + std::to_string(opened.fd()), error);
    if (error || !IsBelow(trueFolder, trueFile)) return {};
    return opened;
}

std::string ReadInside(const fs::path& folder, const fs::path& file, std::size_t mostBytes) {
    const OpenFile opened = OpenInside(folder, file);
    if (!opened) return {};
    std::string bytes(mostBytes, '\0');
    const ssize_t read = ::read(opened.fd(), bytes.data(), bytes.size());
    bytes.resize(read < 0 ? 0 : static_cast<std::size_t>(read));
    return bytes;
}

bool IsInProject(const std::string& url) {
    const fs::path path(url);
    const bool hasScheme = url.substr(0, url.find('/')).find(':') != std::string::npos;
    return !path.is_absolute() && !hasScheme && std::find(path.begin(), path.end(), "..") == path.end();
}

std::optional<PagePlace> PageFiles::PlaceOf(const fs::path& file) const {
    if (const auto path = PathIn(projectFolder_, file)) return PagePlace{PagePlace::Root::Project, *path};
    if (const auto path = PathIn(programFolder_, file)) return PagePlace{PagePlace::Root::Program, *path};
    return std::nullopt;
}

OpenFile PageFiles::Open(const PagePlace& place) const {
    if (!IsInProject(place.path) || !IsForPages(place)) return {};
    const fs::path& folder = place.root == PagePlace::Root::Project ? projectFolder_ : programFolder_;
    return OpenInside(folder, InFolder(folder, place.path));
}

}  // namespace mirrane
