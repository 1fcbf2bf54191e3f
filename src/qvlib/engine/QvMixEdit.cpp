// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "engine/Faces.h"
#include "foreign/FrameRate.h"
#include "foreign/Import.h"
#include "foreign/Transcode.h"
#include "jobs/Job.h"
#include "mix/Mix.h"
#include "mkv/Reader.h"
#include "sound/Peaks.h"

namespace qv {

namespace {

using std::filesystem::path;

constexpr int kDefaultBitrateKbit = 64;

/// One job at a time stands behind the three progresses; each keeps its own last word.
class QvMixEdit : public IQvMixEdit {
public:
    QvMixEdit(Log log, path cacheFolder)
        : log_(std::move(log)), cacheFolder_(std::move(cacheFolder)), save_(log_), sampling_(log_), import_(log_) {}

    void qvMixSave(const path& tempFolder, const std::string& fileList, int fileCount,
                   std::span<const AudioRow> audioRows, std::span<const FrameRow> frameRows) override {
        MixRequest request{.target = tempFolder / "media.qv",
                           .sources = SplitFileList(fileList),
                           .audioRows = {audioRows.begin(), audioRows.end()},
                           .frameRows = {frameRows.begin(), frameRows.end()},
                           .bitrateKbit = bitrateKbit_,
                           .log = log_};
        Start(save_, [request = std::move(request), fileCount](const JobContext& job) {
            if (static_cast<int>(request.sources.size()) != fileCount)
                throw std::invalid_argument("the list of sources does not hold " + std::to_string(fileCount));
            SaveMix(request, job);
        });
    }

    [[nodiscard]] int qvGetSavePercent() override { return save_.Percent(); }

    void qvWaveSampling(const path& file, WaveSpan span, int /*fileKind*/) override {
        Start(sampling_, [this, file, span](const JobContext& job) {
            const PeakRequest request{.file = file,
                                      .startMs = span.start,
                                      .endMs = span.end,
                                      .count = static_cast<int>(span.samples.size()),
                                      .cacheFolder = cacheFolder_};
            std::ranges::copy(SamplePeaks(request, job), span.samples.begin());
        });
    }

    [[nodiscard]] int qvGetWaveSamplingProgress() override { return sampling_.Percent(); }

    void qvImportWave(const path& source, const path& target) override { Import(source, target); }
    void qvImportWmv(const path& source, const path& target) override { Import(source, target); }
    void qvTranscode(const path& source, const path& targetWave) override {
        Start(import_, [source, targetWave](const JobContext& job) { TranscodeToWave(source, targetWave, job); });
    }
    [[nodiscard]] int GetImportProgress() override { return import_.Percent(); }
    [[nodiscard]] SoundKind qvSoundKind(const path& file) override { return SoundKindOf(file); }

    [[nodiscard]] Ms qvaGetDuration(const path& file) override {
        try {
            return MkvReader(file).Duration();
        } catch (const std::exception& error) {
            if (log_) log_(error.what());
            return 0;
        }
    }

    [[nodiscard]] int IsWmvConstFrmRate(const path& file) override { return qv::IsWmvConstFrmRate(file); }

    void qvSetAudioBitrate(int kbit) override { bitrateKbit_ = std::max(kbit, 0); }

    void Abandon() override {
        save_.Abandon();
        sampling_.Abandon();
        import_.Abandon();
    }

private:
    void Start(Job& job, std::function<void(const JobContext&)> work) {
        Abandon();
        job.Start(std::move(work));
    }

    void Import(const path& source, const path& target) {
        const int bitrate = bitrateKbit_ > 0 ? bitrateKbit_ : kDefaultBitrateKbit;
        Start(import_, [source, target, bitrate](const JobContext& job) { ImportSound(source, target, bitrate, job); });
    }

    Log log_;
    path cacheFolder_;
    int bitrateKbit_ = 0;
    Job save_;
    Job sampling_;
    Job import_;
};

}  // namespace

std::unique_ptr<IQvMixEdit> MakeQvMixEdit(const Log& log, const path& cacheFolder) {
    return std::make_unique<QvMixEdit>(log, cacheFolder);
}

}  // namespace qv
