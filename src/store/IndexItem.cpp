// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/IndexItem.h"

namespace mirrane {

bool IsOffTimeline(std::string_view pos, std::string_view url) { return !url.empty() || NumberPrefix(pos) < 0; }

}  // namespace mirrane
