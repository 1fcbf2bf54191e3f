// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <fstream>
#include <string>

#include "qvlib/IQvMixEdit.h"

namespace doubles {

/// Long jobs whose progress is the test's. A job that comes to 100 writes its target, "made by the engine".
class QvMixEdit final : public qv::IQvMixEdit {
    using path = std::filesystem::path;

public:
    std::deque<int> looks;  ///< what the next looks at a job answer; none left: 100
    std::string told;       ///< "Wave talk.wav>talk.wav.qva ", files without folders

    void qvMixSave(const path& tempFolder, const std::string& fileList, int /*fileCount*/,
                   std::span<const qv::AudioRow> /*audioRows*/, std::span<const qv::FrameRow> /*frameRows*/) override {
        Start("Save ", fileList, tempFolder / "media.qv");
    }
    [[nodiscard]] int qvGetSavePercent() override { return Look(); }
    void qvWaveSampling(const path& file, qv::WaveSpan /*span*/, int /*fileKind*/) override {
        Start("Sample ", file, {});
    }
    [[nodiscard]] int qvGetWaveSamplingProgress() override { return Look(); }
    void qvImportWave(const path& source, const path& target) override { Start("Wave ", source, target); }
    void qvImportWmv(const path& source, const path& target) override { Start("Wmv ", source, target); }
    void qvTranscode(const path& source, const path& target) override { Start("Transcode ", source, target); }
    [[nodiscard]] int GetImportProgress() override { return Look(); }
    /// What is in a file its name tells: "mute", "alien", "rare", else sound.
    [[nodiscard]] qv::SoundKind qvSoundKind(const path& file) override {
        using enum qv::SoundKind;
        if (file.stem() == "rare") return NoDecoder;
        return file.stem() == "mute" ? NoSound : file.stem() == "alien" ? Unreadable : Sound;
    }
    [[nodiscard]] qv::Ms qvaGetDuration(const path& file) override { return exists(file) ? 5030 : 0; }
    /// Its name is the answer: "-3.wmv".
    [[nodiscard]] int IsWmvConstFrmRate(const path& file) override { return std::stoi(file.stem()); }
    void qvSetAudioBitrate(int /*kbit*/) override {}
    void Abandon() override { told += "Abandon "; }

private:
    void Start(const char* call, const path& source, const path& target) {
        told += call + source.filename().string() + ">" + target.filename().string() + " ";
        target_ = target;
    }
    int Look() {
        const int percent = looks.empty() ? 100 : looks.front();
        if (!looks.empty()) looks.pop_front();
        if (percent == 100 && !target_.empty()) std::ofstream(target_) << "made by the engine";
        return percent;
    }

    path target_;
};

}  // namespace doubles
