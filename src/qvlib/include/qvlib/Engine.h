// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "qvlib/FileList.h"
#include "qvlib/IQvLib.h"
#include "qvlib/IQvMixEdit.h"
#include "qvlib/IQvRecordings.h"

namespace qv {

struct EngineOptions {
    /// Where peaks are kept between runs; empty: nowhere.
    std::filesystem::path cacheFolder;
    /// Told each reason of a failure, one line without an end; may be called on any thread. May be empty.
    std::function<void(const std::string&)> log;
};

/// The engine's faces. Each is on its own; they may be used on different threads.
struct Engine {
    std::unique_ptr<IQvLib> lib;
    std::unique_ptr<IQvMixEdit> mixEdit;
    std::unique_ptr<IQvRecordings> recordings;
};

[[nodiscard]] Engine MakeEngine(const EngineOptions& options);

/// The folder for kept peaks that users expect: below $XDG_CACHE_HOME, or ~/.cache; empty when neither is told.
[[nodiscard]] std::filesystem::path DefaultCacheFolder();

}  // namespace qv
