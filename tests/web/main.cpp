// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <filesystem>

/// Pages need an application. It shows them nowhere, in a home of their own, in which they should leave nothing.
int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    std::filesystem::remove_all(MIRRANE_TEST_TMP "/home-of-pages");
    std::filesystem::create_directories(MIRRANE_TEST_TMP "/home-of-pages");
    for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DOWNLOAD_DIR"})
        setenv(variable, MIRRANE_TEST_TMP "/home-of-pages", 1);
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
