// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/Job.h"

#include <algorithm>
#include <iostream>

#include "base/Text.h"

namespace mirrane {

namespace {

constexpr int kDone = 100;
constexpr char kForm[] = "frmMixEditor";

/// The loop that waits for a job, with its window, as long as this lives.
class JobWindow {
public:
    JobWindow(MediaContext& media, const JobView& view)
        : media_(media), formHold_(media.edit.form), busyHold_(media.state()) {
        media_.frmProgress.Init(view.title, view.text(0));
        media_.isJobRunning = true;
    }
    ~JobWindow() {
        media_.frmProgress.Finish();
        media_.isJobRunning = false;
    }
    JobWindow(const JobWindow&) = delete;
    JobWindow& operator=(const JobWindow&) = delete;

private:
    MediaContext& media_;
    FormHold formHold_;
    BusyHold busyHold_;
};

/// @returns whether the job came to its end
bool Await(MediaContext& media, const JobView& view) {
    PollPauses pauses;
    for (;;) {
        const int percent = view.progress();
        if (percent < 0) return false;
        media.frmProgress.Set(std::min(percent, kDone), view.text(percent));
        media.world().user.RunEvents();
        if (percent >= kDone) return true;
        if (IsGivenUp(media)) {
            media.mixEdit.Abandon();
            return false;
        }
        pauses.Sleep(media.world());
    }
}

}  // namespace

bool RunJob(MediaContext& media, const JobView& view, const std::function<void()>& start) {
    if (media.isJobRunning) {
        std::clog << "\"" << view.title << "\" is refused: another job runs\n";
        return false;
    }
    const JobWindow window(media, view);
    try {
        start();
        return Await(media, view);
    } catch (...) {
        media.mixEdit.Abandon();  // it writes into what the caller owns
        throw;
    }
}

bool IsGivenUp(const MediaContext& media) {
    // The editor asks whether to save when it is closing already.
    return media.isLeaving || (media.state().isClosing && !media.isSaving);
}

void TellFailure(MediaContext& media, const char* key, const std::string& defaultText) {
    if (!IsGivenUp(media)) ShowFailure(media.world(), GetResString(media.world(), kForm, key, defaultText));
}

void PollPauses::Sleep(World& world) {
    constexpr std::chrono::milliseconds kLongest{100};
    world.user.Sleep(next_);
    next_ = std::min(2 * next_, kLongest);
}

std::string FilledText(World& world, const char* key, const std::string& defaultText, const std::string& value) {
    return ReplaceAll(GetResString(world, kForm, key, defaultText), "%s", value);
}

}  // namespace mirrane
