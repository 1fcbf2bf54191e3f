// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the timeline's model takes while somebody waits: a play list is made at every seek and before every save, and
// all that was done can be undone.
//
//     timeline_benchmark WORKFOLDER [--benchmark_...]
//
// PlayList.txt goes to the work folder.
#include <benchmark/benchmark.h>

#include <iostream>

#include "editing/Replay.h"
#include "editing/SlideTimeline.h"
#include "editing/WaveEdit.h"
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

/// Nothing is read, played or shown: what is left is the editing.
class NoPorts final : public ISampler, public ITransport, public ISlideView, public ILife {
public:
    bool GetWaveSamples(const std::filesystem::path& /*file*/, std::span<std::int16_t> /*samples*/, Ms /*start*/,
                        Ms /*end*/, int /*fileKind*/) override {
        return true;
    }
    [[nodiscard]] Ms Position() const override { return 0; }
    [[nodiscard]] bool IsPlaying() const override { return false; }
    void ExecPlay() override {}
    void ExecStop(StopAt /*where*/) override {}
    void qvSeekTo(Ms /*ms*/) override {}
    void SeekInSlide(Ms /*ms*/) override {}
    void SetPosInfo(Ms /*ms*/) override {}
    void SetMuted(bool /*on*/) override {}
    void SetToolbar() override {}
    void LoadSlide(std::int32_t /*index*/, WhileBusy /*whileBusy*/) override {}
    void PostUnload() override {}
    void ForceExit() override {}
    void ReloadMedia() override {}
};

/// A lecture whose first slide was cut two hundred times, and made louder and softer eight hundred times.
class EditedSlide {
public:
    static constexpr int kCuts = 200;
    static constexpr int kSteps = 1000;

    explicit EditedSlide(IDisk& disk, const std::filesystem::path& folder) : desk_(disk, folder) {
        EditorState& state = desk_.state;
        state.gProjectFolder = folder;
        ctx_.sampler = &ports_;
        ctx_.transport = &ports_;
        ctx_.slideView = &ports_;
        ctx_.life = &ports_;
        state.gGrid.SelectedRow(1);
        state.gSlideZoom.assign(kSlides, 1);
        modSlideTimeline::ShowSlideTimeline(ctx_);
        for (int cut = 1; cut <= kCuts; ++cut)
            modWaveEdit::SplitWaveSeg(ctx_, LastSeg(), cut * kSampleMs, modWaveEdit::Log::Yes);
        for (int step = kCuts; step < kSteps; ++step)
            modWaveEdit::VolAdjust(ctx_, state.gWaveTrack[0].items.item(1 + step % kCuts).segIndex, 25,
                                   modWaveEdit::Log::Yes);
    }

    /// @returns how many steps that were
    int UndoAll() {
        int steps = 0;
        for (Replay replay(ctx_); desk_.state.gHistory.CanUndo(); ++steps) desk_.state.gHistory.Undo(replay);
        return steps;
    }
    void RedoAll() {
        for (Replay replay(ctx_); desk_.state.gHistory.CanRedo();) desk_.state.gHistory.Redo(replay);
    }

private:
    [[nodiscard]] std::int32_t LastSeg() const {
        const WaveSegs& items = desk_.state.gWaveTrack[0].items;
        return items.item(items.Count()).segIndex;
    }

    Desk desk_;
    MainForm form_;
    NoPorts ports_;
    EditContext ctx_{.state = desk_.state, .form = form_};
};

void MeasureUndo(const std::string& name, EditedSlide& slide) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [&slide](benchmark::State& run) {
                                     for (auto _ : run) {
                                         if (slide.UndoAll() != EditedSlide::kSteps) run.SkipWithError("failed");
                                         run.PauseTiming();
                                         slide.RedoAll();
                                         run.ResumeTiming();
                                     }
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

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
    EditedSlide slide(disk, argv[1]);
    MeasureUndo("Undo/1000", slide);
    Measure("SetPlayList/untouched", untouched);
    Measure("SetPlayList/edited", edited);
    Measure("SetPlayList/written", written);
    return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}
