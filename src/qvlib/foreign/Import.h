// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "jobs/JobContext.h"
#include "qvlib/IQvRecordings.h"
#include "qvlib/Rows.h"

namespace qv {

/// Converts the first sound track of any file that the codecs decode to a .qva: 48 kHz, as many channels as it has, at
/// most two. Complete and on disk when this returns; on failure there is no target.
/// @throws MediaError when the source cannot be read or the target not be written, Abandoned when told to stop
void ImportSound(const std::filesystem::path& source, const std::filesystem::path& target, int bitrateKbit,
                 const JobContext& job);

/// Makes a media.qv of a recording. Complete and on disk when this returns; on failure there is no target.
/// @throws MediaError, std::invalid_argument for a key behind the end, Abandoned when told to stop
ContainerMade MakeContainer(const ContainerRequest& request, const JobContext& job);

}  // namespace qv
