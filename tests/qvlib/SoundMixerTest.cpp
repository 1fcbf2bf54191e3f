// SPDX-License-Identifier: GPL-3.0-or-later

#include <cmath>
#include <numbers>
#include <random>
#include <sstream>

#include "MediaError.h"
#include "sound/PcmReader.h"
#include "sound/RowMixer.h"
#include "sound/SoundFormat.h"
#include "support/Decoded.h"
#include "support/Media.h"
#include "support/SoundFixtures.h"

namespace qv {
namespace {

using support::Pcm;
using support::SharedSound;

class PcmReaderTest : public testing::TestWithParam<EncodeSettings> {
protected:
    PcmReaderTest() {
        const Pcm speech = support::Speech(10);
        sound_ = support::Encode(channels_ == 2 ? support::InStereo(speech) : speech, GetParam());
        whole_ = support::Decode(sound_->packets, channels_, sound_->samples);
    }

    [[nodiscard]] PcmReader Reader(OnDamage onDamage = OnDamage::Throw) const {
        return {support::Open(sound_), "lecture.qva", channels_, onDamage};
    }

    int channels_ = GetParam().channels;
    SharedSound sound_;
    Pcm whole_;
};

TEST_P(PcmReaderTest, AJumpSoundsAsIfTheDecoderHadComeAllTheWay) {
    std::mt19937 random(11);  // NOLINT(cert-msc51-cpp)
    PcmReader reader = Reader();
    Pcm piece(std::size_t{4800} * static_cast<std::size_t>(channels_));
    for (int jump = 0; jump < 60; ++jump) {
        const auto from = static_cast<std::int64_t>(random() % (480000 - 4800));
        reader.Read(from, piece);
        const auto begin = whole_.begin() + from * channels_;
        EXPECT_GT(support::SoundSnr(piece, {begin, begin + std::ssize(piece)}, 0, piece.size()), 40) << from;
    }
}

TEST_P(PcmReaderTest, AHoleIsAnErrorOrSilenceOnlyWhereItIsHeard) {
    sound_->packets[100].clear();  // samples 95688 to 96647
    sound_->packets[200] = {0xff, 0xff, 0xff};
    Pcm all(whole_.size());
    PcmReader lenient = Reader(OnDamage::Silence);
    for (std::size_t at = 0; at < all.size(); at += 1000)
        lenient.Read(static_cast<std::int64_t>(at) / channels_, std::span(all).subspan(at, 1000));
    EXPECT_EQ(lenient.DamagedPackets(), 2);
    const auto hole =
        std::span(all).subspan(static_cast<std::size_t>(95688 * channels_), static_cast<std::size_t>(960 * channels_));
    EXPECT_TRUE(std::ranges::all_of(hole, [](float sample) { return sample == 0; }));
    EXPECT_NE(all[static_cast<std::size_t>(95680 * channels_)], 0);

    PcmReader strict = Reader();
    Pcm piece(std::size_t{10} * static_cast<std::size_t>(channels_));
    EXPECT_NO_THROW(strict.Read(96648, piece)) << "the hole is decoded in vain only";
    EXPECT_NO_THROW(strict.Read(95678, piece));
    EXPECT_EQ(support::Complaint([&] { strict.Read(95679, piece); }), "lecture.qva: the sound at 2000 ms is missing");
    EXPECT_THROW(strict.Read(960 * 200, piece), MediaError);
}

INSTANTIATE_TEST_SUITE_P(Sounds, PcmReaderTest,
                         testing::Values(EncodeSettings{1, 64}, EncodeSettings{1, 24}, EncodeSettings{2, 96}));

/// "gain 1", "gain 0.5 ramp 96 from 1", "in 96", "out 48", in this order, for each row.
std::string TextOf(const std::vector<RowEnvelope>& envelopes) {
    std::ostringstream text;
    for (const RowEnvelope& envelope : envelopes) {
        text << (text.tellp() > 0 ? " | " : "") << envelope.gain;
        if (envelope.ramp > 0) text << " ramp " << envelope.ramp << " from " << envelope.gainFrom;
        if (envelope.fadeIn > 0) text << " in " << envelope.fadeIn;
        if (envelope.fadeOut > 0) text << " out " << envelope.fadeOut;
    }
    return text.str();
}

TEST(RowMixerTest, EnvelopesTakeTheClickOffEachJoint) {
    const struct {
        const char* name;
        const char* rows;
        const char* envelopes;
    } cases[] = {
        {"one row from its source's beginning", "#0:0-500", "1"},
        {"the first row begins inside its source", "#0:20-520", "1 in 96"},
        {"rows go on", "#0:0-500 #0:500-900", "1 | 1"},
        {"a piece is missing", "#0:0-500 #0:501-901", "1 out 96 | 1 in 96"},
        {"another source goes on", "#0:0-500 #1:500-900", "1 out 96 | 1 in 96"},
        {"louder", "#0:0-500 #0:500-900*250", "1 | 2.5 ramp 96 from 1"},
        {"out of silence of its own", "#0:0-500*0 #0:500-900*80", "0 | 0.8 ramp 96 from 0"},
        {"silence between", "#0:0-9*50 #-1:0-11 #0:9-19*50", "0.5 out 96 | 0 | 0.5 in 96"},
        {"3 ms halve their fades", "#0:0-9 #0:50-53 #0:0-8", "1 out 96 | 1 in 72 out 72 | 1 in 96"},
        {"1 ms fades in, or changes", "#0:0-9 #0:50-51 #0:51-52*40", "1 out 96 | 1 in 48 | 0.4 ramp 48 from 1"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(TextOf(EnvelopesOf(support::AudioRows(one.rows))), one.envelopes) << one.name;
}

/// The slow truth: sample s of the rows, from sources that were decoded whole.
float WantedSample(const std::vector<AudioRow>& rows, const std::vector<Pcm>& sources, std::int64_t s) {
    const std::vector<RowEnvelope> envelopes = EnvelopesOf(rows);
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const std::int64_t i = s - 48 * std::int64_t{rows[r].pos};
        const std::int64_t left = 48 * std::int64_t{rows[r].posEnd} - s;
        if (i < 0 || left <= 0) continue;
        if (rows[r].fileIndex < 0) return 0;
        const Pcm& source = sources[static_cast<std::size_t>(rows[r].fileIndex)];
        const std::int64_t at = 48 * std::int64_t{rows[r].srcPos} + i;
        if (at >= static_cast<std::int64_t>(source.size())) return 0;
        const auto cosine = [](std::int64_t k, int length) {
            return k >= length ? 1.0 : 0.5 - 0.5 * std::cos(std::numbers::pi * (static_cast<double>(k) + 0.5) / length);
        };
        const RowEnvelope& e = envelopes[r];
        const double gain = e.gainFrom + (e.gain - e.gainFrom) * cosine(i, e.ramp);
        const double loud = std::clamp(source[static_cast<std::size_t>(at)] * gain, -1.0, 1.0);
        return static_cast<float>(loud * cosine(i, e.fadeIn) * cosine(left - 1, e.fadeOut));
    }
    return 0;
}

TEST(RowMixerTest, EverySampleIsWhatTheRowsSay) {
    const std::vector<SharedSound> sources = {support::Encode(support::Speech(2), {1, 96}),
                                              support::Encode(support::Bursts(2, 1), {1, 96})};
    std::vector<Pcm> whole;
    for (const auto& source : sources) whole.push_back(support::Decode(source->packets, 1, source->samples));
    // As it is; louder, saturating; 1 ms of another source; a jump, quieter; silence; a source that ends at 2000; a row
    // that is cut at the end of all.
    const auto rows =
        support::AudioRows("#0:0-333 #0:333-700*350 #1:40-41 #1:1013-1512*50 #-1:0-100 #1:1512-2312*9999 #0:100-300");
    SoundMix mix = support::MixOf(rows, sources);
    mix.totalSamples = 48 * 2250;
    RowMixer mixer(mix, OnDamage::Throw);
    Pcm all(48 * 2260 + 10);
    for (std::size_t at = 0; at < all.size(); at += 1777)
        mixer.Read(static_cast<std::int64_t>(at) - 10,
                   std::span(all).subspan(at, std::min<std::size_t>(1777, all.size() - at)));
    int loud = 0;
    for (std::int64_t s = -10; s < 48 * 2260; ++s) {
        const bool outside = s < 0 || s >= 48 * 2250;
        const float wanted = outside ? 0 : WantedSample(rows, whole, s);
        // What follows a jump in a source differs by the decoder's memory; 9999 percent make a lot of it.
        const double allowed = outside || s < 48 * 700 ? 1e-6 : s < 48 * 1300 ? 2e-3 : 0.1;
        ASSERT_NEAR(all[static_cast<std::size_t>(s + 10)], wanted, allowed) << "at sample " << s;
        loud += std::abs(wanted) == 1.0F ? 1 : 0;
    }
    EXPECT_GT(loud, 1000);
}

}  // namespace
}  // namespace qv
