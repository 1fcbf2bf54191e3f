// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/DeviceNames.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace qv {

namespace {

constexpr std::string_view kBehindName = "##";
constexpr std::string_view kBetween = "_&&_";

/// Puts a blank into each of these.
void Break(std::string& text, std::string_view what) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what)) text.insert(at + 1, 1, ' ');
}

std::string Listable(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    Break(text, kBehindName);
    Break(text, "_&&");
    if (text.ends_with('#')) text += ' ';
    return text;
}

}  // namespace

std::vector<SoundInDevice> MakeListable(std::vector<SoundInDevice> devices) {
    std::set<std::string> names;
    for (SoundInDevice& device : devices) {
        device.id = Listable(device.id);
        const std::string name = Listable(device.name.empty() ? device.id : device.name);
        device.name = name;
        for (int n = 2; !names.insert(device.name).second; ++n) device.name = name + " (" + std::to_string(n) + ")";
    }
    return devices;
}

std::string ListDevices(const std::vector<SoundInDevice>& devices, std::size_t limit) {
    std::string list;
    for (const SoundInDevice& device : devices) {
        std::string record(list.empty() ? "" : kBetween);
        record.append(device.name).append(kBehindName).append(device.id);
        if (list.size() + record.size() > limit) break;
        list += record;
    }
    return list;
}

}  // namespace qv
