// SPDX-License-Identifier: GPL-3.0-or-later
#include "Screenshots.h"

#include <QImage>
#include <QPalette>
#include <QStyleFactory>
#include <iostream>

#include "WindowOnProject.h"
#include "editing/Commands.h"
#include "playback/SlideListView.h"

namespace screenshots {

using mirrane::WindowOnProject;
using std::filesystem::path;

namespace {

QPalette DarkColours() {
    QPalette dark(QColor(53, 53, 53), QColor(42, 42, 42));
    dark.setColor(QPalette::Base, QColor(35, 35, 35));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(127, 127, 127));
    return dark;
}

bool Grab(QWidget& window, const path& folder, const std::string& name) {
    bool isWritten = true;
    for (const int ratio : {1, 2}) {
        QImage image(window.size() * ratio, QImage::Format_RGB32);
        image.setDevicePixelRatio(ratio);
        window.render(&image);
        const path file = folder / (name + "-" + std::to_string(ratio) + "x.png");
        isWritten &= image.save(QString::fromStdString(file.string()));
    }
    return isWritten;
}

/// The window as it came up, and with a cut, in colours of the desktop.
bool ShootStates(const path& folder, const path& project, const std::string& look) {
    WindowOnProject on(project, folder);
    mirrane::Editor& editor = on.window->TheEditor();
    bool isWritten = Grab(*on.window, folder, "first-" + look);
    mirrane::modSlideListView::ChooseRow(editor.edit, 3);
    on.Settle();
    editor.transport.SeekInSlide(3392);
    on.Settle();
    mirrane::modCommands::mnuSplit_Click(editor.edit);
    on.Settle();
    editor.transport.cmdPlay_Click();
    on.user.Sleep(std::chrono::milliseconds(500));
    isWritten &= Grab(*on.window, folder, "playing-" + look);
    editor.transport.cmdStop_Click();
    on.Settle();
    on.window->resize(900, 600);
    on.Settle();
    return Grab(*on.window, folder, "small-" + look) && isWritten;
}

}  // namespace

int MakeScreenshots(const path& folder, const path& project) {
    create_directories(folder);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    bool isWritten = ShootStates(folder, project, "light");
    QApplication::setPalette(DarkColours());
    isWritten &= ShootStates(folder, project, "dark");
    std::cout << (isWritten ? "Written to " : "Cannot be written to ") << folder.string() << '\n';
    return isWritten ? 0 : 1;
}

}  // namespace screenshots
