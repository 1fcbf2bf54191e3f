// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "MediaError.h"
#include "qvlib/IQvRecordings.h"

namespace qv {

/// A caller's watch over a long piece of work, as the work asks it. Progress is told on any of the job's threads.
struct JobContext : Watch {
    /// @throws Abandoned when the job was told to stop
    void Check() const {
        if (stop.stop_requested()) throw Abandoned();
    }
    void Report(double done) const {
        if (progress) progress(done);
    }
};

}  // namespace qv
