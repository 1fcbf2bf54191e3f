// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

#include "media/MediaContext.h"

namespace mirrane {

/// The rules of a job's window, frmProgress or frmCreateThumb: it stays until the job has ended, whatever the user does.
class ProgressWindow final : public IProgressWindow {
public:
    void Init(const std::string& title, const std::string& text) override;
    void Set(int percent, const std::string& text) override;
    void Finish() override;

    [[nodiscard]] bool isShown() const { return isShown_; }
    [[nodiscard]] const std::string& title() const { return title_; }
    [[nodiscard]] const std::string& lStatus() const { return text_; }
    [[nodiscard]] int ProgBar() const { return percent_; }
    /// Whether the window's own close control may close it.
    [[nodiscard]] bool mCanClose() const { return !isShown_; }

    /// Told of every change; may be empty.
    std::function<void()> onChanged;

private:
    void Changed() const;

    bool isShown_ = false;
    std::string title_;
    std::string text_;
    int percent_ = 0;
};

}  // namespace mirrane
