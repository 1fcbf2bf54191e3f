// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/Thumbnails.h"

#include <optional>

#include "base/Disk.h"
#include "media/Job.h"

namespace mirrane {

namespace {

std::string CaptionAt(int percent) { return "Creating thumbnails ... " + std::to_string(percent) + "%"; }

/// How far the job is. Nothing when the engine tells a time beyond the project.
std::optional<int> PercentOf(Ms reached, Ms total) {
    if (total == 0) return 0;
    const double percent = static_cast<double>(reached) * 100 / total;
    if (percent < 0 || percent > 100.5) return std::nullopt;
    return RoundHalfEven(percent);
}

/// frmCreateThumb, as long as this lives.
class ThumbWindow {
public:
    explicit ThumbWindow(MediaContext& media) : window_(media.frmCreateThumb), hold_(media.edit.form) {
        window_.Init(CaptionAt(0), CaptionAt(0));
    }
    ~ThumbWindow() { window_.Finish(); }
    ThumbWindow(const ThumbWindow&) = delete;
    ThumbWindow& operator=(const ThumbWindow&) = delete;

    void Set(int percent) { window_.Set(percent, CaptionAt(percent)); }

private:
    IProgressWindow& window_;
    FormHold hold_;
};

}  // namespace

void CreateThumbnails(MediaContext& media) {
    constexpr Ms kFinished = -1;
    const std::filesystem::path& folder = media.state().gProjectFolder;
    ThumbWindow window(media);
    PollPauses pauses;
    pauses.Sleep(media.world());  // the window comes up first
    const Ms mTotal = media.state().gProject.duration();
    media.lib.ThumbCreate(InFolder(folder, "media.qv"), InFolder(folder, "thumblist.txt"));
    while (!media.isLeaving) {
        const Ms reached = media.lib.ThumbTime();
        if (reached == kFinished) {
            window.Set(100);
            return;
        }
        if (const std::optional<int> percent = PercentOf(reached, mTotal)) window.Set(*percent);
        pauses.Sleep(media.world());
    }
}

}  // namespace mirrane
