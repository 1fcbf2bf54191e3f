// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <memory>

#include "editing/MainForm.h"
#include "playback/PageFiles.h"
#include "ui/PageView.h"

namespace mirrane {

/// ie: the pane of the slides that are web pages. What draws them is made, and its library loaded, when the first one is
/// shown; a browser where there is one, else a view of texts and pictures.
class WebPane final : public QWidget {
public:
    explicit WebPane(PageFiles files);
    ~WebPane() override;
    WebPane(const WebPane&) = delete;
    WebPane& operator=(const WebPane&) = delete;

    /// The page of the last Navigate is in sight; once at most each.
    std::function<void()> onArrived;
    /// It did not come, or has ended; once at most each. It is gone then.
    std::function<void()> onFailed;

    /// Shows a file of the project or the program; none: drops what is shown.
    void Navigate(const std::filesystem::path& file);
    /// What a part of the pane shows, in the screen's own pixels. @returns whether the file is written
    [[nodiscard]] bool Grab(const PageRect& part, const std::filesystem::path& bmp);
    /// Whether the keyboard is the page's.
    [[nodiscard]] bool HasFocus() const;
    void TakeFocus();

private:
    [[nodiscard]] PagePorts Ports();
    [[nodiscard]] std::unique_ptr<IPageView> MakeView();

    PageFiles files_;
    std::filesystem::path file_;  ///< that was asked for last
    std::unique_ptr<IPageView> view_;
};

}  // namespace mirrane
