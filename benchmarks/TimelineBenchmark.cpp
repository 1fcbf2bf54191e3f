// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the timeline's model takes while somebody waits: a play list is made at every seek and before every save.
//
//     timeline_benchmark WORKFOLDER [--benchmark_...]
//
// PlayList.txt goes to the work folder.
#include <benchmark/benchmark.h>

#include <iostream>

#include "timeline/PlayList.h"

namespace {

using namespace mirrane;

constexpr Ms kLectureMs = 8 * 60 * 60 * 1000;
constexpr int kSlides = 2000;
constexpr Ms kSlideMs = kLectureMs / kSlides;
constexpr Ms kCutMs = 3200;
constexpr int kImports = 120;  // a play list takes 128 rows of sound
constexpr Ms kImportMs = kLectureMs / kImports;

/// Nobody is here. What is told goes to standard error.
class NoUser final : public IUser {
public:
    Answer Ask(const MessageBox& box) override {
        std::cerr << box.text << '\n';
        return Answer::Cancel;
    }
    void ShowStatus(const std::string& /*text*/) override {}
    void HideStatus() override {}
    void SetBusyCursor(bool /*busy*/) override {}
    void RunEvents() override {}
    void Sleep(std::chrono::milliseconds /*time*/) override {}
};

/// A disk that keeps nothing, to tell the work from the writing.
class NoDisk final : public IDisk {
public:
    void Write(const std::filesystem::path& file, std::string_view bytes) override { WriteScratch(file, bytes); }
    void WriteScratch(const std::filesystem::path& /*file*/, std::string_view bytes) override {
        benchmark::DoNotOptimize(bytes.data());
    }
    void Copy(const std::filesystem::path& /*source*/, const std::filesystem::path& /*target*/) override {}
    void Rename(const std::filesystem::path& /*source*/, const std::filesystem::path& /*target*/) override {}
    void Remove(const std::filesystem::path& /*entry*/) override {}
    void MakeFolder(const std::filesystem::path& /*folder*/) override {}
    void AddOwnerWrite(const std::filesystem::path& /*entry*/) override {}
    [[nodiscard]] std::uint64_t FreeBytes(const std::filesystem::path& /*path*/) override { return 0; }
};

/// A lecture of eight hours in an editor.
class Desk {
public:
    Desk(IDisk& disk, std::filesystem::path folder) : world_{user_, disk, clock_, settings_, host_, texts_} {
        state.gTempWorkFolder = std::move(folder);
        for (int slide = 0; slide < kSlides; ++slide)
            state.gGrid.Append("A slide of a long lecture", std::to_string(slide * kSlideMs), "2024/3/5 13:04:05", "",
                               std::to_string((slide + 1) * kSlideMs));
        state.gSlideLoaded.assign(kSlides, false);
        state.gSrcFiles.Append("/home/somebody/lectures/thermodynamics/media.qv");
        BuildSlideList(state.gSlideList, state.gGrid);
    }

    /// Opens every slide, cuts a piece out of each, and lays sound of other files over all of it.
    void Edit() {
        for (int slide = 1; slide <= kSlides; ++slide) {
            const Ms pos = (slide - 1) * kSlideMs;
            state.gSlideLoaded[static_cast<std::size_t>(slide) - 1] = true;
            Put({.segIndex = 4 * slide, .slideIndex = slide, .pos = pos, .posEnd = pos + kCutMs}, 1, pos);
            Put({.segIndex = 4 * slide + 2, .slideIndex = slide, .pos = pos + 2 * kCutMs, .posEnd = pos + kSlideMs}, 1,
                pos + 2 * kCutMs);
        }
        for (int i = 0; i < kImports; ++i) {
            state.gSrcFiles.Append("/tmp/_qvMix_rad1F2A3.tmp/audio/Rec(" + std::to_string(i) + ").qva");
            const Ms pos = i * kImportMs;
            Put({.segIndex = 2 * i + 1,
                 .slideIndex = 1 + pos / kSlideMs,
                 .trackIndex = 1,
                 .pos = pos,
                 .posEnd = pos + kImportMs},
                state.gSrcFiles.Count(), 0);
        }
    }

private:
    void Put(WaveSegRecord record, std::int32_t source, Ms srcPos) {
        record.srcPos = srcPos;
        record.srcPosEnd = record.srcPos + record.posEnd - record.pos;
        record.srcFile = state.gSrcFiles.item(source);
        CWaveTrack& track = state.gWaveTrack.at(static_cast<std::size_t>(record.trackIndex));
        track.Add(std::move(record));
    }

    NoUser user_;
    SystemClock clock_;
    MemorySettings settings_;
    SystemHost host_;
    Texts texts_{""};
    World world_;

public:
    EditorState state{world_};
};

void Measure(const char* name, Desk& desk) {
    benchmark::RegisterBenchmark(
        name,
        [&desk](benchmark::State& run) {
            for (auto _ : run)
                if (!modPlayList::SetPlayList(desk.state, modPlayList::MuteAudio::No, nullptr)) {
                    run.SkipWithError("failed");
                    break;
                }
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::cerr << "usage: timeline_benchmark WORKFOLDER [--benchmark_...]\n";
        return 2;
    }
    Disk disk;
    NoDisk noDisk;
    std::filesystem::create_directories(argv[1]);
    Desk untouched(noDisk, argv[1]);
    Desk edited(noDisk, argv[1]);
    Desk written(disk, argv[1]);
    edited.Edit();
    written.Edit();
    Measure("SetPlayList/untouched", untouched);
    Measure("SetPlayList/edited", edited);
    Measure("SetPlayList/written", written);
    return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}
