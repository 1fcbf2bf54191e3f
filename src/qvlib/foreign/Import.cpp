// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/Import.h"

#include <limits>

#include "MediaError.h"
#include "foreign/ForeignSound.h"
#include "mkv/Writer.h"
#include "sound/EncodeSound.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// A foreign file's sound as the encoder takes it; tells how far it is.
class ImportedSound : public PcmSource {
public:
    ImportedSound(ForeignSound& sound, const JobContext& job) : sound_(sound), job_(job) {}

    std::size_t Read(std::span<float> interleaved) override {
        const std::size_t got = sound_.Read(interleaved);
        done_ += static_cast<std::int64_t>(got) / sound_.Channels();
        if (sound_.ExpectedSamples() > 0)
            job_.Report(static_cast<double>(done_) / static_cast<double>(sound_.ExpectedSamples()));
        return got;
    }

private:
    ForeignSound& sound_;
    const JobContext& job_;
    std::int64_t done_ = 0;
};

Ms LengthOf(const std::filesystem::path& source, std::int64_t samples) {
    const std::int64_t ms = NearestMs(samples);
    if (ms > std::numeric_limits<Ms>::max()) throw MediaError(source, "is longer than a timeline can be");
    return static_cast<Ms>(ms);
}

}  // namespace

void ImportSound(const std::filesystem::path& source, const std::filesystem::path& target, int bitrateKbit,
                 const JobContext& job) {
    ForeignSound sound(source, 0, LateStart::Drop);
    ImportedSound imported(sound, job);
    MkvWriter writer(target, {.channels = sound.Channels(), .bitrateKbit = bitrateKbit});
    const auto write = [&writer](std::span<const std::uint8_t> packet) { writer.WriteSound(packet); };
    const std::int64_t samples = EncodeSound(imported, {sound.Channels(), bitrateKbit}, write, job);
    if (samples == 0) throw MediaError(source, "has no sound that can be decoded");
    writer.Finish(samples, LengthOf(source, samples));
}

}  // namespace qv
