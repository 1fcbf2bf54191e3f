// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Containers.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

#include "mkv/Writer.h"
#include "sound/Opus.h"
#include "sound/SoundFormat.h"

namespace support {

namespace fs = std::filesystem;

fs::path TestFolder() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& letter : name)
        if (letter == '/') letter = '_';
    const fs::path folder = fs::path(MIRRANE_TEST_TMP) / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

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

std::vector<std::uint8_t> ReadBytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void WriteBytes(const fs::path& file, const std::vector<std::uint8_t>& bytes) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::string Output(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
    std::string text;
    char buffer[4096];
    for (std::size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, got);
    const int status = pclose(pipe);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error(command + " failed: " + text);
    return text;
}

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

}  // namespace support
