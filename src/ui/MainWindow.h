// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>
#include <functional>
#include <memory>

#include "frame/Editor.h"
#include "qvlib/IPlayer.h"
#include "qvlib/IQvCapture.h"
#include "ui/QtUser.h"

namespace mirrane {

/// What the main window is made of, beside itself. All of it outlives the window.
struct WindowParts {
    EditorState& state;
    qv::Engine& engine;
    qv::IPlayer& player;
    qv::IQvCapture& capture;
    modMediaQv::MediaContext& check;
    QtUser& user;
    /// Ends the process at once. A double of it returns.
    std::function<void()> exitNow;
    /// The window has gone away.
    std::function<void()> closed;
};

/// frmMixEditor: tool bar, slides, picture, transport and timeline in one window. It holds widgets, paints, turns events
/// into one call of the logic, and shows what the logic tells it.
class MainWindow final : public QMainWindow, private IOpenMediaFile {
public:
    explicit MainWindow(WindowParts parts);
    ~MainWindow() override;
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    /// Brings the window up on state.gProjectFolder and returns; the slow part follows from the event loop.
    void Open();
    [[nodiscard]] Editor& TheEditor();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::optional<std::filesystem::path> Choose(const std::string& title, const std::string& filter,
                                                const std::filesystem::path& startFolder) override;

    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace mirrane
