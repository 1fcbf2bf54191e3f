// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <optional>
#include <vector>

#include "qvlib/Rows.h"

namespace qv {

inline constexpr int kSmallWidth = 160;
inline constexpr int kSmallHeight = 90;
inline constexpr int kSmallPoints = kSmallWidth * kSmallHeight;

/// A picture's brightness in 160 x 90, line by line: a pointer is a handful of its points, a line of text some hundred.
using SmallPicture = std::array<std::uint8_t, kSmallPoints>;

/// Which parts of the picture are in steady motion. They say nothing about slides.
///
/// Kept for squares of 5 x 5 points: how often, lately, a square had changed since the look before. Squares become
/// restless quickly and calm slowly, and take their neighbours with them. A change of the slide does not count.
class Restless {
public:
    /// Called with pictures that follow one another; looks at them every 200 ms.
    void Look(Ms time, const SmallPicture& picture);

    /// A point differs in the two pictures, and it is no restless one.
    [[nodiscard]] bool Differs(const SmallPicture& a, const SmallPicture& b, std::size_t point) const;
    /// The share of points that differ so.
    [[nodiscard]] double Changed(const SmallPicture& a, const SmallPicture& b) const;
    /// `after` is `before` with something added on empty ground: the next point of a list, a figure. At most `lost` of the
    /// picture may be gone that was drawn before.
    [[nodiscard]] bool Grows(const SmallPicture& before, const SmallPicture& after, double lost) const;

private:
    static constexpr int kSide = 5;
    static constexpr int kColumns = kSmallWidth / kSide;
    static constexpr int kRows = kSmallHeight / kSide;
    static constexpr std::size_t kSquares = static_cast<std::size_t>(kColumns) * kRows;

    [[nodiscard]] static std::size_t Square(std::size_t point) {
        return point / kSmallWidth / kSide * kColumns + point % kSmallWidth / kSide;
    }
    void Compare(const SmallPicture& picture);
    void MaskNeighbours();

    std::array<double, kSquares> activity_{};
    std::array<bool, kSquares> restless_{};
    std::array<bool, kSquares> masked_{};
    int muchInARow_ = 0;  ///< looks at which much of the picture stirred
    SmallPicture last_{};
    std::optional<Ms> lastTime_;
};

/// One slide becoming another.
struct SlideChange {
    Ms time = 0;          ///< when half of it was done
    SmallPicture before;  ///< the slide that ends
    SmallPicture after;   ///< the slide that begins
};

/// Sees the pictures of a recording go by and tells when one slide has become another.
///
///     share that differs from the slide seen last
///                    ,-------------   settled: a change, at the time when half of it was done
///                   /
///     ____/\_______/                  the first bump went away: none
class SlideWatcher {
public:
    /// @param share of the picture, 0 to 1, that has to become another
    explicit SlideWatcher(double share) : share_(share) {}

    /// The next picture; times rise.
    void See(Ms time, const SmallPicture& picture);
    /// Nothing happens between two pictures that look alike; what lies between need not be seen.
    void Skip(Ms from, const SmallPicture& first, Ms to, const SmallPicture& last);
    /// The last picture has been seen; a change under way counts.
    void End();
    /// Forgets what was seen, but not where the picture is restless.
    void StartOver();

    /// A change may be under way.
    [[nodiscard]] bool Moving() const { return movingSince_.has_value(); }
    [[nodiscard]] double Changed(const SmallPicture& a, const SmallPicture& b) const { return restless_.Changed(a, b); }
    /// The slide changes so far, in the order of their times.
    [[nodiscard]] const std::vector<SlideChange>& Changes() const { return changes_; }

private:
    struct Seen {
        Ms time = 0;
        SmallPicture picture{};
    };

    void Renew(Ms time, const SmallPicture& picture);
    void Forget(Ms time);
    [[nodiscard]] bool Settled(Ms time, const SmallPicture& picture) const;
    void TellIfChanged(const SmallPicture& after);
    [[nodiscard]] bool IsSamePage(const SmallPicture& after) const;

    double share_;
    Restless restless_;
    std::deque<Seen> recent_;
    SmallPicture slide_{};              ///< the slide as it was a few seconds ago
    SmallPicture next_{};               ///< what will be compared with next
    std::optional<SmallPicture> page_;  ///< the slide as it came up
    Ms renewed_ = 0;
    std::optional<Ms> movingSince_;
    std::vector<SlideChange> changes_;
};

}  // namespace qv
