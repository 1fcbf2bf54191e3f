// SPDX-License-Identifier: GPL-3.0-or-later

#include <numeric>
#include <random>

#include "mkv/Check.h"
#include "mkv/Writer.h"
#include "qvlib/Engine.h"
#include "sound/OpusPackets.h"
#include "sound/SoundFormat.h"
#include "support/SoundFixtures.h"

namespace qv {
namespace {

using support::Output;
using support::Quoted;
using Bytes = std::vector<std::uint8_t>;

bool Passes(void (*check)(const std::filesystem::path&), const std::filesystem::path& file) {
    return support::Complaint([&] { check(file); }).empty();
}

/// A file of made-up picture packets, one every 100 ms and a key every 3 s, and of real silence.
std::filesystem::path Write(const std::filesystem::path& target, Ms duration = 12000, bool hasCamera = false) {
    std::mt19937 random(7);
    MkvWriter writer(
        target, {.picture = PictureFormat{PictureCodec::Vp8, 320, 180, {}},
                 .camera = hasCamera ? std::optional(PictureFormat{PictureCodec::Vp8, 160, 120, {}}) : std::nullopt,
                 .bitrateKbit = 48});
    const auto write = [&](TrackKind track, Ms time, bool key) {
        Bytes bytes(40 + random() % 400);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
        bytes[0] = static_cast<std::uint8_t>((bytes[0] & ~1U) | (key ? 0U : 1U));  // as VP8 tells a key
        writer.WritePicture(track, time, key, bytes);
    };
    const std::int64_t samples = std::int64_t{duration} * kSamplesPerMs;
    const auto silence = support::Encode(support::Pcm(static_cast<std::size_t>(samples)), {1, 48});
    for (std::size_t n = 0; n < silence->packets.size(); ++n) {
        const auto time = static_cast<Ms>(n) * kPacketMs;
        const bool isPictureTime = time % 100 == 0 && time < duration;
        if (isPictureTime) write(TrackKind::Picture, time, time % 3000 == 0);
        if (isPictureTime && hasCamera) write(TrackKind::Camera, time, time % 2000 == 0);
        writer.WriteSound(silence->packets[n]);
    }
    writer.Finish(samples, duration);
    return target;
}

TEST(Container, OtherToolsAndWeReadWhatWasWritten) {
    const auto folder = support::TestFolder();
    const auto file = Write(folder / "media.qv", 12345, true);
    const std::string probe = "ffprobe -v error -of csv=p=0 ";
    EXPECT_EQ(Output(probe + "-show_entries format=duration " + Quoted(file)), "12.345000\n");
    EXPECT_EQ(Output(probe + "-show_entries stream=codec_name,width,height,channels " + Quoted(file)),
              "vp8,320,180\nvp8,160,120\nopus,1\n");
    EXPECT_EQ(
        Output("mkvinfo -v -v " + Quoted(file) +
               " | grep 'key, track number 1,' | sed 's/.*timestamp 00:00:\\([0-9.]*\\) at.*/\\1/' | tr '\\n' ' '"),
        "00.000000000 03.000000000 06.000000000 09.000000000 12.000000000 ");
    const std::string info = Output("mkvinfo " + Quoted(file));
    for (const char* line : {"Duration: 00:00:12.345000000", "Name: camera", "Name: QV_DURATION", "String: 12345",
                             "String: 1792", "Codec-inherent delay: 00:00:00.006500000"})
        EXPECT_NE(info.find(line), std::string::npos) << line << "\n" << info;

    const Engine engine = MakeEngine({});
    EXPECT_EQ(engine.lib->GetFileFormatVersion(file), 1792);
    EXPECT_EQ(engine.lib->GetLength(file), 12345);
    EXPECT_EQ(engine.lib->GetAudioBitrate(file), 48);
    EXPECT_EQ(engine.lib->GetFileHeaderDim(file), (PictureDim{320, 180}));
    EXPECT_TRUE(engine.lib->qvVideoExists(file));
    engine.lib->ListIndex(folder / "media.key", file);
    EXPECT_EQ(Output("cat " + Quoted(folder / "media.key")), "0\n3000\n6000\n9000\n12000\n");
    EXPECT_FALSE(engine.lib->qvVideoExists(Write(folder / "plain.qv")));
}

TEST(Container, TheFreeTagIsSetInPlace) {
    const auto file = Write(support::TestFolder() / "media.qv");
    const auto before = support::ReadBytes(file);
    const Engine engine = MakeEngine({});
    EXPECT_EQ(engine.lib->GetFreeTag(file), 0);
    engine.lib->SetFreeTag(file);
    EXPECT_EQ(engine.lib->GetFreeTag(file), 1);
    EXPECT_TRUE(engine.lib->verifyWholeQvFile(file));
    const auto after = support::ReadBytes(file);
    ASSERT_EQ(before.size(), after.size());
    const int same = std::inner_product(before.begin(), before.end(), after.begin(), 0, std::plus(), std::equal_to());
    EXPECT_GE(same, std::ssize(before) - 5) << "one digit and a checksum are others";
}

TEST(Container, AnyFlippedByteFailsTheWholeCheckAndAnyCutBoth) {
    const auto file = Write(support::TestFolder() / "media.qv", 12000, true);
    ASSERT_TRUE(Passes(CheckWhole, file));
    ASSERT_TRUE(Passes(CheckQuickly, file));
    const auto sound = support::ReadBytes(file);
    std::mt19937 random(1);
    for (int round = 0; round < 400; ++round) {
        auto bytes = sound;
        // The first bytes are the densest with structure: try each of them.
        const std::size_t at = round < 100 ? static_cast<std::size_t>(round) : random() % bytes.size();
        bytes[at] ^= static_cast<std::uint8_t>(1U << random() % 8);
        if (round >= 350) bytes.resize(round == 350 ? bytes.size() - 1 : at);
        support::WriteBytes(file, bytes);
        EXPECT_FALSE(Passes(CheckWhole, file)) << "byte " << at << " of " << bytes.size();
        EXPECT_FALSE(round >= 350 && Passes(CheckQuickly, file)) << bytes.size();
    }
}

/// Checksums are right here, so only what they say can tell that something is wrong.
TEST(Container, WhatWasWrittenWrongFailsTheWholeCheck) {
    const auto file = support::TestFolder() / "media.qv";
    const std::tuple<const char*, Ms, Ms, bool> cases[] = {{"right", 1000, 0, true},
                                                           {"length told", 1001, 0, false},
                                                           {"no picture at 0", 1000, 10, false},
                                                           {"picture behind the end", 1000, 1000, false}};
    for (const auto& [name, told, pictureTime, passes] : cases) {
        MkvWriter writer(file, {.picture = PictureFormat{PictureCodec::Vp8, 32, 32, {}}});
        writer.WritePicture(TrackKind::Picture, pictureTime, true, Bytes(20, 1));
        for (int n = 0; n < PacketsFor(1000 * kSamplesPerMs); ++n) writer.WriteSound(Bytes(20, 1));
        writer.Finish(1000 * kSamplesPerMs, told);
        EXPECT_EQ(Passes(CheckWhole, file), passes) << name;
    }
}

TEST(Container, StrangersGetFailureValues) {
    const auto folder = support::TestFolder();
    std::ofstream(folder / "text.qv") << "this is no media file\n";
    std::filesystem::resize_file(Write(folder / "cut.qv"), 300);
    std::vector<std::string> reasons;
    const Engine engine = MakeEngine({{}, [&](const std::string& line) { reasons.push_back(line); }});
    for (const char* name : {"missing.qv", "text.qv", "cut.qv", "."}) {
        const auto file = folder / name;
        reasons.clear();
        EXPECT_EQ(engine.lib->GetLength(file) + engine.lib->GetFileFormatVersion(file), 0) << name;
        EXPECT_EQ(engine.lib->GetFileHeaderDim(file), PictureDim{}) << name;
        EXPECT_FALSE(engine.lib->qvVideoExists(file) || engine.lib->GetFreeTag(file) != 0) << name;
        EXPECT_FALSE(engine.lib->verifyQvFile(file) || engine.lib->verifyWholeQvFile(file)) << name;
        EXPECT_EQ(engine.mixEdit->qvaGetDuration(file), 0) << name;
        engine.lib->SetFreeTag(file);
        engine.lib->ListIndex(folder / "media.key", file);
        EXPECT_EQ(std::filesystem::file_size(folder / "media.key"), 0U) << name;
        ASSERT_FALSE(reasons.empty()) << name;
        EXPECT_NE(reasons.front().find(file.string()), std::string::npos) << reasons.front();
    }
}

TEST(Container, SoundPacketsAreFoundByNumberFromAnyPlace) {
    const auto file = support::TestFolder() / "sound.qva";
    const std::int64_t samples = 30'000 * kSamplesPerMs + 17;
    MkvWriter writer(file, {.channels = 2});
    for (std::int64_t n = 0; n < PacketsFor(samples); ++n)
        writer.WriteSound(Bytes{static_cast<std::uint8_t>(n), static_cast<std::uint8_t>(n >> 8)});
    writer.Finish(samples, 30'000);
    EXPECT_TRUE(Passes(CheckWhole, file));
    const auto sound = OpenSound(file);
    EXPECT_EQ(sound->Samples(), samples);
    EXPECT_EQ(sound->Channels(), 2);
    std::vector<std::uint8_t> data;
    for (const std::int64_t n : {0, 1, 700, 701, 3, 1499, 250, 1500, 249, 0}) {
        ASSERT_TRUE(sound->Read(n, data)) << n;
        EXPECT_EQ(data[0] | data[1] << 8, n);
    }
    EXPECT_FALSE(sound->Read(PacketsFor(samples), data));
    EXPECT_FALSE(sound->Read(-1, data));
}

}  // namespace
}  // namespace qv
