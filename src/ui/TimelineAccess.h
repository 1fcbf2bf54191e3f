// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessible>
#include <cstdint>
#include <set>

namespace mirrane {

class TimelineCanvas;

/// Lets screen readers find the segments that a TimelineCanvas shows, as its children. Once is enough.
void OfferSegsToReaders();

/// Tells screen readers what has become of the selection and the cursor of a canvas.
class TimelineNews {
public:
    /// @param canvas outlives this
    explicit TimelineNews(TimelineCanvas& canvas) : canvas_(canvas) {}
    /// Tells what is new since the last call.
    void Tell();

private:
    void TellSelection();
    void Send(QAccessible::Event what, int child) const;

    TimelineCanvas& canvas_;
    std::set<std::int32_t> selected_;
};

}  // namespace mirrane
