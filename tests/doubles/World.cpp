// SPDX-License-Identifier: GPL-3.0-or-later
#include "doubles/World.h"

#include <thread>

namespace doubles {

mirrane::Answer User::Ask(const mirrane::MessageBox& box) {
    using mirrane::Buttons;
    boxes.push_back(box);
    if (box.buttons == Buttons::Ok) return mirrane::Answer::Ok;
    if (answers.empty()) return box.buttons == Buttons::YesNo ? mirrane::Answer::No : mirrane::Answer::Cancel;
    const mirrane::Answer answer = answers.front();
    answers.pop_front();
    return answer;
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

mirrane::Disk& FaultyDisk::Step(const path& culprit) {
    ++changes;
    if (failAt != 0 && (changes == failAt || (failsFromThenOn && changes > failAt)))
        throw std::filesystem::filesystem_error("fault", culprit, std::make_error_code(std::errc::no_space_on_device));
    return disk_;
}

void FaultyDisk::Rename(const path& source, const path& target) {
    mirrane::Disk& disk = Step(target);
    if (everyRenameCrosses && source.extension() != ".~mv")
        throw std::filesystem::filesystem_error("rename", source, std::make_error_code(std::errc::cross_device_link));
    disk.Rename(source, target);
}

std::optional<std::string> Host::Environment(const std::string& name) {
    const auto found = environment.find(name);
    return found == environment.end() || found->second.empty() ? std::nullopt : std::optional(found->second);
}

}  // namespace doubles
