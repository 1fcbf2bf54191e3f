// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUrl>

#include "shell/Manual.h"

namespace mirrane {

/// Where the desktop finds a part of the manual; empty when it is not there.
[[nodiscard]] QUrl ManualAddress(IHost& host, ManualPart part);
/// Has the desktop open a part of the manual, if it is there.
void OpenManual(IHost& host, ManualPart part);

}  // namespace mirrane
