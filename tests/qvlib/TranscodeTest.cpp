// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/Transcode.h"

#include <gtest/gtest.h>

#include "MediaError.h"
#include "foreign/ForeignSound.h"
#include "qvlib/Engine.h"
#include "support/Basics.h"
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

TEST(TranscodeTest, TheWaveIsHeardAsItsSourceIs) {
    const fs::path folder = support::TestFolder();
    const char* const noise = "-f lavfi -i anoisesrc=c=pink:a=0.6:seed=4:d=2.345:r=";
    const std::tuple<const char*, const char*, std::string, int> cases[] = {
        {"stereo.mp3", "", "44100 -ac 2 -b:a 192k", 2},
        {"late.mkv", "-f lavfi -i testsrc2=s=64x48:d=4 -itsoffset 1.5 ", "22050 -c:a aac", 1},
        {"edited.m4a", "", "44100 -ac 2 -ss 0.31 -c:a aac", 2},
        {"many.flac", "", "96000 -ac 6", 2},
        {"old.wma", "", "32000 -c:a wmav2", 1},
    };
    const Engine engine = MakeEngine({});
    for (const auto& [name, before, arguments, channels] : cases) {
        const fs::path source = support::MakeMedia(folder, name, before + (noise + arguments));
        const fs::path wave = folder / "it.wav";
        engine.mixEdit->qvTranscode(source, wave);
        while (engine.mixEdit->GetImportProgress() < 100) ASSERT_GE(engine.mixEdit->GetImportProgress(), 0);
        const auto wanted = AllOf(source);
        const auto is = AllOf(wave);
        ASSERT_EQ(is.size(), wanted.size()) << name;
        for (std::size_t i = 0; i < is.size(); ++i)
            ASSERT_NEAR(is[i], std::clamp(wanted[i], -1.0F, 32767 / 32768.0F), 0.6 / 32768) << name << " " << i;
        EXPECT_EQ(support::Output("ffprobe -v error -show_entries stream=codec_name,sample_rate,channels -of csv=p=0 " +
                                  support::Quoted(wave)),
                  "pcm_s16le,48000," + std::to_string(channels) + "\n");
        EXPECT_EQ(fs::file_size(wave), 44 + 2 * is.size());
    }
}

TEST(TranscodeTest, TellsWhatAFileIsAndFailsWithoutATrace) {
    const fs::path folder = support::TestFolder();
    const fs::path silent = support::MakeMedia(folder, "silent.mp4", "-f lavfi -i testsrc2=s=64x48:d=1");
    const fs::path heard = support::MakeMedia(folder, "heard.ogg", "-f lavfi -i sine=d=1 -c:a libvorbis");
    support::WriteBytes(folder / "text.mp3", std::vector<std::uint8_t>(5000, 'x'));
    const std::pair<fs::path, SoundKind> cases[] = {{silent, SoundKind::NoSound},
                                                    {heard, SoundKind::Sound},
                                                    {folder / "text.mp3", SoundKind::Unreadable},
                                                    {folder / "none.mp3", SoundKind::Unreadable},
                                                    {folder, SoundKind::Unreadable}};
    const Engine engine = MakeEngine({});
    for (const auto& [file, kind] : cases) {
        EXPECT_EQ(engine.mixEdit->qvSoundKind(file), kind) << file;
        if (kind == SoundKind::Sound) continue;
        EXPECT_THROW(TranscodeToWave(file, folder / "it.wav", {}), MediaError) << file;
    }
    EXPECT_THROW(TranscodeToWave(heard, folder / "nowhere" / "it.wav", {}), MediaError);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(TranscodeToWave(heard, folder / "it.wav", JobContext{{stop.get_token(), {}}}), Abandoned);
    EXPECT_FALSE(fs::exists(folder / "it.wav"));
    EXPECT_FALSE(fs::exists(folder / "it.wav.part"));
}

}  // namespace
}  // namespace qv
