// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Containers.h"

#include <random>

#include "mkv/Writer.h"
#include "sound/Opus.h"
#include "sound/SoundFormat.h"

namespace support {

namespace fs = std::filesystem;

void WriteMadeUp(const fs::path& target, const MadeUp& what) {
    std::mt19937 random(7);  // NOLINT(cert-msc51-cpp): the same bytes each time
    const auto packet = [&random](bool key) {
        std::vector<std::uint8_t> bytes(40 + random() % 400);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
        bytes[0] = static_cast<std::uint8_t>((bytes[0] & ~1U) | (key ? 0U : 1U));  // as VP8 tells a key
        return bytes;
    };
    const auto write = [&packet](qv::MkvWriter& writer, qv::TrackKind track, qv::Ms time, qv::Ms keyEvery) {
        const bool key = time % keyEvery == 0;
        writer.WritePicture(track, time, key, packet(key));
    };
    qv::ContainerSpec spec;
    spec.picture = qv::PictureFormat{qv::PictureCodec::Vp8, 320, 180, {}};
    if (what.camera) spec.camera = qv::PictureFormat{qv::PictureCodec::Vp8, 160, 120, {}};
    spec.bitrateKbit = 48;
    qv::MkvWriter writer(target, spec);
    qv::OpusEncoderHandle encoder({1, 48});
    const std::vector<float> silence(qv::kPacketSamples, 0.0F);
    qv::OpusPacket sound;
    const std::int64_t samples = std::int64_t{what.duration} * qv::kSamplesPerMs;
    for (std::int64_t n = 0; n < qv::PacketsFor(samples); ++n) {
        const auto time = static_cast<qv::Ms>(n * qv::kPacketMs);
        const bool isPictureTime = time % 100 == 0 && time < what.duration;
        if (isPictureTime) write(writer, qv::TrackKind::Picture, time, what.keyEvery);
        if (isPictureTime && what.camera) write(writer, qv::TrackKind::Camera, time, 2000);
        encoder.Encode(silence, sound);
        writer.WriteSound(sound);
    }
    writer.Finish(samples, what.duration);
}

}  // namespace support
