// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <list>
#include <memory>

#include "sound/OpusPackets.h"

namespace qv {

/// Sound files that stay open, with what was learned of them, while play lists come and go. A file that was replaced or
/// has grown is opened anew. Used by one thread.
class SoundPool {
public:
    /// What is lent comes back when it is destroyed; it may outlive the pool.
    /// @throws MediaError when it cannot be opened
    [[nodiscard]] std::unique_ptr<OpusPackets> Open(const std::filesystem::path& file);
    /// Closes what is not lent.
    void Clear() { kept_.clear(); }

private:
    static constexpr std::size_t kMostKept = 16;

    struct Kept {
        std::filesystem::path file;
        struct stat facts = {};
        std::shared_ptr<OpusPackets> packets;
    };

    std::list<Kept> kept_;  ///< the last used first
};

}  // namespace qv
