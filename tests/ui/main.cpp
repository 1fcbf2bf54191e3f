// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <string_view>

#include "Monkey.h"
#include "Screenshots.h"

/// The windows' tests need an application; it shows them nowhere unless a platform is asked for. With
/// "--screenshots FOLDER PROJECT" it makes pictures of them instead; with "--monkey MINUTES PROJECT [SEED]" a user without
/// a plan works on a copy of the project.
int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    if (argc == 4 && std::string_view(argv[1]) == "--screenshots")
        return screenshots::MakeScreenshots(argv[2], argv[3]);
    if (argc >= 4 && std::string_view(argv[1]) == "--monkey") {
        const auto time = std::chrono::milliseconds(static_cast<int>(std::strtod(argv[2], nullptr) * 60000));
        return monkey::RunMonkey(argv[3], time, argc > 4 ? static_cast<unsigned>(std::atoi(argv[4])) : 1);
    }
    return RUN_ALL_TESTS();
}
