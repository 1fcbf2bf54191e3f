// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "mkv/Check.h"
#include "mkv/Reader.h"
#include "mkv/Writer.h"
#include "qvlib/Engine.h"
#include "sound/Opus.h"
#include "sound/OpusPackets.h"
#include "sound/SoundFormat.h"
#include "support/Containers.h"

namespace qv {
namespace {

using support::Output;
using support::Quoted;

bool Passes(void (*check)(const std::filesystem::path&), const std::filesystem::path& file) {
    try {
        check(file);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

TEST(Container, OtherToolsReadWhatWasWritten) {
    const auto file = support::TestFolder() / "media.qv";
    support::WriteMadeUp(file, {.duration = 12345, .keyEvery = 3000, .camera = true});
    const std::string probe = "ffprobe -v error -of csv=p=0 ";
    EXPECT_EQ(Output(probe + "-show_entries format=duration " + Quoted(file)), "12.345000\n");
    EXPECT_EQ(Output(probe + "-show_entries stream=codec_name,width,height,channels " + Quoted(file)),
              "vp8,320,180\nvp8,160,120\nopus,1\n");
    EXPECT_EQ(
        Output("mkvinfo -v -v " + Quoted(file) +
               " | grep 'key, track number 1,' | sed 's/.*timestamp 00:00:\\([0-9.]*\\) at.*/\\1/' | tr '\\n' ' '"),
        "00.000000000 03.000000000 06.000000000 09.000000000 12.000000000 ");
    EXPECT_EQ(Output("ffmpeg -v error -vn -i " + Quoted(file) + " -map 0:a -f f32le - | wc -c"),
              std::to_string(12345 * 48 * 4) + "\n");
    const std::string info = Output("mkvinfo " + Quoted(file));
    for (const char* line : {"Duration: 00:00:12.345000000", "Name: camera", "Name: QV_DURATION", "String: 12345",
                             "String: 1792", "Codec-inherent delay: 00:00:00.006500000"})
        EXPECT_NE(info.find(line), std::string::npos) << line << "\n" << info;
}

TEST(Container, FactsAndKeysComeBack) {
    const auto folder = support::TestFolder();
    const auto file = folder / "media.qv";
    support::WriteMadeUp(file, {.duration = 12345, .keyEvery = 3000, .camera = true});
    const Engine engine = MakeEngine({});
    EXPECT_EQ(engine.lib->GetFileFormatVersion(file), 1792);
    EXPECT_EQ(engine.lib->GetLength(file), 12345);
    EXPECT_EQ(engine.lib->GetAudioBitrate(file), 48);
    EXPECT_EQ(engine.lib->GetFileHeaderDim(file), (PictureDim{320, 180}));
    EXPECT_TRUE(engine.lib->qvVideoExists(file));
    engine.lib->ListIndex(folder / "media.key", file);
    EXPECT_EQ(Output("cat " + Quoted(folder / "media.key")), "0\n3000\n6000\n9000\n12000\n");
    support::WriteMadeUp(folder / "plain.qv", {});
    EXPECT_FALSE(engine.lib->qvVideoExists(folder / "plain.qv"));
}

TEST(Container, TheFreeTagIsSetInPlace) {
    const auto file = support::TestFolder() / "media.qv";
    support::WriteMadeUp(file, {});
    const auto before = support::ReadBytes(file);
    const Engine engine = MakeEngine({});
    EXPECT_EQ(engine.lib->GetFreeTag(file), 0);
    engine.lib->SetFreeTag(file);
    EXPECT_EQ(engine.lib->GetFreeTag(file), 1);
    EXPECT_EQ(engine.lib->GetLength(file), 12000);
    EXPECT_TRUE(engine.lib->verifyWholeQvFile(file));
    const auto after = support::ReadBytes(file);
    ASSERT_EQ(before.size(), after.size());
    int changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) changed += before[i] != after[i] ? 1 : 0;
    EXPECT_LE(changed, 5);  // one digit and a checksum
    EXPECT_GE(changed, 2);
}

TEST(Container, AnyFlippedByteFailsTheWholeCheck) {
    const auto file = support::TestFolder() / "media.qv";
    support::WriteMadeUp(file, {.camera = true});
    ASSERT_TRUE(Passes(CheckWhole, file));
    ASSERT_TRUE(Passes(CheckQuickly, file));
    const auto sound = support::ReadBytes(file);
    std::mt19937 random(1);
    for (int round = 0; round < 500; ++round) {
        auto bytes = sound;
        // The first bytes are the densest with structure: try each of them.
        const std::size_t at = round < 100 ? static_cast<std::size_t>(round) : random() % bytes.size();
        bytes[at] ^= static_cast<std::uint8_t>(1U << random() % 8);
        support::WriteBytes(file, bytes);
        EXPECT_FALSE(Passes(CheckWhole, file)) << "byte " << at << " of " << bytes.size();
    }
}

TEST(Container, AFileCutShortFailsBothChecks) {
    const auto file = support::TestFolder() / "media.qv";
    support::WriteMadeUp(file, {});
    const auto sound = support::ReadBytes(file);
    std::mt19937 random(2);
    for (int round = 0; round < 52; ++round) {
        auto bytes = sound;
        bytes.resize(round == 0 ? 0 : round == 1 ? sound.size() - 1 : random() % sound.size());
        support::WriteBytes(file, bytes);
        EXPECT_FALSE(Passes(CheckWhole, file)) << bytes.size();
        EXPECT_FALSE(Passes(CheckQuickly, file)) << bytes.size();
    }
}

/// Checksums are right here, so only what they say can tell that something is wrong.
TEST(Container, WhatWasWrittenWrongFailsTheWholeCheck) {
    const auto file = support::TestFolder() / "media.qv";
    const auto write = [&](Ms told, Ms pictureTime, int packets) {
        MkvWriter writer(file, {.picture = PictureFormat{PictureCodec::Vp8, 32, 32, {}}});
        const std::vector<std::uint8_t> data(20, 1);
        writer.WritePicture(TrackKind::Picture, pictureTime, true, data);
        for (int n = 0; n < packets; ++n) writer.WriteSound(data);
        writer.Finish(std::int64_t{1000} * kSamplesPerMs, told);
    };
    const int packets = static_cast<int>(PacketsFor(std::int64_t{1000} * kSamplesPerMs));
    write(1000, 0, packets);
    EXPECT_TRUE(Passes(CheckWhole, file));
    write(1001, 0, packets);
    EXPECT_FALSE(Passes(CheckWhole, file)) << "length told";
    write(1000, 10, packets);
    EXPECT_FALSE(Passes(CheckWhole, file)) << "no picture at 0";
    write(1000, 1000, packets);
    EXPECT_FALSE(Passes(CheckWhole, file)) << "picture behind the end";
}

TEST(Container, StrangersGetFailureValues) {
    const auto folder = support::TestFolder();
    std::ofstream(folder / "empty.qv");
    std::ofstream(folder / "text.qv") << "this is no media file\n";
    support::WriteMadeUp(folder / "cut.qv", {});
    std::filesystem::resize_file(folder / "cut.qv", 300);
    auto huge = support::ReadBytes(folder / "cut.qv");
    huge.resize(60);
    huge[52] = 0x01;  // the first element of the segment claims terabytes
    for (int i = 53; i < 60; ++i) huge[static_cast<std::size_t>(i)] = 0x7F;
    support::WriteBytes(folder / "huge.qv", huge);
    std::vector<std::string> reasons;
    const Engine engine = MakeEngine({{}, [&](const std::string& line) { reasons.push_back(line); }});
    for (const char* name : {"missing.qv", "empty.qv", "text.qv", "cut.qv", "huge.qv", "."}) {
        const auto file = folder / name;
        reasons.clear();
        EXPECT_EQ(engine.lib->GetLength(file), 0) << name;
        EXPECT_EQ(engine.lib->GetFileFormatVersion(file), 0) << name;
        EXPECT_EQ(engine.lib->GetFileHeaderDim(file), PictureDim{}) << name;
        EXPECT_EQ(engine.lib->GetFreeTag(file), 0) << name;
        EXPECT_FALSE(engine.lib->qvVideoExists(file)) << name;
        EXPECT_FALSE(engine.lib->verifyQvFile(file)) << name;
        EXPECT_FALSE(engine.lib->verifyWholeQvFile(file)) << name;
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
    {
        MkvWriter writer(file, {.channels = 2});
        for (std::int64_t n = 0; n < PacketsFor(samples); ++n)
            writer.WriteSound(std::vector{static_cast<std::uint8_t>(n), static_cast<std::uint8_t>(n >> 8)});
        writer.Finish(samples, 30'000);
    }
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
