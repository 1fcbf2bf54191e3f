// SPDX-License-Identifier: GPL-3.0-or-later
#include "Commands.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "Common.h"
#include "JobWatcher.h"
#include "qvlib/PlayList.h"

namespace tool {

namespace {

using std::filesystem::path;

constexpr qv::Ms kSampleMs = 64;

template <typename Numbers>
void PrintNumbers(const Context& context, const path& file, const char* name, const Numbers& numbers) {
    if (context.json) {
        PrintJson({{"file", file.string()}, {name, numbers}});
        return;
    }
    for (const auto number : numbers) std::cout << number << '\n';
}

void PrintMade(const Context& context, const path& target, qv::Ms duration) {
    if (context.json) {
        PrintJson({{"target", target.string()}, {"duration", duration}});
    } else {
        std::cout << target.string() << ": " << duration << " ms\n";
    }
}

std::string ReadText(const path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream || is_directory(file)) throw std::runtime_error(file.string() + ": cannot be read");
    return {std::istreambuf_iterator<char>(stream), {}};
}

qv::PlayList ReadPlayList(const path& file) {
    try {
        qv::PlayList list = qv::ParsePlayList(ReadText(file));
        for (path& source : list.sources)
            if (source.is_relative()) source = absolute(file).parent_path() / source;
        return list;
    } catch (const std::runtime_error& error) {
        const std::string reason = error.what();
        throw std::runtime_error(reason.starts_with("line ") ? file.string() + ": " + reason : reason);
    }
}

}  // namespace

int Keys(const Context& context, const path& media) {
    const qv::Engine engine = OpenEngine(context);
    const path file = MediaOf(media);
    if (engine.lib->GetLength(file) == 0) return kFailed;  // the engine has told why
    const auto keys = ReadKeys(*engine.lib, file);
    if (keys.empty()) throw std::runtime_error(file.string() + ": has no keyframes");
    PrintNumbers(context, file, "keys", keys);
    return kDone;
}

int Peaks(const Context& context, const PeaksArguments& arguments) {
    const qv::Engine engine = OpenEngine(context);
    const path file = MediaOf(arguments.media);
    const qv::Ms length = engine.mixEdit->qvaGetDuration(file);
    if (length == 0) return kFailed;  // the engine has told why
    const qv::Ms end = arguments.end.value_or(length);
    if (end < arguments.start) throw std::runtime_error("the end lies before the start");
    std::vector<std::int16_t> samples(static_cast<std::size_t>((end - arguments.start) / kSampleMs));
    const qv::Ms spanEnd = arguments.start + static_cast<qv::Ms>(samples.size()) * kSampleMs;
    engine.mixEdit->qvWaveSampling(file, {arguments.start, spanEnd, samples}, 0);
    JobWatcher watcher("Sampling");
    if (!watcher.Poll([&] { return engine.mixEdit->qvGetWaveSamplingProgress(); }, [&] { engine.mixEdit->Abandon(); }))
        return kFailed;
    PrintNumbers(context, file, "peaks", samples);
    return kDone;
}

int Import(const Context& context, const path& file, const path& target) {
    const qv::Engine engine = OpenEngine(context);
    engine.mixEdit->qvImportWave(file, target);
    {
        JobWatcher watcher("Importing");
        if (!watcher.Poll([&] { return engine.mixEdit->GetImportProgress(); }, [&] { engine.mixEdit->Abandon(); }))
            return kFailed;
    }
    const qv::Ms duration = engine.mixEdit->qvaGetDuration(target);
    PrintMade(context, target, duration);
    return kDone;
}

int Mix(const Context& context, const path& playList, const path& outFolder) {
    const qv::Engine engine = OpenEngine(context);
    const qv::PlayList list = ReadPlayList(playList);
    const path target = outFolder / "media.qv";
    for (const path& source : list.sources) {
        std::error_code ignored;
        if (equivalent(source, target, ignored))
            throw std::runtime_error(target.string() + ": is a source of the play list");
    }
    engine.mixEdit->qvMixSave(outFolder, qv::JoinFileList(list.sources), static_cast<int>(list.sources.size()),
                              list.audioRows, list.frameRows);
    {
        JobWatcher watcher("Mixing");
        if (!watcher.Poll([&] { return engine.mixEdit->qvGetSavePercent(); }, [&] { engine.mixEdit->Abandon(); }))
            return kFailed;
    }
    const qv::Ms duration = engine.lib->GetLength(target);
    PrintMade(context, target, duration);
    return kDone;
}

int Container(const Context& context, const ContainerArguments& arguments) {
    constexpr qv::Ms kMinSlide = 2000;
    const qv::Engine engine = OpenEngine(context);
    JobWatcher watcher("Working");
    const qv::Watch watch{watcher.StopToken(), [&](double done) { watcher.Show(static_cast<int>(done * 100)); }};
    qv::ContainerRequest request{.recording = arguments.recording,
                                 .camera = arguments.camera,
                                 .target = arguments.target,
                                 .bitrateKbit = arguments.bitrateKbit,
                                 .keys = arguments.keys};
    if (arguments.findSlides) {
        const auto found =
            engine.recordings->FindSlideChanges(arguments.recording, qv::kUsualSensitivity, kMinSlide, watch);
        request.keys.insert(request.keys.end(), found.begin(), found.end());
    }
    const qv::ContainerMade made = engine.recordings->MakeContainer(request, watch);
    PrintMade(context, request.target, made.duration);
    return kDone;
}

}  // namespace tool
