// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/SoundStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <span>
#include <stop_token>
#include <thread>

#include "MediaError.h"
#include "sound/EncodeSound.h"
#include "sound/SoundFormat.h"
#include "sound/SoundPlan.h"
#include "support/Decoded.h"
#include "support/SoundFixtures.h"

namespace qv {
namespace {

using support::Pcm;
using support::SharedSound;

struct Streamed {
    std::vector<OpusPacket> packets;
    std::int64_t copied = 0;
};

Streamed Stream(const SoundMix& mix, const EncodeSettings& settings) {
    SoundStream stream(mix, settings, {});
    Streamed streamed;
    OpusPacket packet;
    while (stream.Next(packet)) streamed.packets.push_back(packet);
    streamed.copied = stream.CopiedPackets();
    EXPECT_EQ(static_cast<std::int64_t>(streamed.packets.size()), stream.PacketCount());
    return streamed;
}

/// Pieces of a source of `seconds`, with `gapMs` between them left out: pieces - 1 joints.
std::vector<AudioRow> Pieces(int seconds, int pieces, Ms gapMs) {
    std::vector<AudioRow> rows;
    Ms pos = 0;
    for (int i = 0; i < pieces; ++i) {
        const Ms from = seconds * 1000 / pieces * i / 20 * 20;
        const Ms to = seconds * 1000 / pieces * (i + 1) / 20 * 20 - gapMs;
        rows.push_back({pos, pos + to - from, 0, from, to, 100});
        pos += to - from;
    }
    return rows;
}

/// What the rows of a mix of one source play of a sound, without fades.
Pcm Heard(const SoundMix& mix, const Pcm& sound) {
    Pcm heard;
    const std::ptrdiff_t floatsPerMs = kSamplesPerMs * mix.channels;
    for (const AudioRow& row : mix.rows)
        heard.insert(heard.end(), sound.begin() + floatsPerMs * row.srcPos,
                     sound.begin() + floatsPerMs * row.srcPosEnd);
    return heard;
}

/// The power of error of each packet of a stream, and of what the codec itself does there: the noise of one encoder that
/// encodes the wanted sound from end to end.
struct Errors {
    std::vector<double> error;
    std::vector<double> noise;

    Errors(const std::vector<OpusPacket>& packets, const Pcm& wanted, const EncodeSettings& settings) {
        const std::int64_t samples = std::ssize(wanted) / settings.channels;
        error =
            support::ErrorOfPackets(support::Decode(packets, settings.channels, samples), wanted, settings.channels);
        const SharedSound whole = support::Encode(wanted, settings);
        noise = support::ErrorOfPackets(support::Decode(whole->packets, settings.channels, samples), wanted,
                                        settings.channels);
    }

    /// The worst error over 4 packets that begin in [from, to), as a multiple of the noise there.
    [[nodiscard]] double Worst(std::int64_t from, std::int64_t to) const {
        double worst = 0;
        for (std::int64_t n = std::max<std::int64_t>(0, from); n < to && n + 4 <= std::ssize(error); ++n) {
            const double is = std::accumulate(error.begin() + n, error.begin() + n + 4, 4e-9);
            const double own = std::accumulate(noise.begin() + n, noise.begin() + n + 4, 4e-9);
            worst = std::max(worst, is / own);
        }
        return worst;
    }
};

TEST(SoundStreamTest, NothingChangedIsTheSameBytes) {
    const SharedSound source = support::Encode(support::Speech(7), {1, 64});
    const SoundMix mix = support::MixOf({{0, 3000, 0, 0, 3000, 100}, {3000, 7000, 0, 3000, 7000, 100}}, {source});
    const Streamed streamed = Stream(mix, {1, 32});
    EXPECT_EQ(streamed.packets, source->packets);
    EXPECT_EQ(streamed.copied, 351);
}

TEST(SoundStreamTest, EverySampleStaysInItsPlace) {
    const std::vector<SharedSound> sources = {support::Encode(support::Bursts(12, 1), {1, 96}),
                                              support::Encode(support::Bursts(12, 2), {1, 96})};
    // Copied, shifted by packets, by odd ms, quieter, of another source, and past a border of the encoder's stretches.
    const std::vector<AudioRow> rows = {{0, 3000, 0, 0, 3000, 100},        {3000, 5000, 0, 4000, 6000, 100},
                                        {5000, 6501, 1, 777, 2278, 100},   {6501, 7000, -1, 0, 0, 0},
                                        {7000, 19000, 1, 0, 12000, 60},    {19000, 20003, 0, 11, 1014, 100},
                                        {20003, 23000, 0, 1014, 4011, 130}};
    const SoundMix mix = support::MixOf(rows, sources);
    const Pcm wanted = support::Mixed(mix);
    const Streamed streamed = Stream(mix, {1, 96});
    const Pcm heard = support::Decode(streamed.packets, 1, mix.totalSamples);
    for (const AudioRow& row : rows) {
        if (row.fileIndex < 0) continue;
        for (Ms from = row.pos + 5; from + 205 <= row.posEnd; from += 200) {
            const auto at = static_cast<std::size_t>(from) * kSamplesPerMs;
            EXPECT_EQ(support::BestShift(heard, wanted, at, at + 200 * kSamplesPerMs, 100), 0)
                << "at " << from << " ms";
        }
    }
    EXPECT_GT(support::SoundSnr(heard, wanted, 0, heard.size()), 12);
}

struct JointCase {
    const char* name;
    EncodeSettings source;
    int kbit;
    double most;  ///< times the codec's noise; its speech modes vary more
};

void PrintTo(const JointCase& one, std::ostream* out) { *out << one.name; }

class SoundJointTest : public testing::TestWithParam<JointCase> {};

/// 20 cuts in a minute of speech. What is not beside a cut is copied to the byte, and beside it the error is no more
/// than the codec's own noise: what the source's encoder left of the speech, or a single encoder would leave of the mix.
TEST_P(SoundJointTest, CannotBeHeard) {
    const int channels = GetParam().source.channels;
    const Pcm speech = channels == 2 ? support::InStereo(support::Speech(60)) : support::Speech(60);
    const SharedSound source = support::Encode(speech, GetParam().source);
    const SoundMix mix = support::MixOf(Pieces(60, 21, 160), {source});
    const Streamed streamed = Stream(mix, {channels, GetParam().kbit});
    Errors errors(streamed.packets, support::Mixed(mix), {channels, GetParam().kbit});
    const Pcm once = support::Decode(source->packets, channels, source->samples);
    const auto left = support::ErrorOfPackets(Heard(mix, once), Heard(mix, speech), channels);
    std::ranges::transform(errors.noise, left, errors.noise.begin(), [](double a, double b) { return std::max(a, b); });

    EXPECT_GT(streamed.copied, std::ssize(streamed.packets) * 85 / 100);
    for (std::size_t i = 0; i < mix.rows.size(); ++i) {
        const AudioRow& row = mix.rows[i];
        const std::int64_t joint = row.pos / kPacketMs;
        const std::int64_t shift = (row.srcPos - row.pos) / kPacketMs;
        if (i > 0) {
            EXPECT_LT(errors.Worst(joint - 12, joint + 40), GetParam().most) << "joint at " << row.pos << " ms";
        }
        for (std::int64_t n = i > 0 ? joint + 32 : 0; n < row.posEnd / kPacketMs - 8; ++n) {
            ASSERT_EQ(streamed.packets[static_cast<std::size_t>(n)],
                      source->packets[static_cast<std::size_t>(n + shift)])
                << "packet " << n;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, SoundJointTest,
                         testing::Values(JointCase{"Mono64", {1, 64}, 64, 1.3}, JointCase{"Mono32", {1, 32}, 32, 2.5},
                                         JointCase{"Mono64To24", {1, 64}, 24, 1.3},
                                         JointCase{"Mono24To64", {1, 24}, 64, 1.6},
                                         JointCase{"Stereo96", {2, 96}, 96, 1.3},
                                         JointCase{"Stereo48", {2, 48}, 48, 1.3}),
                         [](const auto& info) { return std::string(info.param.name); });

/// At a rate that leaves hardly any noise, a decoder's memory can be too far off everywhere.
TEST(SoundStreamTest, ARunThatCannotBeJoinedCleanlyIsEncoded) {
    const EncodeSettings settings{2, 510};
    const SharedSound source = support::Encode(support::InStereo(support::Speech(60)), {2, 64});
    const SoundMix mix = support::MixOf(Pieces(60, 21, 160), {source});
    const Streamed streamed = Stream(mix, settings);
    EXPECT_LT(Errors(streamed.packets, support::Mixed(mix), settings).Worst(0, std::ssize(streamed.packets)), 1.6);
    const auto isEncoded = [&](const AudioRow& row) {
        const auto middle = static_cast<std::size_t>((row.pos + row.posEnd) / 2 / kPacketMs);
        const auto inSource = middle + static_cast<std::size_t>((row.srcPos - row.pos) / kPacketMs);
        return streamed.packets[middle] != source->packets[inSource];
    };
    EXPECT_EQ(std::ranges::count_if(mix.rows, isEncoded), 1);
}

TEST(SoundStreamTest, StretchesOfTheEncoderCannotBeHeardEither) {
    const SharedSound source = support::Encode(support::Speech(60), {1, 96});
    const SoundMix mix = support::MixOf({{0, 60000, 0, 0, 60000, 90}}, {source});
    for (const auto& [kbit, most] : {std::pair{64, 1.3}, std::pair{24, 2.5}}) {
        const Streamed streamed = Stream(mix, {1, kbit});
        const Errors errors(streamed.packets, support::Mixed(mix), {1, kbit});
        EXPECT_LT(errors.Worst(0, std::ssize(streamed.packets)), most) << kbit << " kbit/s";
        EXPECT_EQ(streamed.copied, 0);
    }
}

TEST(SoundStreamTest, IsTheSameOnAnyNumberOfThreads) {
    const SharedSound source = support::Encode(support::Speech(60), {1, 24});
    std::vector<AudioRow> rows = Pieces(60, 40, 400);  // so short that a thread reads on from one joint to the next
    rows.push_back({rows.back().posEnd, rows.back().posEnd + 40000, 0, 7, 40007, 90});
    const SoundMix mix = support::MixOf(rows, {source});
    const Streamed one = Stream(mix, {1, 24, 1});
    EXPECT_GT(one.copied, 500);
    EXPECT_EQ(Stream(mix, {1, 24, 3}).packets, one.packets);
}

TEST(SoundStreamTest, DamageThatIsHeardEndsTheSave) {
    const SharedSound source = support::Encode(support::Speech(20), {1, 64});
    source->packets[300].clear();  // 6 s
    const std::vector<AudioRow> around = {{0, 5000, 0, 0, 5000, 100}, {5000, 17000, 0, 8000, 20000, 100}};
    EXPECT_EQ(Stream(support::MixOf(around, {source}), {1, 64}).packets.size(), 851U);
    for (const int volume : {100, 90}) {
        const SoundMix mix = support::MixOf({{0, 20000, 0, 0, 20000, volume}}, {source});
        EXPECT_THROW(Stream(mix, {1, 64}), MediaError) << volume << " percent";
    }
    SoundMix gone = support::MixOf(around, {source});
    gone.open = [](int) -> std::unique_ptr<OpusPackets> { throw MediaError("source0", "no such file"); };
    EXPECT_THROW(Stream(gone, {1, 64}), MediaError);
}

TEST(SoundStreamTest, AbandoningItEndsItsThreadsAtOnce) {
    const SharedSound source = support::Encode(support::Speech(60), {1, 64});
    std::vector<AudioRow> rows;
    for (int i = 0; i < 60; ++i) rows.push_back({60000 * i, 60000 * i + 60000, 0, 0, 60000, 50});
    const SoundMix mix = support::MixOf(rows, {source});
    const auto start = std::chrono::steady_clock::now();
    std::stop_source stop;
    {
        SoundStream stream(mix, {1, 64}, {}, stop.get_token());
        OpusPacket packet;
        std::jthread later([&stop] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            stop.request_stop();
        });
        EXPECT_THROW(while (stream.Next(packet)), Abandoned);
        SoundStream other(mix, {1, 64}, {});
        EXPECT_TRUE(other.Next(packet));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << "an hour takes longer";
}

/// A source of so many samples of a sound.
class PcmInMemory : public PcmSource {
public:
    PcmInMemory(const Pcm& pcm, std::size_t floats) : rest_(std::span(pcm).first(floats)) {}
    std::size_t Read(std::span<float> interleaved) override {
        const std::size_t count = std::min(interleaved.size(), rest_.size());
        std::copy_n(rest_.begin(), count, interleaved.begin());
        rest_ = rest_.subspan(count);
        return count;
    }

private:
    std::span<const float> rest_;
};

TEST(EncodeSoundTest, HasEverySampleInItsPlaceWhateverTheLength) {
    const Pcm bursts = support::Bursts(21, 4);
    for (const std::size_t samples : {0, 1, 648, 649, 48000, 719687, 719688, 720000, 720001, 1000000}) {
        PcmInMemory source(bursts, samples);
        std::vector<OpusPacket> packets;
        const auto sink = [&](std::span<const std::uint8_t> data) { packets.emplace_back(data.begin(), data.end()); };
        const std::int64_t told = EncodeSound(source, {1, 96}, sink, {});
        EXPECT_EQ(told, static_cast<std::int64_t>(samples));
        ASSERT_EQ(std::ssize(packets), PacketsFor(told)) << samples;
        const Pcm heard = support::Decode(packets, 1, told);
        for (std::size_t at = 100; at + 9700 <= samples; at += 9600)
            ASSERT_EQ(support::BestShift(heard, bursts, at, at + 9600, 100), 0) << "sample " << at << " of " << samples;
    }
}

TEST(EncodeSoundTest, StretchesCannotBeHeard) {
    const Pcm speech = support::InStereo(support::Speech(45));
    const EncodeSettings settings{2, 96, 2};
    PcmInMemory source(speech, speech.size());
    std::vector<OpusPacket> packets;
    const std::int64_t samples =
        EncodeSound(source, settings,
                    [&](std::span<const std::uint8_t> data) { packets.emplace_back(data.begin(), data.end()); }, {});
    EXPECT_EQ(samples, 45 * kSampleRate);
    EXPECT_LT(Errors(packets, speech, settings).Worst(0, std::ssize(packets)), 1.3);
}

TEST(EncodeSoundTest, WhatGoesWrongComesThrough) {
    const Pcm bursts = support::Bursts(30, 4);
    PcmInMemory source(bursts, bursts.size());
    int calls = 0;
    const auto full = [&](std::span<const std::uint8_t>) {
        if (++calls == 700) throw MediaError("sound.qva", "no space left");
    };
    EXPECT_THROW(EncodeSound(source, {1, 64}, full, {}), MediaError);
    EXPECT_EQ(calls, 700);

    std::stop_source stop;
    PcmInMemory again(bursts, 48000);
    const auto stopping = [&](std::span<const std::uint8_t>) { stop.request_stop(); };
    EXPECT_THROW(EncodeSound(again, {1, 64}, stopping, {stop.get_token(), {}}), Abandoned);
}

}  // namespace
}  // namespace qv
