// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/// What a command at a shell left.
struct Result {
    int status = 0;
    std::string out;
    std::string err;
};

/// Runs qvtool in a folder of its own, as a person at a shell does.
class ToolFolder : public testing::Test {
protected:
    ToolFolder() {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }

    [[nodiscard]] Result Run(const std::string& arguments, const std::string& before = {}) const {
        return Command(before + " XDG_CACHE_HOME='" + folder_.string() + "/cache' '" QVTOOL_PATH "' " + arguments);
    }

    [[nodiscard]] Result Command(const std::string& words) const {
        const std::string command = "cd '" + folder_.string() + "' && { " + words + "; } 2>err.txt";
        FILE* pipe = popen(command.c_str(), "r");
        Result result;
        char buffer[4096];
        for (std::size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            result.out.append(buffer, got);
        result.status = WEXITSTATUS(pclose(pipe));
        std::ifstream errors(folder_ / "err.txt");
        result.err.assign(std::istreambuf_iterator<char>(errors), {});
        return result;
    }

    void Shell(const std::string& command) const {
        ASSERT_EQ(std::system(("cd '" + folder_.string() + "' && " + command).c_str()), 0) << command;
    }

    const std::filesystem::path folder_ = std::filesystem::path(MIRRANE_TEST_TMP) /
                                          testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() /
                                          testing::UnitTest::GetInstance()->current_test_info()->name();
};
