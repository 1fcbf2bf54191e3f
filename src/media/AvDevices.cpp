// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/AvDevices.h"

#include <algorithm>
#include <string_view>

#include "base/Text.h"

namespace mirrane::modConfig {

namespace {

constexpr char kSection[] = "configure";
constexpr char kAudioKey[] = "audioDevice";
constexpr char kVideoKey[] = "videoDevice";
constexpr std::string_view kBetweenRecords = "_&&_";
constexpr std::string_view kBeforeId = "##";
constexpr char kDv[] = "DV";

AvDevice DeviceOf(std::string_view record) {
    const std::size_t end = record.find(kBeforeId);
    if (end == std::string_view::npos) return {.name = std::string(record), .id = {}};
    return {.name = std::string(record.substr(0, end)), .id = std::string(record.substr(end + kBeforeId.size()))};
}

std::vector<AvDevice> DevicesOf(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    std::vector<AvDevice> list;
    while (true) {
        const std::size_t end = text.find(kBetweenRecords);
        list.push_back(DeviceOf(text.substr(0, end)));
        if (end == std::string_view::npos) return list;
        text.remove_prefix(end + kBetweenRecords.size());
    }
}

bool IsUsable(const std::vector<AvDevice>& list) { return !list.front().name.empty(); }

std::string Kept(World& world, const char* key) { return world.settings.Get(kSection, key).value_or(""); }

/// The input of that name, or the first one.
const AvDevice& InputOf(const std::vector<AvDevice>& list, const std::string& name) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const AvDevice& device) { return device.name == name; });
    return found != list.end() ? *found : list.front();
}

/// Selects the devices in the engine. Where that refuses one, a message tells it and the choice stays as it was.
void SelectAvDevices(World& world, qv::IQvCapture& capture, AvChoice& choice) {
    AvDevice video = choice.video;
    AvDevice audio = choice.audio;
    for (const AvDevice& device : choice.videoList)
        if (device.id == kDv) video = device;
    // A camera that another program has chosen does not matter where there is none to choose from.
    if (IsUsable(choice.videoList) && !video.name.empty() && capture.qvSetVideoDevice(video.name) == 0)
        return ShowMessage(world, "SetVideoDevice Error!");
    if (video.id != kDv && IsUsable(choice.audioList)) {
        audio.name = InputOf(choice.audioList, audio.name).name;
        if (capture.qvSetAudioDevice(audio.name) == 0) return ShowMessage(world, "SetAudioDevice Error!");
    }
    choice.video = video;
    choice.audio = audio;
}

}  // namespace

bool QueryAvDevices(qv::IQvCapture& capture, DeviceKind kind, std::vector<AvDevice>& list) {
    std::string text;
    const int result = kind == DeviceKind::Video ? capture.qvQueryVideoDevice(text) : capture.qvQueryAudioDevice(text);
    if (result == 1)
        list = DevicesOf(text);
    else
        list.assign(1, AvDevice{});
    return result == 1;
}

int FindAvDevices(World& world, qv::IQvCapture& capture) {
    AvChoice choice;
    choice.video.name = Kept(world, kVideoKey);
    choice.audio.name = Kept(world, kAudioKey);
    QueryAvDevices(capture, DeviceKind::Video, choice.videoList);
    QueryAvDevices(capture, DeviceKind::Audio, choice.audioList);
    SelectAvDevices(world, capture, choice);
    if (choice.video.id == kDv) return 2;
    if (choice.audio.name.empty()) return -1;
    return choice.video.name.empty() ? 1 : 3;
}

void KeepAudioDevice(World& world, const std::string& name) { world.settings.Set(kSection, kAudioKey, name); }

std::string KeptAudioDevice(World& world) { return Kept(world, kAudioKey); }

}  // namespace mirrane::modConfig
