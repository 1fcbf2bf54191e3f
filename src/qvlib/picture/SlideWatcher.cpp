// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/SlideWatcher.h"

#include <algorithm>
#include <iterator>

namespace qv {

namespace {

/// A difference in brightness that compression does not make.
constexpr int kDiffers = 16;
/// What a speaker's picture makes at every look, softly as it moves.
constexpr int kStirs = 6;
/// From here on neighbouring points show that something is drawn there.
constexpr int kDrawn = 24;

constexpr Ms kLookEvery = 200;
constexpr double kForget = 1.0 / 20;  ///< looks back about 20 looks, four seconds
constexpr double kBecomes = 0.35;
constexpr double kRemains = 0.05;
/// Where so much of the picture stirs at once, a slide changes. It may do so for so many looks; what lasts longer is a
/// film after all.
constexpr double kMuch = 0.12;
constexpr int kLongestFade = 8;

constexpr Ms kSettledFor = 400;
constexpr Ms kLongestMove = 4000;
constexpr Ms kRemembered = 1500;
constexpr Ms kRenewEvery = 3000;  ///< what changes slower than this, ink for instance, is no new slide

[[nodiscard]] int Distance(std::uint8_t a, std::uint8_t b) { return std::abs(a - b); }

/// The point differs from one beside it, above or below: a stroke or an edge, not empty ground.
bool IsDrawn(const SmallPicture& picture, std::size_t point) {
    const std::size_t x = point % kSmallWidth;
    const std::size_t y = point / kSmallWidth;
    const auto differs = [&](std::size_t other) { return Distance(picture[point], picture[other]) > kDrawn; };
    return (x > 0 && differs(point - 1)) || (x + 1 < kSmallWidth && differs(point + 1)) ||
           (y > 0 && differs(point - kSmallWidth)) || (y + 1 < kSmallHeight && differs(point + kSmallWidth));
}

}  // namespace

// ---- Restless --------------------------------------------------------------------------------------------------

void Restless::Look(Ms time, const SmallPicture& picture) {
    if (lastTime_ && time >= *lastTime_ && time - *lastTime_ < kLookEvery) return;
    const bool follows = lastTime_ && time >= *lastTime_ && time - *lastTime_ < 3 * kLookEvery;
    if (follows) Compare(picture);
    last_ = picture;
    lastTime_ = time;
}

bool Restless::Differs(const SmallPicture& a, const SmallPicture& b, std::size_t point) const {
    return Distance(a[point], b[point]) > kDiffers && !masked_[Square(point)];
}

double Restless::Changed(const SmallPicture& a, const SmallPicture& b) const {
    int changed = 0;
    for (std::size_t i = 0; i < kSmallPoints; ++i) {
        if (Differs(a, b, i)) ++changed;
    }
    return static_cast<double>(changed) / kSmallPoints;
}

bool Restless::Grows(const SmallPicture& before, const SmallPicture& after, double lost) const {
    int drawn = 0;
    int gone = 0;
    int changed = 0;
    for (std::size_t i = 0; i < kSmallPoints; ++i) {
        const bool isDrawn = !masked_[Square(i)] && IsDrawn(before, i);
        const bool isChanged = Differs(before, after, i);
        drawn += isDrawn ? 1 : 0;
        changed += isChanged ? 1 : 0;
        gone += isDrawn && isChanged ? 1 : 0;
    }
    const double most = lost * kSmallPoints;
    return drawn > most && gone <= most && changed <= kSmallPoints / 2;
}

void Restless::Compare(const SmallPicture& picture) {
    std::array<bool, kSquares> stirred{};
    for (std::size_t i = 0; i < kSmallPoints; ++i) {
        if (Distance(picture[i], last_[i]) > kStirs) stirred[Square(i)] = true;
    }
    std::size_t fresh = 0;
    for (std::size_t i = 0; i < kSquares; ++i) fresh += stirred[i] && !masked_[i] ? 1 : 0;
    const bool much = static_cast<double>(fresh) > kMuch * kSquares;
    muchInARow_ = much && muchInARow_ < kLongestFade ? muchInARow_ + 1 : 0;
    if (muchInARow_ > 0) return;
    for (std::size_t i = 0; i < kSquares; ++i) {
        activity_[i] += ((stirred[i] ? 1.0 : 0.0) - activity_[i]) * kForget;
        restless_[i] = activity_[i] > (restless_[i] ? kRemains : kBecomes);
    }
    MaskNeighbours();
}

void Restless::MaskNeighbours() {
    masked_.fill(false);
    for (int i = 0; i < static_cast<int>(kSquares); ++i) {
        if (!restless_[static_cast<std::size_t>(i)]) continue;
        const int column = i % kColumns;
        const int row = i / kColumns;
        for (int y = std::max(0, row - 1); y <= std::min(kRows - 1, row + 1); ++y) {
            for (int x = std::max(0, column - 1); x <= std::min(kColumns - 1, column + 1); ++x) {
                masked_[static_cast<std::size_t>(y) * kColumns + static_cast<std::size_t>(x)] = true;
            }
        }
    }
}

// ---- SlideWatcher ----------------------------------------------------------------------------------------------

void SlideWatcher::See(Ms time, const SmallPicture& picture) {
    restless_.Look(time, picture);
    if (recent_.empty()) Renew(time, picture);
    recent_.push_back({time, picture});
    Forget(time);
    const double differs = restless_.Changed(slide_, picture);
    if (!Moving() && differs > share_) movingSince_ = time;
    if (Moving()) {
        const bool waitedEnough = time - *movingSince_ > kLongestMove;
        if (!waitedEnough && !Settled(time, picture)) return;
        TellIfChanged(picture);
        movingSince_.reset();
        Renew(time, picture);
    } else if (time - renewed_ > kRenewEvery) {
        slide_ = next_;
        next_ = picture;
        renewed_ = time;
    }
}

void SlideWatcher::Skip(Ms from, const SmallPicture& first, Ms to, const SmallPicture& last) {
    if (!recent_.empty() && recent_.back().time < from) {
        recent_.push_back({from, first});
        TellIfChanged(first);
    }
    recent_.clear();
    movingSince_.reset();
    Renew(to, last);
    recent_.push_back({to, last});
}

void SlideWatcher::End() {
    if (Moving()) TellIfChanged(recent_.back().picture);
}

void SlideWatcher::StartOver() {
    recent_.clear();
    movingSince_.reset();
    changes_.clear();
    page_.reset();
}

void SlideWatcher::Renew(Ms time, const SmallPicture& picture) {
    slide_ = next_ = picture;
    renewed_ = time;
    if (!page_) page_ = picture;
}

void SlideWatcher::Forget(Ms time) {
    const Ms needed = std::min(time, movingSince_.value_or(time)) - kRemembered;
    while (recent_.front().time < needed) recent_.pop_front();
}

bool SlideWatcher::Settled(Ms time, const SmallPicture& picture) const {
    const auto since = std::find_if(recent_.rbegin(), recent_.rend(),
                                    [&](const Seen& seen) { return seen.time <= time - kSettledFor; });
    return since != recent_.rend() && since->time >= *movingSince_ &&
           restless_.Changed(since->picture, picture) < share_ / 4;
}

void SlideWatcher::TellIfChanged(const SmallPicture& after) {
    if (restless_.Changed(slide_, after) <= share_ || IsSamePage(after)) return;
    std::vector<std::size_t> points;
    for (std::size_t i = 0; i < kSmallPoints; ++i) {
        if (restless_.Differs(slide_, after, i)) points.push_back(i);
    }
    const auto gone = [&](const SmallPicture& picture) {
        std::int64_t sum = 0;
        for (const std::size_t i : points) sum += Distance(picture[i], slide_[i]);
        return sum;
    };
    const std::int64_t whole = gone(after);
    const auto lastBefore = std::find_if(recent_.rbegin(), recent_.rend(),
                                         [&](const Seen& seen) { return 2 * gone(seen.picture) < whole; });
    const auto half = lastBefore.base() != recent_.end() ? lastBefore.base() : std::prev(recent_.end());
    changes_.push_back({half->time, slide_, after});
    page_ = after;
}

/// Something was added to the slide, or what had been laid over it went away again.
bool SlideWatcher::IsSamePage(const SmallPicture& after) const {
    const double lost = share_ / 4;
    return restless_.Grows(slide_, after, lost) || restless_.Grows(*page_, after, lost);
}

}  // namespace qv
