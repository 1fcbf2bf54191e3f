// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "qvlib/IQvLib.h"
#include "qvlib/IQvMixEdit.h"
#include "qvlib/IQvRecordings.h"

/// What the factory puts together.
namespace qv {

using Log = std::function<void(const std::string&)>;

[[nodiscard]] std::unique_ptr<IQvLib> MakeQvLib(const Log& log);
[[nodiscard]] std::unique_ptr<IQvMixEdit> MakeQvMixEdit(const Log& log, const std::filesystem::path& cacheFolder);
[[nodiscard]] std::unique_ptr<IQvRecordings> MakeQvRecordings();

}  // namespace qv
