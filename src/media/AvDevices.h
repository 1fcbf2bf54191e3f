// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "base/World.h"
#include "qvlib/IQvCapture.h"

namespace mirrane {

/// A microphone, or what else the recorder can listen to.
struct AvDevice {
    std::string name;  ///< as the user knows it; empty: none
    std::string id;
};

/// Which devices the recorder uses: those of the settings where they are there, otherwise the first ones.
namespace modConfig {

enum class DeviceKind { Video, Audio };

/// Asks the engine what there is. Where it has no list, the list is one record without a name.
/// @returns whether the engine gave a list
bool QueryAvDevices(qv::IQvCapture& capture, DeviceKind kind, std::vector<AvDevice>& list);

/// The devices to use, and what there is to choose from.
struct AvChoice {
    AvDevice video;
    AvDevice audio;
    std::vector<AvDevice> videoList;
    std::vector<AvDevice> audioList;
};

/// Selects the devices of the settings in the engine; an input that is not there gives way to the first one. A message
/// tells what the engine refuses.
/// @returns -1: no sound can be recorded, 1: sound alone, 2: a video device of the kind "DV", 3: sound and video
int FindAvDevices(World& world, qv::IQvCapture& capture);

/// Remembers the input to use from now on, by its name.
void KeepAudioDevice(World& world, const std::string& name);
/// Empty: the user has not chosen one.
[[nodiscard]] std::string KeptAudioDevice(World& world);

}  // namespace modConfig

}  // namespace mirrane
