// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/InteList.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "base/Disk.h"
#include "base/Files.h"
#include "base/Host.h"
#include "base/Text.h"

namespace mirrane {

namespace fs = std::filesystem;

namespace {

/// Of two interactions that are closer, the later one stays; one so close to the end of the project does not.
constexpr Ms kLeastDistance = 1000;
constexpr std::size_t kHeadLines = 2;

/// The pieces between line feeds; a last line that ends in one is followed by an empty piece.
std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t end = 0;
    while ((end = text.find('\n')) != std::string_view::npos) {
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    lines.push_back(text);
    return lines;
}

bool HasRows(const std::vector<std::string_view>& lines) {
    const std::size_t withOne = kHeadLines + 1;
    return lines.size() > withOne || (lines.size() == withOne && TextLength(lines.back()) > 2);
}

std::string_view Before(std::string_view line, char mark) { return line.substr(0, line.find(mark)); }

std::string_view Behind(std::string_view line, char mark) {
    const std::size_t at = line.find(mark);
    return at == std::string_view::npos ? std::string_view{} : line.substr(at + 1);
}

/// Does the work; what it throws is told under the procedure's name.
template <typename Work>
bool Trapped(World& world, const char* procedure, const Work& work) {
    try {
        work();
        return true;
    } catch (const std::exception& failure) {
        ShowFailure(world, ErrorText(failure), procedure);
        return false;
    }
}

}  // namespace

std::int32_t CInteList::SelectionCount() const {
    const auto isSelected = [](const CInteItem& item) { return item.selected; };
    return static_cast<std::int32_t>(std::count_if(items_.begin(), items_.end(), isSelected));
}

void CInteList::ClearAll() {
    items_.clear();
    deleted_.clear();
    times_.clear();
}

void CInteList::Append(CInteItem item) {
    if (!times_.insert(item.pos).second)
        throw std::invalid_argument("There are two interactions at " + std::to_string(item.pos) + " ms");
    items_.push_back(std::move(item));
}

void CInteList::RemoveLast() {
    times_.erase(items_.back().pos);
    items_.pop_back();
}

bool CInteList::IndexDataExists(const fs::path& file) { return FileExists(file) && HasRows(Lines(ReadFile(file))); }

bool CInteList::Load(const fs::path& file, Ms duration) {
    ClearAll();
    return Trapped(world_, "CInteList.Load", [&] {
        if (!FileExists(file)) return;
        const std::string text = ReadFile(file);
        const std::vector<std::string_view> lines = Lines(text);
        if (!HasRows(lines)) return;
        // A byte-order mark stands ahead of "ver" and goes with it.
        ver = Behind(lines[0], '=');
        lastFinalPos = StrictInteger(Behind(lines[1], '='));
        ReadRows(lines, duration);
        for (std::size_t i = 0; i < items_.size(); ++i)
            items_[i].posEnd = i + 1 < items_.size() ? items_[i + 1].pos : duration;
    });
}

void CInteList::ReadRows(const std::vector<std::string_view>& lines, Ms duration) {
    const auto isTooClose = [this](Ms next) {
        return !items_.empty() && CheckedSub(next, items_.back().pos) < kLeastDistance;
    };
    for (std::size_t i = kHeadLines; i < lines.size(); ++i) {
        if (TextLength(lines[i]) < 2) continue;
        CInteItem item;
        item.pos = CeilToGrid(StrictInteger(Before(lines[i], ',')));
        item.text = Behind(lines[i], ',');
        if (item.pos >= duration) break;
        if (isTooClose(item.pos)) RemoveLast();
        Append(std::move(item));
    }
    if (isTooClose(duration)) RemoveLast();
}

bool CInteList::Save(const fs::path& file) {
    return Trapped(world_, "CInteList.Save", [&] {
        lastFinalPos = items_.empty() ? 0 : items_.back().pos;
        std::string text = "ver=1.0\nlastFinalPos=" + std::to_string(lastFinalPos) + "\n";
        for (const CInteItem& item : items_)
            text.append(std::to_string(item.pos)).append(",").append(item.text).append("\n");
        Replace(file, text);
    });
}

void CInteList::Replace(const fs::path& file, const std::string& text) {
    const fs::path fresh = modFiles::MakeTempFile(TempFolder(world_.host), "inteIndex_");
    try {
        world_.disk.Write(fresh, text);
        if (!modFiles::MoveFileOver(world_, fresh, file, modFiles::Quiet::Yes))
            throw std::runtime_error("\"" + file.string() + "\" could not be replaced");
    } catch (...) {
        modFiles::DeleteFileIfAny(world_, fresh);
        throw;
    }
}

bool CInteList::LoadAry(const std::vector<Ms>& times, const std::vector<std::string>& texts, Ms duration) {
    ClearAll();
    return Trapped(world_, "CInteList.LoadAry", [&] {
        if (times.empty() || times.size() != texts.size())
            throw std::invalid_argument("There are " + std::to_string(times.size()) + " times for " +
                                        std::to_string(texts.size()) + " texts");
        if (times[0] == -1) return;
        for (std::size_t i = 0; i < times.size() && times[i] < duration; ++i) {
            CInteItem item;
            item.pos = times[i];
            item.posEnd = i + 1 < times.size() ? times[i + 1] : duration;
            item.text = texts[i];
            Append(std::move(item));
        }
    });
}

void CInteList::GetInteAry(std::vector<Ms>& times, std::vector<std::string>& texts) const {
    times.clear();
    texts.clear();
    for (const CInteItem& item : items_) {
        times.push_back(item.pos);
        texts.push_back(item.text);
    }
    if (!items_.empty()) return;
    times.push_back(-1);
    texts.emplace_back();
}

}  // namespace mirrane
