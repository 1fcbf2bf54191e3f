// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScriptedTake.h"

#include <algorithm>

namespace tool {

void ScriptedTake::ShowModal(mirrane::RecAudio& rules) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kTimer{100};
    if (length.count() == 0) return;
    rules.cmdRec_Click();
    const Clock::time_point end = Clock::now() + length;
    while (!rules.isDone() && Clock::now() < end) {
        loop_.RunFor(std::min(kTimer, std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now())));
        rules.tmrGetVol_Timer();
        rules.tmrRecording_Timer();
    }
    rules.cmdRec_Click();
}

}  // namespace tool
