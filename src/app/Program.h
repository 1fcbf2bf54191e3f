// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "CommandLine.h"
#include "base/Clock.h"
#include "base/Disk.h"
#include "base/Host.h"
#include "base/Texts.h"
#include "base/World.h"
#include "frame/Main.h"
#include "qvlib/Engine.h"
#include "qvlib/IPlayer.h"
#include "shell/StartPage.h"
#include "store/MediaCheck.h"
#include "timeline/EditorState.h"
#include "ui/IniSettings.h"
#include "ui/MainWindow.h"
#include "ui/QtUser.h"

namespace app {

/// All that one run of the program is made of, put together. There must be an application.
class Program final : private mirrane::IShell {
public:
    explicit Program(CommandLine line);

    /// Brings up the editor. @returns false when there is nothing to wait for
    /// @throws std::runtime_error when a part of the program is missing
    bool Start();
    /// The program is told to end.
    void Terminate();

private:
    void ShowStartPage() override;
    void ShowEditor() override;
    /// Opens what the command line names, with all checks.
    void OpenQuietly(mirrane::StartPage& page) const;
    /// Leaves nothing behind but what is on its way to the settings.
    [[noreturn]] void EndNow();

    CommandLine line_;
    mirrane::Disk disk_;
    mirrane::SystemClock clock_;
    mirrane::SystemHost host_;
    mirrane::IniSettings settings_;
    mirrane::Texts texts_;
    mirrane::QtUser user_;
    mirrane::World world_;
    mirrane::EditorState state_;
    qv::Engine engine_;
    mirrane::modMediaQv::MediaContext check_;
    std::unique_ptr<qv::IPlayer> player_;
    std::unique_ptr<qv::IQvCapture> capture_;
    std::unique_ptr<mirrane::MainWindow> window_;
};

}  // namespace app
