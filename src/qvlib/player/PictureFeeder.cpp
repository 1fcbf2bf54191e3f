// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/PictureFeeder.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "picture/PicturePlan.h"
#include "player/Shown.h"

namespace qv {

namespace {

/// Decoded ahead of the picture that is shown.
constexpr std::size_t kAhead = 4;
/// How often the time is looked at while playing: nobody tells that it has come.
constexpr Ms kLookEveryMs = 5;

}  // namespace

PictureFeeder::PictureFeeder(Events events)
    : events_(std::move(events)),
      thread_([this](std::optional<Task> task, bool isPlaying) { return Turn(std::move(task), isPlaying); }) {}

std::chrono::milliseconds PictureFeeder::Turn(std::optional<Task> task, bool isPlaying) {
    if (task || HasToDecode()) {
        Step(std::move(task), isPlaying);
        return {};
    }
    if (!isPlaying || queue_.empty()) return FeederThread<Task>::kRest;
    return std::chrono::milliseconds(ShowDue());
}

bool PictureFeeder::HasToDecode() const { return !isOver_ && queue_.size() < kAhead; }

/// One piece of work. What cannot be decoded is not shown, and told.
void PictureFeeder::Step(std::optional<Task> task, bool isPlaying) {
    try {
        if (task) {
            Begin(std::move(*task));
        } else {
            if (isPlaying) ShowDue();
            Decode(isPlaying ? std::max(nextAt_, events_.now()) : nextAt_);
        }
    } catch (const std::exception& error) {
        if (events_.log) events_.log(error.what());
        isOver_ = true;
        TellReady();
    }
}

void PictureFeeder::Begin(Task task) {
    task_ = std::move(task);
    queue_.clear();
    last_ = {};
    isReady_ = false;
    isOver_ = !task_.track || !task_.program || task_.program->frameRows.empty();
    nextAt_ = isOver_ ? 0 : std::clamp(task_.from, 0, task_.program->Length() - 1);
    if (isOver_) return TellReady();
    Decode(nextAt_);
}

/// Queues the picture that stands at that time on the timeline, unless it stands there already.
void PictureFeeder::Decode(Ms time) {
    const auto& rows = task_.program->frameRows;
    const auto row = std::ranges::upper_bound(rows, time, {}, &FrameRow::posEnd);
    if (row == rows.end()) {
        isOver_ = true;
        return;
    }
    const PicturePiece piece = ToPicturePiece(*row);
    const Ms src = piece.isHold ? piece.src : std::max(0, piece.src + (time - piece.dst));
    const auto standing = task_.track->At(src, [this] { return thread_.IsCancelled(); });
    if (!standing) return;
    const std::int64_t next = std::int64_t{time} + standing->until - src;
    nextAt_ = piece.isHold ? row->posEnd : static_cast<Ms>(std::min<std::int64_t>(next, row->posEnd));
    // In a recorded screen a picture is often the same as the one before.
    const bool isNew = standing->picture.frame && !LooksLike(standing->picture, last_);
    if (isNew) {
        last_ = standing->picture;
        queue_.push_back({time, ToShown(standing->picture, time)});
    }
    if (isReady_) return;
    if (isNew) {
        events_.show(task_.ticket, std::move(queue_.front().picture));
        queue_.pop_front();
    }
    TellReady();
}

Ms PictureFeeder::ShowDue() {
    const Ms now = events_.now();
    std::optional<Due> due;
    while (!queue_.empty() && queue_.front().at <= now) {
        due = std::move(queue_.front());
        queue_.pop_front();
    }
    if (due) events_.show(task_.ticket, std::move(due->picture));
    if (HasToDecode() || queue_.empty()) return 0;
    return std::clamp(queue_.front().at - now, 1, kLookEveryMs);
}

void PictureFeeder::TellReady() {
    if (std::exchange(isReady_, true)) return;
    events_.ready(task_.ticket);
}

}  // namespace qv
