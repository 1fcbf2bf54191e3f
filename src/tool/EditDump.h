// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "EditSession.h"

namespace tool {

/// Adds the editor's state to a result: slides, tracks, history, what is enabled, what stands where. Times are ms.
void Dump(EditSession& session, Json& result);

}  // namespace tool
