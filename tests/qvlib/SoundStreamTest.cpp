// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/SoundStream.h"

#include <numeric>

#include "MediaError.h"
#include "sound/SoundFormat.h"
#include "support/Decoded.h"
#include "support/Media.h"
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
    std::string rows;
    for (int i = 0; i < pieces; ++i) {
        const Ms from = seconds * 1000 / pieces * i / 20 * 20;
        const Ms to = seconds * 1000 / pieces * (i + 1) / 20 * 20 - gapMs;
        rows += "#0:" + std::to_string(from) + "-" + std::to_string(to) + " ";
    }
    return support::AudioRows(rows);
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
        const auto errorOf = [&, channels = settings.channels](const std::vector<OpusPacket>& those) {
            const Pcm is = support::Decode(those, channels, std::ssize(wanted) / channels);
            return support::ErrorOfPackets(is, wanted, channels);
        };
        error = errorOf(packets);
        noise = errorOf(support::Encode(wanted, settings)->packets);
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
    const SoundMix mix = support::MixOf(support::AudioRows("#0:0-3000 #0:3000-7000"), {source});
    const Streamed streamed = Stream(mix, {1, 32});
    EXPECT_EQ(streamed.packets, source->packets);
    EXPECT_EQ(streamed.copied, 351);
}

struct JointCase {
    EncodeSettings source;
    int kbit;
    double most;  ///< times the codec's noise; its speech modes vary more
};

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
        EXPECT_TRUE(i == 0 || errors.Worst(joint - 12, joint + 40) < GetParam().most) << "joint at " << row.pos;
        const auto first = streamed.packets.begin() + (i > 0 ? joint + 32 : 0);
        const auto last = streamed.packets.begin() + row.posEnd / kPacketMs - 8;
        const auto copied = source->packets.begin() + (first - streamed.packets.begin()) + shift;
        EXPECT_TRUE(std::equal(first, last, copied)) << "row at " << row.pos;
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, SoundJointTest,
                         testing::Values(JointCase{{1, 64}, 64, 1.3}, JointCase{{1, 32}, 32, 2.5},
                                         JointCase{{1, 64}, 24, 1.3}, JointCase{{1, 24}, 64, 1.6},
                                         JointCase{{2, 96}, 96, 1.3}, JointCase{{2, 48}, 48, 1.3}));

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
    const SoundMix mix = support::MixOf(support::AudioRows("#0:0-60000*90"), {source});
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
    const auto around = support::AudioRows("#0:0-5000 #0:8000-20000");
    EXPECT_EQ(Stream(support::MixOf(around, {source}), {1, 64}).packets.size(), 851U);
    for (const char* rows : {"#0:0-20000", "#0:0-20000*90"})
        EXPECT_THROW(Stream(support::MixOf(support::AudioRows(rows), {source}), {1, 64}), MediaError) << rows;
    SoundMix gone = support::MixOf(around, {source});
    gone.open = [](int) -> std::unique_ptr<OpusPackets> { throw MediaError("source0", "no such file"); };
    EXPECT_THROW(Stream(gone, {1, 64}), MediaError);
}

}  // namespace
}  // namespace qv
