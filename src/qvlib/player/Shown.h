// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "picture/PictureCodec.h"
#include "qvlib/ShownPicture.h"

namespace qv {

/// A decoded picture, which must not be empty, as it goes out; nothing is copied.
[[nodiscard]] ShownPicture ToShown(const Picture& picture, Ms pos);

/// Whether two pictures have the same samples in the same format; an empty one is like none.
[[nodiscard]] bool LooksLike(const Picture& picture, const Picture& other);

}  // namespace qv
