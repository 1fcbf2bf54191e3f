// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "qvlib/ISoundIn.h"

namespace qv {

/// The same devices, in the same order, by names and ids that can stand in a list: no separator in them or made by what
/// stands beside them, no control characters, no two names alike. "A##B" becomes "A# #B", a second "Mic" "Mic (2)".
[[nodiscard]] std::vector<SoundInDevice> MakeListable(std::vector<SoundInDevice> devices);

/// "name##id_&&_name##id": as many listable devices as go into limit bytes.
[[nodiscard]] std::string ListDevices(const std::vector<SoundInDevice>& devices, std::size_t limit);

}  // namespace qv
