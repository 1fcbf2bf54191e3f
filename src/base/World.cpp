// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/World.h"

namespace mirrane {

void ReportStepError(World& world, const std::string& description, const std::string& procedureName) {
    if (procedureName.empty())
        ShowFailure(world, description);
    else
        ShowFailure(world, description + ": " + world.gStepLabel, procedureName);
}

std::string GetResString(World& world, const std::string& formName, const std::string& key,
                         const std::string& defaultText) {
    return world.texts.GetResString(formName, key, defaultText);
}

void ShowMessage(World& world, const std::string& text, const std::string& title) {
    (void)world.user.Ask({.text = text, .title = title});
}

void ShowFailure(World& world, const std::string& text, const std::string& title) {
    (void)world.user.Ask({.text = text, .title = title, .isFailure = true});
}

}  // namespace mirrane
