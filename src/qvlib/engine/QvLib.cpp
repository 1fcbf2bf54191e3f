// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <fstream>

#include "engine/Faces.h"
#include "jobs/Job.h"
#include "mkv/Check.h"
#include "mkv/Reader.h"
#include "picture/Jpeg.h"
#include "picture/Thumbs.h"

namespace qv {

namespace {

using std::filesystem::path;

class QvLib : public IQvLib {
public:
    explicit QvLib(Log log) : log_(std::move(log)), thumbJob_(log_) {}

    [[nodiscard]] Ms GetLength(const path& file) override {
        return Ask(file, Ms{0}, [](const MkvReader& reader) { return reader.Duration(); });
    }

    [[nodiscard]] PictureDim GetFileHeaderDim(const path& file) override {
        return Ask(file, PictureDim{}, [](const MkvReader& reader) {
            const TrackInfo* picture = reader.Picture();
            return picture == nullptr ? PictureDim{} : PictureDim{picture->width, picture->height};
        });
    }

    [[nodiscard]] int GetFileFormatVersion(const path& file) override { return FactOf(file, fact::kFormatVersion); }
    [[nodiscard]] int GetAudioBitrate(const path& file) override { return FactOf(file, fact::kAudioBitrate); }
    [[nodiscard]] int GetFreeTag(const path& file) override { return FactOf(file, fact::kFreeTag) == 1 ? 1 : 0; }

    [[nodiscard]] bool qvVideoExists(const path& file) override {
        return Ask(file, false, [](const MkvReader& reader) { return reader.Camera() != nullptr; });
    }

    void SetFreeTag(const path& file) override {
        Try([&] { SetFreeFact(file); });
    }

    [[nodiscard]] bool verifyQvFile(const path& file) override {
        return Try([&] { CheckQuickly(file); });
    }

    [[nodiscard]] bool verifyWholeQvFile(const path& file) override {
        return Try([&] { CheckWhole(file); });
    }

    void ListIndex(const path& keyFile, const path& media) override {
        const auto keys = Ask(media, std::vector<Ms>{}, [](const MkvReader& reader) {
            return reader.Picture() == nullptr ? std::vector<Ms>{} : reader.KeyTimes(reader.Picture()->number);
        });
        std::ofstream out(keyFile, std::ios::trunc);
        for (const Ms key : keys) out << key << '\n';
        out.close();
        if (!out && log_) log_(keyFile.string() + ": cannot be written");
    }

    void ThumbCreate(const path& media, const path& listFile) override {
        thumbTime_ = 0;
        thumbJob_.Start([this, media, listFile](const JobContext& job) {
            MakeThumbs(media, ReadThumbList(listFile), thumbTime_, job);
        });
    }

    [[nodiscard]] Ms ThumbTime() override {
        const int percent = thumbJob_.Percent();
        return percent < 0 || percent >= 100 ? -1 : thumbTime_.load();
    }

    void BmpResizeImage(const path& bmp, const path& jpg) override {
        Try([&] { qv::BmpResizeImage(bmp, jpg); });
    }

private:
    /// @returns false when the deed threw; the reason is in the log then
    template <typename Deed>
    bool Try(const Deed& deed) {
        try {
            deed();
            return true;
        } catch (const std::exception& error) {
            if (log_) log_(error.what());
            return false;
        }
    }

    template <typename Answer, typename Question>
    Answer Ask(const path& file, Answer failure, const Question& question) {
        Answer answer = failure;
        Try([&] { answer = question(MkvReader(file)); });
        return answer;
    }

    int FactOf(const path& file, const char* name) {
        return Ask(file, 0, [name](const MkvReader& reader) { return reader.Fact(name).value_or(0); });
    }

    Log log_;
    std::atomic<Ms> thumbTime_ = 0;
    Job thumbJob_;
};

}  // namespace

std::unique_ptr<IQvLib> MakeQvLib(const Log& log) { return std::make_unique<QvLib>(log); }

}  // namespace qv
