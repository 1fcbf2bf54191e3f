// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "jobs/JobContext.h"
#include "qvlib/IQvMixEdit.h"

namespace qv {

/// Decodes the first sound track of any file that the codecs decode to a WAV of 16 bits at 48 kHz, as many channels as it
/// has, at most two. Importing it gives what importing the source gives, sample for sample. Complete and on disk when
/// this returns; on failure there is no target.
/// @throws MediaError when the source cannot be read, the target not be written, or it would pass what a WAV can hold
///         (4 GB); Abandoned when told to stop
void TranscodeToWave(const std::filesystem::path& source, const std::filesystem::path& target, const JobContext& job);

/// Whether there is sound in a file that can be decoded. Quick.
[[nodiscard]] SoundKind SoundKindOf(const std::filesystem::path& path) noexcept;

}  // namespace qv
