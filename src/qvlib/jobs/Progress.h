// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <stop_token>

#include "MediaError.h"

namespace qv {

/// What a long piece of work is given: a way to be told to stop, and a way to tell how far it is.
struct JobContext {
    std::stop_token stop;
    std::function<void(double)> progress;  ///< 0 to 1, never falling; may be empty; called on any of the job's threads

    /// @throws Abandoned when the job was told to stop
    void Check() const {
        if (stop.stop_requested()) throw Abandoned();
    }
    void Report(double done) const {
        if (progress) progress(done);
    }
};

}  // namespace qv
