// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include "capture/LineMeter.h"
#include "mkv/Reader.h"
#include "qvlib/IQvCapture.h"
#include "sound/PcmReader.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

void Listen(const std::filesystem::path& file, TakeCheck& check) {
    auto packets = OpenSound(file);
    const int channels = packets->Channels();
    PcmReader reader(std::move(packets), file, channels, OnDamage::Throw);
    std::vector<float> block(static_cast<std::size_t>(kSampleRate * channels));
    float highest = 0;
    for (std::int64_t from = 0; from < reader.Samples(); from += kSampleRate) {
        reader.Read(from, block);
        for (const float sample : block) {
            highest = std::max(highest, std::abs(sample));
            if (IsOverloaded(sample)) ++check.overloadedSamples;
        }
    }
    check.peak = ToPeak(highest);
    check.isSilent = highest < kInaudible;
}

}  // namespace

TakeCheck CheckTake(const std::filesystem::path& file, Ms recorded) {
    TakeCheck check;
    try {
        check.length = MkvReader(file).Duration();
        Listen(file, check);
        if (check.length != recorded)
            check.failure = file.string() + ": is " + std::to_string(check.length) + " ms long instead of " +
                            std::to_string(recorded) + " ms";
    } catch (const std::exception& error) {
        check.failure = error.what();
    }
    return check;
}

}  // namespace qv
