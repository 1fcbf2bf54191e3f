// SPDX-License-Identifier: GPL-3.0-or-later
//
// What an editor asks of the media engine while somebody waits, measured in its own process.
//
//     engine_benchmark MEDIA.qv WORKFOLDER [--benchmark_...]
//
// Thumbnails and kept peaks go to the work folder; the media file is only read.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <thread>
#include <vector>

#include "qvlib/Engine.h"

namespace {

using std::filesystem::path;

constexpr qv::Ms kPartMs = 64;  // what one value of the waveform stands for
constexpr qv::Ms kScreenMs = 60000;
constexpr std::size_t kThumbs = 30;

void WaitWhile(const auto& isRunning) {
    while (isRunning()) std::this_thread::sleep_for(std::chrono::microseconds(50));
}

/// The lecture under measurement, and the engine that reads it.
class Desk {
public:
    Desk(const path& media, path work)
        : work_(std::move(work)), media_(work_ / "media.qv"), engine_(qv::MakeEngine({work_ / "cache", PrintLine})) {
        // Thumbnails are made beside the media file, so it gets a place in the work folder.
        create_directories(work_);
        std::filesystem::remove(media_);
        create_symlink(absolute(media), media_);
        length_ = engine_.lib->GetLength(media_);
        if (length_ == 0) throw std::runtime_error(media.string() + ": is no media file");
    }

    [[nodiscard]] qv::IQvLib& Lib() const { return *engine_.lib; }
    [[nodiscard]] const path& Media() const { return media_; }
    [[nodiscard]] path KeyFile() const { return work_ / "keys.txt"; }
    [[nodiscard]] qv::Ms Length() const { return length_; }

    /// @returns whether the waveform of [0, end) came
    [[nodiscard]] bool Sample(qv::Ms end, std::vector<std::int16_t>& samples) const {
        samples.resize(static_cast<std::size_t>(end / kPartMs));
        engine_.mixEdit->qvWaveSampling(media_, {0, end / kPartMs * kPartMs, samples}, 1);
        WaitWhile([this] {
            const int percent = engine_.mixEdit->qvGetWaveSamplingProgress();
            return percent >= 0 && percent < 100;
        });
        return engine_.mixEdit->qvGetWaveSamplingProgress() == 100 && std::ranges::max(samples) > 0;
    }

    [[nodiscard]] std::vector<qv::Ms> Keys() const {
        engine_.lib->ListIndex(KeyFile(), media_);
        std::ifstream list(KeyFile());
        return {std::istream_iterator<qv::Ms>(list), {}};
    }

    /// @returns how many thumbnails are there
    [[nodiscard]] std::size_t MakeThumbs(const std::vector<qv::Ms>& positions) const {
        const path list = work_ / "thumbs.txt";
        std::ofstream out(list);
        for (const qv::Ms position : positions) out << position << '\n';
        out.close();
        std::filesystem::remove_all(work_ / "thumbnails");
        engine_.lib->ThumbCreate(media_, list);
        WaitWhile([this] { return engine_.lib->ThumbTime() >= 0; });
        const std::filesystem::directory_iterator made(work_ / "thumbnails");
        return static_cast<std::size_t>(std::distance(begin(made), end(made)));
    }

private:
    static void PrintLine(const std::string& line) { std::cerr << line << '\n'; }

    path work_;
    path media_;
    qv::Engine engine_;
    qv::Ms length_ = 0;
};

/// Measures something that says whether it worked.
void Measure(const char* name, auto deed) {
    const auto loop = [deed](benchmark::State& state) mutable {
        for (auto _ : state)
            if (!deed()) {
                state.SkipWithError("failed");
                break;
            }
    };
    benchmark::RegisterBenchmark(name, loop)->Unit(benchmark::kMillisecond)->UseRealTime();
}

void MeasurePeaks(const Desk& desk, const char* name, qv::Ms end) {
    Measure(name, [&desk, end, samples = std::vector<std::int16_t>()]() mutable { return desk.Sample(end, samples); });
}

/// One in so many keys, kThumbs of them.
std::vector<qv::Ms> SomeOf(const std::vector<qv::Ms>& keys) {
    std::vector<qv::Ms> some;
    for (std::size_t i = 0; i < kThumbs && !keys.empty(); ++i) some.push_back(keys[i * keys.size() / kThumbs]);
    return some;
}

void MeasureAll(const Desk& desk) {
    std::vector<std::int16_t> all;
    if (!desk.Sample(desk.Length(), all)) throw std::runtime_error("no peaks");  // from here on they are kept
    MeasurePeaks(desk, "KeptPeaks/whole", desk.Length());
    MeasurePeaks(desk, "KeptPeaks/screen", std::min(desk.Length(), kScreenMs));
    Measure("QuickVerify", [&desk] { return desk.Lib().verifyQvFile(desk.Media()); });
    Measure("WholeVerify", [&desk] { return desk.Lib().verifyWholeQvFile(desk.Media()); });
    Measure("GetLength", [&desk] { return desk.Lib().GetLength(desk.Media()) == desk.Length(); });
    Measure("ListIndex", [&desk] { return !desk.Keys().empty(); });
    Measure("Thumbs/30", [&desk, some = SomeOf(desk.Keys())] { return desk.MakeThumbs(some) == kThumbs; });
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 3) {
        std::cerr << "usage: engine_benchmark MEDIA.qv WORKFOLDER [--benchmark_...]\n";
        return 2;
    }
    try {
        const Desk desk(argv[1], argv[2]);
        MeasureAll(desk);
        return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "engine_benchmark: " << error.what() << '\n';
        return 1;
    }
}
