// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "base/Clock.h"
#include "base/Disk.h"
#include "base/Host.h"
#include "base/Settings.h"
#include "base/Texts.h"
#include "base/User.h"

namespace mirrane {

/// What the editor's logic knows of the world around it. One in a run; whoever made it outlives all who use it.
struct World {
    IUser& user;
    IDisk& disk;
    IClock& clock;
    ISettings& settings;
    IHost& host;
    Texts& texts;
    std::string gStepLabel = {};  ///< the step that a long procedure is at, for error reports
};

/// Shows what went wrong. Without a procedure's name the description alone; otherwise the description, ": " and
/// gStepLabel under the name as title.
void ReportStepError(World& world, const std::string& description, const std::string& procedureName);

/// World::texts, shorter.
[[nodiscard]] std::string GetResString(World& world, const std::string& formName, const std::string& key,
                                       const std::string& defaultText = {});

/// Shows a text in a plain message box.
void ShowMessage(World& world, const std::string& text, const std::string& title = {});

/// The same for what has gone wrong.
void ShowFailure(World& world, const std::string& text, const std::string& title = {});

/// Shows the waiting pointer as long as this lives.
class BusyCursor {
public:
    explicit BusyCursor(World& world) : user_(world.user) { user_.SetBusyCursor(true); }
    ~BusyCursor() { user_.SetBusyCursor(false); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;

private:
    IUser& user_;
};

}  // namespace mirrane
