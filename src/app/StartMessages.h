// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace app {

/// Hears what the toolkit says while the application is made. When that fails, as without a display, the toolkit would
/// abort the process with a page of advice for its developers; here one line tells the user, and the process ends with
/// EXIT_FAILURE. One at a time.
class StartMessages {
public:
    StartMessages();
    /// The application is there: what was said goes where it had gone without this.
    ~StartMessages();
    StartMessages(const StartMessages&) = delete;
    StartMessages& operator=(const StartMessages&) = delete;
};

}  // namespace app
