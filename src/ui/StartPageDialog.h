// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <memory>

#include "base/World.h"
#include "shell/StartPage.h"

namespace mirrane {

/// frmNewProject: the page that greets whoever starts the program without a project. Follows its rules, and is done with
/// QDialog::exec when they are.
class StartPageDialog final : public QDialog {
public:
    /// @param rules, world outlive this
    StartPageDialog(StartPage& rules, World& world);
    ~StartPageDialog() override;
    StartPageDialog(const StartPageDialog&) = delete;
    StartPageDialog& operator=(const StartPageDialog&) = delete;

    /// Nothing while a project is being opened.
    void reject() override;

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace mirrane
