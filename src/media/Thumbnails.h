// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media/MediaContext.h"

namespace mirrane {

/// frmCreateThumb: has the engine make the small pictures that thumblist.txt names, and returns when that is over. Modal.
void CreateThumbnails(MediaContext& media);

}  // namespace mirrane
