// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editing/EditContext.h"
#include "media/MediaContext.h"

namespace mirrane {

/// Reads waveforms with the engine, behind frmProgress.
class Sampler final : public ISampler {
public:
    explicit Sampler(MediaContext& media) : media_(media) {}
    bool GetWaveSamples(const std::filesystem::path& file, std::span<std::int16_t> samples, Ms start, Ms end,
                        int fileKind) override;

private:
    MediaContext& media_;
};

}  // namespace mirrane
