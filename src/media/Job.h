// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "media/MediaContext.h"

namespace mirrane {

/// A job of the engine as the user sees it.
struct JobView {
    std::string title;                             ///< of frmProgress
    std::function<std::string(int percent)> text;  ///< of its label
    std::function<int()> progress;                 ///< percent; 100: done, below 0: failed
};

/// Starts a job of the engine and waits for its end behind frmProgress, letting events run while the editor's window is
/// held and the editor is busy. When the program is told to end, or the editor closes without saving, the job is
/// abandoned; so it is when an event throws. Nothing of it runs any more when this is left.
/// @param start begins the job; returns at once
/// @returns false when the job failed or was abandoned, or another one runs, of which the log is told
bool RunJob(MediaContext& media, const JobView& view, const std::function<void()>& start);

/// Nobody waits for the outcome of a job any more, or for a message about it.
[[nodiscard]] bool IsGivenUp(const MediaContext& media);

/// A message on a job that failed, by its key in the form frmMixEditor; none when it was given up.
void TellFailure(MediaContext& media, const char* key, const std::string& defaultText);

/// The pauses between the looks at a job: short at first, so that a short job is not waited for, then of 100 ms.
class PollPauses {
public:
    /// Lets events run for the next pause.
    void Sleep(World& world);

private:
    std::chrono::milliseconds next_{2};
};

/// A text of the form frmMixEditor with its "%s" filled in.
[[nodiscard]] std::string FilledText(World& world, const char* key, const std::string& defaultText,
                                     const std::string& value);

}  // namespace mirrane
