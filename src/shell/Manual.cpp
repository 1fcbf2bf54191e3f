// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/Manual.h"

#include "base/Disk.h"
#include "base/Text.h"

namespace mirrane {

namespace fs = std::filesystem;

namespace {

constexpr char kEnglish[] = "en";

fs::path PagesOf(IHost& host, const std::string& language) {
    return InFolder(host.ProgramFolder(), "res/help_" + language + "/help");
}

}  // namespace

std::string ManualLanguage(IHost& host) {
    const fs::path file = InFolder(host.ProgramFolder(), "help/lang.txt");
    if (!FileExists(file)) return kEnglish;
    try {
        return Trim(Split(ReadFile(file), '\n').front());
    } catch (const fs::filesystem_error&) {
        return kEnglish;
    }
}

std::optional<ManualPage> FindManual(IHost& host, ManualPart part) {
    const fs::path own = PagesOf(host, ManualLanguage(host));
    const fs::path pages = FolderExists(own) ? own : PagesOf(host, kEnglish);
    ManualPage page{InFolder(pages, part == ManualPart::Tutorial ? "tutorial.html" : "index.html")};
    if (part == ManualPart::QuickStart) page.anchor = "first-steps";
    if (!FileExists(page.file)) return std::nullopt;
    return page;
}

}  // namespace mirrane
