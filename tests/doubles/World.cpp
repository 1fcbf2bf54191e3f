// SPDX-License-Identifier: GPL-3.0-or-later
#include "doubles/World.h"

#include <thread>

namespace doubles {

using std::filesystem::path;

mirrane::Answer User::Ask(const mirrane::MessageBox& box) {
    using mirrane::Answer;
    using mirrane::Buttons;
    boxes.push_back(box);
    if (!answers.empty() && box.buttons != Buttons::Ok) {
        const Answer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    switch (box.buttons) {
        case Buttons::Ok:
            return Answer::Ok;
        case Buttons::YesNo:
            return Answer::No;
        case Buttons::OkCancel:
        case Buttons::YesNoCancel:
            break;
    }
    return Answer::Cancel;
}

void User::Sleep(std::chrono::milliseconds /*time*/) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    RunOnEvents();
}

std::string User::Told() const {
    std::string told;
    for (const auto& box : boxes) told += box.title + "|" + box.text + "\n";
    return told;
}

void FaultyDisk::Step(const std::string& what, const path& culprit) {
    log.push_back(what);
    ++changes;
    if (failAt != 0 && (changes == failAt || (failsFromThenOn && changes > failAt)))
        throw std::filesystem::filesystem_error("fault", culprit, std::make_error_code(reason));
}

void FaultyDisk::Write(const path& file, std::string_view bytes) {
    Step("Write " + file.filename().string(), file);
    disk_.Write(file, bytes);
}

void FaultyDisk::WriteScratch(const path& file, std::string_view bytes) {
    Step("WriteScratch " + file.filename().string(), file);
    if (!isDry) disk_.WriteScratch(file, bytes);
}

void FaultyDisk::Copy(const path& source, const path& target) {
    Step("Copy " + source.filename().string() + " -> " + target.filename().string(), target);
    disk_.Copy(source, target);
}

void FaultyDisk::Rename(const path& source, const path& target) {
    Step("Rename " + source.filename().string() + " -> " + target.filename().string(), target);
    if (everyRenameCrosses && source.extension() != ".~mv")
        throw std::filesystem::filesystem_error("rename", source, target,
                                                std::make_error_code(std::errc::cross_device_link));
    disk_.Rename(source, target);
}

void FaultyDisk::Remove(const path& entry) {
    Step("Remove " + entry.filename().string(), entry);
    disk_.Remove(entry);
}

void FaultyDisk::MakeFolder(const path& folder) {
    Step("MakeFolder " + folder.filename().string(), folder);
    disk_.MakeFolder(folder);
}

void FaultyDisk::AddOwnerWrite(const path& entry) {
    Step("AddOwnerWrite " + entry.filename().string(), entry);
    disk_.AddOwnerWrite(entry);
}

std::uint64_t FaultyDisk::FreeBytes(const path& where) { return freeBytes != 0 ? freeBytes : disk_.FreeBytes(where); }

mirrane::DateTime Clock::Now(int secondsAgo) {
    mirrane::DateTime then = now;
    then.second -= secondsAgo;
    return then;
}

std::optional<std::string> Host::Environment(const std::string& name) {
    const auto found = environment.find(name);
    if (found == environment.end() || found->second.empty()) return std::nullopt;
    return found->second;
}

}  // namespace doubles
