// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/Transcode.h"

#include "MediaError.h"
#include "foreign/ForeignSound.h"
#include "support/Media.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

std::vector<float> AllOf(const fs::path& file) {
    ForeignSound sound(file, 0, LateStart::Drop);
    std::vector<float> all(std::size_t{48000} * 20);
    all.resize(sound.Read(all));
    return all;
}

using TranscodeTest = support::EngineTest;

TEST_F(TranscodeTest, TheWaveIsHeardAsItsSourceIs) {
    const char* const noise = "-f lavfi -i anoisesrc=c=pink:a=0.6:seed=4:d=2.345:r=";
    const std::tuple<const char*, const char*, std::string, int> cases[] = {
        {"stereo.mp3", "", "44100 -ac 2 -b:a 192k", 2},
        {"late.mkv", "-f lavfi -i testsrc2=s=64x48:d=4 -itsoffset 1.5 ", "22050 -c:a aac", 1},
        {"edited.m4a", "", "44100 -ac 2 -ss 0.31 -c:a aac", 2},
        {"many.flac", "", "96000 -ac 6", 2},
        {"old.wma", "", "32000 -c:a wmav2", 1},
    };
    for (const auto& [name, before, arguments, channels] : cases) {
        const fs::path source = support::MakeMedia(folder_, name, before + (noise + arguments));
        const fs::path wave = folder_ / "it.wav";
        engine_.mixEdit->qvTranscode(source, wave);
        AwaitImport();
        const auto wanted = AllOf(source);
        const auto is = AllOf(wave);
        ASSERT_EQ(is.size(), wanted.size()) << name;
        for (std::size_t i = 0; i < is.size(); ++i)
            ASSERT_NEAR(is[i], std::clamp(wanted[i], -1.0F, 32767 / 32768.0F), 0.6 / 32768) << name << " " << i;
        const std::string probe = "ffprobe -v error -show_entries stream=codec_name,sample_rate,channels -of csv=p=0 ";
        EXPECT_EQ(support::Output(probe + support::Quoted(wave)), "pcm_s16le,48000," + std::to_string(channels) + "\n");
        EXPECT_EQ(fs::file_size(wave), 44 + 2 * is.size());
    }
}

TEST_F(TranscodeTest, TellsWhatAFileIsAndFailsWithoutATrace) {
    const fs::path silent = support::MakeMedia(folder_, "silent.mp4", "-f lavfi -i testsrc2=s=64x48:d=1");
    const fs::path heard = support::MakeMedia(folder_, "heard.ogg", "-f lavfi -i sine=d=1 -c:a libvorbis");
    EXPECT_EQ(engine_.mixEdit->qvSoundKind(heard), SoundKind::Sound);
    EXPECT_EQ(engine_.mixEdit->qvSoundKind(silent), SoundKind::NoSound);
    EXPECT_EQ(engine_.mixEdit->qvSoundKind(folder_ / "none.mp3"), SoundKind::Unreadable);
    // The same sound under the name of a codec that nobody has decoders of, and of one that nobody knows.
    const fs::path plain = support::MakeMedia(folder_, "plain.mov", "-f lavfi -i sine=d=1 -c:a pcm_s16le");
    for (const auto& [codec, kind] : {std::pair("mhm1", SoundKind::NoDecoder), {"?!?!", SoundKind::Unreadable}}) {
        auto bytes = support::ReadBytes(plain);
        const std::string_view name = "sowt";
        std::copy_n(codec, name.size(), std::search(bytes.begin(), bytes.end(), name.begin(), name.end()));
        support::WriteBytes(folder_ / "other.mov", bytes);
        EXPECT_EQ(engine_.mixEdit->qvSoundKind(folder_ / "other.mov"), kind) << codec;
    }
    EXPECT_THROW(TranscodeToWave(silent, folder_ / "it.wav", {}), MediaError);
    EXPECT_THROW(TranscodeToWave(heard, folder_ / "nowhere" / "it.wav", {}), MediaError);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(TranscodeToWave(heard, folder_ / "it.wav", JobContext{{stop.get_token(), {}}}), Abandoned);
    EXPECT_FALSE(fs::exists(folder_ / "it.wav"));
    EXPECT_FALSE(fs::exists(folder_ / "it.wav.part"));
}

}  // namespace
}  // namespace qv
