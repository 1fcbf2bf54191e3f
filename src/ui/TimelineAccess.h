// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace mirrane {

/// Lets screen readers find the segments that a TimelineCanvas shows, as its children. Once is enough.
void OfferSegsToReaders();

}  // namespace mirrane
