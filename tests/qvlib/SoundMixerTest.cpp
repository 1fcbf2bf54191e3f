// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <sstream>

#include "MediaError.h"
#include "sound/PcmReader.h"
#include "sound/RowMixer.h"
#include "sound/SoundFormat.h"
#include "support/SoundFixtures.h"

namespace qv {
namespace {

using support::Pcm;
using support::SharedSound;

/// 10 log10 of signal to error over all of two sounds.
double Snr(std::span<const float> is, std::span<const float> wanted) {
    double signal = 1e-20;
    double error = 1e-20;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        signal += double{wanted[i]} * wanted[i];
        error += (double{is[i]} - wanted[i]) * (double{is[i]} - wanted[i]);
    }
    return 10 * std::log10(signal / error);
}

struct SoundInMemory {
    const char* name;
    EncodeSettings settings;
};

void PrintTo(const SoundInMemory& sound, std::ostream* out) { *out << sound.name; }

class PcmReaderTest : public testing::TestWithParam<SoundInMemory> {
protected:
    PcmReaderTest() {
        const Pcm speech = support::Speech(10);
        sound_ = support::Encode(channels_ == 2 ? support::InStereo(speech) : speech, GetParam().settings);
        whole_ = support::Decode(sound_->packets, channels_, sound_->samples);
    }

    [[nodiscard]] PcmReader Reader(OnDamage onDamage = OnDamage::Throw) const {
        return {support::Open(sound_), "lecture.qva", channels_, onDamage};
    }

    int channels_ = GetParam().settings.channels;
    SharedSound sound_;
    Pcm whole_;
};

TEST_P(PcmReaderTest, ReadingOnGivesEverySampleOfTheDecoder) {
    PcmReader reader = Reader();
    Pcm read;
    for (const std::size_t samples : {1, 647, 1, 960, 48, 100000, 5, 300000}) {
        Pcm piece(samples * static_cast<std::size_t>(channels_));
        reader.Read(static_cast<std::int64_t>(read.size()) / channels_, piece);
        read.insert(read.end(), piece.begin(), piece.end());
    }
    EXPECT_TRUE(std::equal(read.begin(), read.end(), whole_.begin()));
}

TEST_P(PcmReaderTest, AJumpSoundsAsIfTheDecoderHadComeAllTheWay) {
    std::mt19937 random(11);  // NOLINT(cert-msc51-cpp)
    PcmReader reader = Reader();
    Pcm piece(std::size_t{4800} * static_cast<std::size_t>(channels_));
    for (int jump = 0; jump < 60; ++jump) {
        const auto from = static_cast<std::int64_t>(random() % (480000 - 4800));
        reader.Read(from, piece);
        const auto wanted = std::span(whole_).subspan(static_cast<std::size_t>(from * channels_), piece.size());
        EXPECT_GT(Snr(piece, wanted), 40) << "at sample " << from;
    }
}

TEST_P(PcmReaderTest, OutsideOfTheSoundIsSilence) {
    PcmReader reader = Reader();
    Pcm piece(std::size_t{200} * static_cast<std::size_t>(channels_), 1.0F);
    reader.Read(-100, piece);
    const auto half = static_cast<std::ptrdiff_t>(piece.size() / 2);
    EXPECT_EQ(std::count(piece.begin(), piece.begin() + half, 0.0F), half);
    EXPECT_TRUE(std::equal(piece.begin() + half, piece.end(), whole_.begin()));
    reader.Read(sound_->samples - 100, piece);
    EXPECT_EQ(std::count(piece.begin() + half, piece.end(), 0.0F), half);
    EXPECT_NE(std::count(piece.begin(), piece.begin() + half, 0.0F), half);
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
    try {
        strict.Read(95679, piece);
        FAIL() << "a hole was read";
    } catch (const MediaError& error) {
        EXPECT_STREQ(error.what(), "lecture.qva: the sound at 2000 ms is missing");
    }
    EXPECT_THROW(strict.Read(960 * 200, piece), MediaError);
}

TEST_P(PcmReaderTest, DamagedPacketsNeverDoWorseThanDisturb) {
    std::mt19937 random(12);  // NOLINT(cert-msc51-cpp)
    for (OpusPacket& packet : sound_->packets) {
        if (random() % 3 == 0) packet.resize(random() % packet.size());
        for (std::size_t i = 0; i < packet.size(); i += 1 + random() % 40)
            packet[i] = static_cast<std::uint8_t>(random());
        if (random() % 50 == 0) packet.assign(70000, static_cast<std::uint8_t>(random()));
    }
    PcmReader reader = Reader(OnDamage::Silence);
    Pcm all(whole_.size());
    reader.Read(0, all);
    EXPECT_GT(reader.DamagedPackets(), 10);
    EXPECT_TRUE(std::ranges::all_of(all, [](float sample) { return std::isfinite(sample); }));
}

INSTANTIATE_TEST_SUITE_P(Sounds, PcmReaderTest,
                         testing::Values(SoundInMemory{"Mono64", {1, 64}}, SoundInMemory{"Mono24", {1, 24}},
                                         SoundInMemory{"Stereo96", {2, 96}}),
                         [](const auto& info) { return std::string(info.param.name); });

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
    struct Case {
        const char* name;
        std::vector<AudioRow> rows;
        const char* envelopes;
    };
    const Case cases[] = {
        {"one row from its source's beginning", {{0, 500, 0, 0, 500, 100}}, "1"},
        {"the first row begins inside its source", {{0, 500, 0, 20, 520, 100}}, "1 in 96"},
        {"rows go on", {{0, 500, 0, 0, 500, 100}, {500, 900, 0, 500, 900, 100}}, "1 | 1"},
        {"a piece is missing", {{0, 500, 0, 0, 500, 100}, {500, 900, 0, 501, 901, 100}}, "1 out 96 | 1 in 96"},
        {"another source goes on", {{0, 500, 0, 0, 500, 100}, {500, 900, 1, 500, 900, 100}}, "1 out 96 | 1 in 96"},
        {"louder", {{0, 500, 0, 0, 500, 100}, {500, 900, 0, 500, 900, 250}}, "1 | 2.5 ramp 96 from 1"},
        {"out of silence of its own", {{0, 500, 0, 0, 500, 0}, {500, 900, 0, 500, 900, 80}}, "0 | 0.8 ramp 96 from 0"},
        {"silence between",
         {{0, 9, 0, 0, 9, 50}, {9, 20, -1, 0, 0, 0}, {20, 30, 0, 9, 19, 50}},
         "0.5 out 96 | 0 | 0.5 in 96"},
        {"a row of 3 ms halves its fades",
         {{0, 9, 0, 0, 9, 100}, {9, 12, 0, 50, 53, 100}, {12, 20, 0, 0, 8, 100}},
         "1 out 96 | 1 in 72 out 72 | 1 in 96"},
        {"a row of 1 ms fades in, or changes, in all of it",
         {{0, 9, 0, 0, 9, 100}, {9, 10, 0, 50, 51, 100}, {10, 11, 0, 51, 52, 40}},
         "1 out 96 | 1 in 48 | 0.4 ramp 48 from 1"},
    };
    for (const Case& one : cases) EXPECT_EQ(TextOf(EnvelopesOf(one.rows)), one.envelopes) << one.name;
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
    const std::vector<AudioRow> rows = {
        {0, 333, 0, 0, 333, 100},           // as it is
        {333, 700, 0, 333, 700, 350},       // goes on, louder, saturates
        {700, 701, 1, 40, 41, 100},         // 1 ms of another source
        {701, 1200, 1, 1013, 1512, 50},     // a jump, quieter
        {1200, 1300, -1, 0, 0, 0},          // silence
        {1300, 2100, 1, 1512, 2312, 9999},  // its source ends at 2000
        {2100, 2300, 0, 100, 300, 100},     // cut at the end of all
    };
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

TEST(RowMixerTest, WhatCannotBeFoundIsSilenceAndTold) {
    const SharedSound source = support::Encode(support::Speech(2), {1, 64});
    SoundMix mix = support::MixOf({{0, 500, 7, 0, 500, 100},
                                   {500, 800, -1, 0, 0, 0},
                                   {800, 900, 7, 0, 100, 100},
                                   {900, 1000, 0, 900, 1000, 100},
                                   {1000, 1500, 1, 0, 500, 100}},
                                  {source, source});
    mix.open = [&](int fileIndex) -> std::unique_ptr<OpusPackets> {
        if (fileIndex == 1) throw MediaError("source1", "no such file");
        return support::Open(source);
    };
    std::vector<std::string> told;
    RowMixer mixer(mix, OnDamage::Silence, [&](const std::string& line) { told.push_back(line); });
    Pcm all(48 * 1500, 1.0F);
    mixer.Read(0, all);
    const auto isSilent = [&](int from, int to) {
        return std::all_of(all.begin() + 48 * from, all.begin() + 48 * to, [](float sample) { return sample == 0; });
    };
    EXPECT_TRUE(isSilent(0, 900));
    EXPECT_FALSE(isSilent(900, 1000));
    EXPECT_TRUE(isSilent(1000, 1500));
    EXPECT_EQ(told, (std::vector<std::string>{"the play list's sound names source 7 of 2: silence is heard there",
                                              "source1: no such file: silence is heard in its place"}));
    EXPECT_THROW(RowMixer(mix, OnDamage::Throw).Read(48 * 1400, std::span(all).first(10)), MediaError);
}

TEST(RowMixerTest, ManySourcesAreReadOneAfterAnother) {
    std::vector<SharedSound> sources;
    std::vector<AudioRow> rows;
    for (int i = 0; i < 12; ++i) {
        sources.push_back(support::Encode(support::Bursts(1, static_cast<unsigned>(i)), {1, 64}));
        rows.push_back({100 * i, 100 * i + 100, i, 300, 400, 100});
    }
    const SoundMix mix = support::MixOf(rows, sources);
    int opened = 0;
    SoundMix counted = mix;
    counted.open = [&](int fileIndex) {
        ++opened;
        return mix.open(fileIndex);
    };
    RowMixer mixer(counted, OnDamage::Throw);
    const Pcm wanted = support::Mixed(mix);
    Pcm piece(4800);
    for (const int row : {11, 0, 3, 11, 5}) {
        mixer.Read(4800 * row, piece);
        EXPECT_TRUE(std::equal(piece.begin(), piece.end(), wanted.begin() + 4800 * row)) << "row " << row;
    }
    EXPECT_EQ(opened, 4) << "a source that was just heard stays open";
}

}  // namespace
}  // namespace qv
