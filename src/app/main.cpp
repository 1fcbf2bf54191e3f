// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QGuiApplication>
#include <QMessageBox>
#include <QSessionManager>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string_view>

#include "CommandLine.h"
#include "LeaveSignals.h"
#include "Program.h"
#include "StartMessages.h"

namespace {

constexpr int kWrongUsage = 2;

constexpr char kHelp[] =
    "Usage: mirrane-editor [PROJECT]\n"
    "       mirrane-editor --open [PROJECT]\n"
    "\n"
    "Repairs the sound of a recorded lecture.\n"
    "\n"
    "PROJECT is a project's folder, or a file in it. Without one the program shows its start page.\n"
    "\n"
    "  --open PROJECT  check the project first, and bring back what a crash has left\n"
    "  --help          show this text\n"
    "  --version       show the program's version\n";

/// What needs no window. @returns the exit status, or -1 when a window is wanted
int Tell(const app::CommandLine& line) {
    using Wish = app::CommandLine::Wish;
    if (line.wish == Wish::Help) {
        std::cout << kHelp;
        return EXIT_SUCCESS;
    }
    if (line.wish == Wish::Version) {
        std::cout << "mirrane-editor " MIRRANE_VERSION "\n";
        return EXIT_SUCCESS;
    }
    if (line.wish != Wish::Wrong) return -1;
    std::cerr << "mirrane-editor: " << line.path << " is not understood\n\n" << kHelp;
    return kWrongUsage;
}

/// The application, or the end of the process where there is no display.
std::unique_ptr<QApplication> MakeApplication(int& argc, char** argv) {
    const app::StartMessages messages;
    return std::make_unique<QApplication>(argc, argv);
}

int Run(QApplication& application, const app::CommandLine& line) {
    // Between two windows there may be none.
    QApplication::setQuitOnLastWindowClosed(false);
    app::Program program(line);
    const app::LeaveSignals leaving([&program] { program.Terminate(); });
    QObject::connect(
        &application, &QGuiApplication::commitDataRequest, &application,
        [&program](QSessionManager&) { program.Terminate(); }, Qt::DirectConnection);
    try {
        return program.Start() ? QApplication::exec() : EXIT_SUCCESS;
    } catch (const std::exception& error) {
        // Who has clicked on an icon does not see what is written.
        QMessageBox::critical(nullptr, QApplication::applicationName(), error.what());
        throw;
    }
}

}  // namespace

int main(int argc, char** argv) try {
    // Nobody should need a display to ask for help.
    const int told = Tell(app::Understand({argv + 1, argv + argc}));
    if (told >= 0) return told;
    const std::unique_ptr<QApplication> application = MakeApplication(argc, argv);
    QApplication::setApplicationName("mirrane-editor");
    QGuiApplication::setDesktopFileName("mirrane-editor");
    // What was the toolkit's own is gone from the arguments now.
    return Run(*application, app::Understand({argv + 1, argv + argc}));
} catch (const std::exception& error) {
    std::cerr << "mirrane-editor: " << error.what() << '\n';
    return EXIT_FAILURE;
}
