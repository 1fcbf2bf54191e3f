// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/Texts.h"

namespace {

/// A file in memory.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes) : fd_(::memfd_create("res.xml", MFD_CLOEXEC)) {
        if (fd_ < 0 || ::write(fd_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) std::abort();
    }
    ~MemoryFile() { ::close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] std::string Path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

/// The names that the file may hold: what stands between double quotes.
std::vector<std::string> Quoted(std::string_view text) {
    constexpr std::size_t kMost = 16;
    std::vector<std::string> names = {"", "frmCommon"};
    bool isInside = false;
    while (names.size() < kMost) {
        const std::size_t quote = text.find('"');
        if (quote == std::string_view::npos) break;
        if (isInside) names.emplace_back(text.substr(0, quote));
        isInside = !isInside;
        text.remove_prefix(quote + 1);
    }
    return names;
}

}  // namespace

/// A lookup gives the default or a text in which nothing is left to put in place.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const MemoryFile file(bytes);
    mirrane::Texts texts(file.Path());
    const std::vector<std::string> names = Quoted(bytes);
    for (const std::string& form : names) {
        for (const std::string& key : names) {
            const std::string text = texts.GetResString(form, key, "none of %p\\n");
            const bool isDefault = text == "none of Mirrane\\n";
            const bool isFinished = text.find("%p") == std::string::npos && text.find("\\n") == std::string::npos;
            if (!isDefault && !isFinished) std::abort();
        }
    }
    return 0;
}
