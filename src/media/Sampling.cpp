// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/Sampling.h"

#include "base/Trapped.h"
#include "media/Job.h"

namespace mirrane {

bool Sampler::GetWaveSamples(const std::filesystem::path& file, std::span<std::int16_t> samples, Ms start, Ms end,
                             int fileKind) {
    World& world = media_.world();
    return Trapped(world, "GetWaveSamples", [&] {
        const JobView view{.title = GetResString(world, "frmMixEditor", "msgSampleWaves", "Sample Waves"),
                           .text =
                               [&world](int percent) {
                                   return FilledText(world, "msgSampling", "Sampling... (%s%)",
                                                     std::to_string(percent));
                               },
                           .progress = [this] { return media_.mixEdit.qvGetWaveSamplingProgress(); }};
        const qv::WaveSpan span{.start = start, .end = end, .samples = samples};
        if (RunJob(media_, view, [&] { media_.mixEdit.qvWaveSampling(file, span, fileKind); })) return true;
        TellFailure(media_, "msgSamplingFailure", "Failed to sample waves!");
        return false;
    });
}

}  // namespace mirrane
