// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/Engine.h"

#include <cstdlib>

#include "engine/Faces.h"

namespace qv {

Engine MakeEngine(const EngineOptions& options) {
    return {MakeQvLib(options.log), MakeQvMixEdit(options.log, options.cacheFolder), MakeQvRecordings()};
}

std::filesystem::path DefaultCacheFolder() {
    const auto told = [](const char* name) {
        return std::filesystem::path(std::getenv(name) ? std::getenv(name) : "");
    };
    const auto cache = told("XDG_CACHE_HOME");
    if (cache.is_absolute()) return cache / "mirrane";
    const auto home = told("HOME");
    return home.empty() ? home : home / ".cache" / "mirrane";
}

}  // namespace qv
