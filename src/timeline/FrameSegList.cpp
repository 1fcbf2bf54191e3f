// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/FrameSegList.h"

namespace mirrane {

bool CFrameSegList::Add(Ms pos, Ms posEnd, Ms srcPos, Ms srcPosEnd, std::int32_t before) {
    const CFrameSeg seg{pos, posEnd, srcPos, srcPosEnd};
    if (before == kAtEnd) {
        items.Append(seg);
    } else {
        items.Insert(seg, before);
    }
    return true;
}

}  // namespace mirrane
