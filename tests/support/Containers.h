// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "qvlib/Rows.h"
#include "support/Basics.h"

/// Small media files for tests.
namespace support {

/// A media.qv of made-up picture packets (a key every keyEvery ms, a packet every 100 ms) and real silence.
struct MadeUp {
    qv::Ms duration = 12000;
    qv::Ms keyEvery = 3000;
    bool camera = false;
};
void WriteMadeUp(const std::filesystem::path& target, const MadeUp& what);

}  // namespace support
