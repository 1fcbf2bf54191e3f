// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SoundFixtures.h"

#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>
#include <utility>

#include "sound/SoundFormat.h"

namespace support {
namespace {

/// Long enough for a minute of speech.
constexpr const char* kText =
    "Today we look at how a signal travels through a room, and at what the microphone makes of it. Take a seat, "
    "please. A quiet voice sounds worse than a loud one: the noise of the room stays as it is. We shall see three "
    "examples. The first one is a clap of the hands, the second one a whisper, and the third one, which you all "
    "know, is the hum of a lamp. Whoever has a question may ask it at once. Let us begin with the clap. It is over "
    "after four milliseconds, yet its echo can be heard for half a second; why is that? The walls give back most "
    "of what they get, six or seven times, and each time a little less of the high frequencies. Now the whisper. "
    "Strange as it seems, it holds no tone at all, only noise, shaped by the mouth. That is why it is so hard to "
    "tell from the noise of the room. ";

/// What the speech program prints: one channel of 16 bits behind a header of 44 bytes.
Pcm Spoken(int& rate) {
    const std::string wav = Output("espeak-ng -s 150 --stdout " + Quoted(std::string(kText) + kText));
    if (wav.size() < 44 + 22050 * 2 * 60) throw std::runtime_error("espeak-ng said too little");
    std::memcpy(&rate, wav.data() + 24, sizeof rate);
    Pcm pcm((wav.size() - 44) / 2);
    for (std::size_t i = 0; i < pcm.size(); ++i) {
        std::int16_t value = 0;
        std::memcpy(&value, wav.data() + 44 + 2 * i, sizeof value);
        pcm[i] = static_cast<float>(value) / 40000.0F;
    }
    return pcm;
}

Pcm SpeechIn48k() {
    int rate = 0;
    const Pcm spoken = Spoken(rate);
    std::mt19937 random(5);  // NOLINT(cert-msc51-cpp): the same noise each time
    std::normal_distribution<float> noise(0, 0.002F);
    Pcm pcm(std::size_t{60} * qv::kSampleRate);
    for (std::size_t i = 0; i < pcm.size(); ++i) {
        const double at = static_cast<double>(i) * rate / qv::kSampleRate;
        const auto before = static_cast<std::size_t>(at);
        const float part = static_cast<float>(at - static_cast<double>(before));
        pcm[i] = std::lerp(spoken.at(before), spoken.at(before + 1), part) + noise(random);
    }
    return pcm;
}

class MemoryPackets : public qv::OpusPackets {
public:
    explicit MemoryPackets(SharedSound sound) : sound_(std::move(sound)) {}
    [[nodiscard]] int Channels() const override { return sound_->channels; }
    [[nodiscard]] std::int64_t Samples() const override { return sound_->samples; }
    bool Read(std::int64_t n, std::vector<std::uint8_t>& data) override {
        const bool there = n >= 0 && n < static_cast<std::int64_t>(sound_->packets.size());
        data = there ? sound_->packets[static_cast<std::size_t>(n)] : qv::OpusPacket{};
        return !data.empty();
    }

private:
    SharedSound sound_;
};

}  // namespace

Pcm Speech(int seconds) {
    static const Pcm whole = SpeechIn48k();
    return {whole.begin(), whole.begin() + std::ptrdiff_t{seconds} * qv::kSampleRate};
}

Pcm Bursts(int seconds, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> noise(-0.5F, 0.5F);
    Pcm pcm(static_cast<std::size_t>(seconds) * qv::kSampleRate);
    for (std::size_t at = random() % 4000; at + 400 < pcm.size(); at += 3000 + random() % 3000) {
        for (std::size_t i = 0; i < 400; ++i) pcm[at + i] = noise(random);
    }
    return pcm;
}

Pcm InStereo(const Pcm& mono) {
    Pcm stereo(mono.size() * 2);
    for (std::size_t i = 0; i < mono.size(); ++i) {
        stereo[2 * i] = mono[i];
        stereo[2 * i + 1] = i >= 20 ? 0.6F * mono[i - 20] : 0.0F;
    }
    return stereo;
}

std::unique_ptr<qv::OpusPackets> Open(const SharedSound& sound) { return std::make_unique<MemoryPackets>(sound); }

SharedSound Encode(const Pcm& pcm, const qv::EncodeSettings& settings) {
    const auto channels = static_cast<std::size_t>(settings.channels);
    auto sound = std::make_shared<MemorySound>();
    sound->channels = settings.channels;
    sound->samples = static_cast<std::int64_t>(pcm.size() / channels);
    sound->packets.resize(static_cast<std::size_t>(qv::PacketsFor(sound->samples)));
    Pcm padded = pcm;
    padded.resize(sound->packets.size() * qv::kPacketSamples * channels);
    qv::OpusEncoderHandle encoder(settings);
    for (std::size_t n = 0; n < sound->packets.size(); ++n) {
        const std::size_t floats = qv::kPacketSamples * channels;
        encoder.Encode(std::span(padded).subspan(n * floats, floats), sound->packets[n]);
    }
    return sound;
}

Pcm Decode(const std::vector<qv::OpusPacket>& packets, int channels, std::int64_t samples) {
    const std::size_t floats = static_cast<std::size_t>(qv::kPacketSamples) * static_cast<std::size_t>(channels);
    Pcm pcm(packets.size() * floats);
    qv::OpusDecoderHandle decoder(channels);
    for (std::size_t n = 0; n < packets.size(); ++n) {
        if (!decoder.Decode(packets[n], std::span(pcm).subspan(n * floats, floats)))
            throw std::runtime_error("packet " + std::to_string(n) + " cannot be decoded");
    }
    if (!packets.empty()) pcm.erase(pcm.begin(), pcm.begin() + std::ptrdiff_t{qv::kPreSkip} * channels);
    pcm.resize(static_cast<std::size_t>(samples) * static_cast<std::size_t>(channels));
    return pcm;
}

qv::SoundMix MixOf(std::vector<qv::AudioRow> rows, const std::vector<SharedSound>& sources) {
    qv::SoundMix mix;
    mix.totalSamples = std::int64_t{rows.back().posEnd} * qv::kSamplesPerMs;
    mix.rows = std::move(rows);
    for (std::size_t i = 0; i < sources.size(); ++i) mix.files.emplace_back("source" + std::to_string(i));
    mix.open = [sources](int fileIndex) { return Open(sources.at(static_cast<std::size_t>(fileIndex))); };
    mix.channels = sources.empty() ? 1 : sources[0]->channels;
    return mix;
}

Pcm Mixed(const qv::SoundMix& mix) {
    Pcm pcm(static_cast<std::size_t>(mix.totalSamples) * static_cast<std::size_t>(mix.channels));
    qv::RowMixer(mix, qv::OnDamage::Throw).Read(0, pcm);
    return pcm;
}

std::vector<double> ErrorOfPackets(const Pcm& is, const Pcm& wanted, int channels) {
    const auto delay = static_cast<std::size_t>(qv::kPreSkip * channels);
    const auto floats = static_cast<std::size_t>(qv::kPacketSamples * channels);
    std::vector<double> errors((is.size() + delay) / floats + 1);
    for (std::size_t i = 0; i < std::min(is.size(), wanted.size()); ++i) {
        const double difference = is[i] - wanted[i];
        errors[(i + delay) / floats] += difference * difference / static_cast<double>(floats);
    }
    return errors;
}

}  // namespace support
