// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using nlohmann::json;

struct Result {
    int status = 0;
    std::string out;
    std::string err;
};

/// Runs qvtool in a folder of its own, as a person at a shell does.
class Tool : public testing::Test {
protected:
    void SetUp() override {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::path(MIRRANE_TEST_TMP) / (std::string(test->test_suite_name()) + "." + test->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
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
        std::ostringstream text;
        text << errors.rdbuf();
        result.err = text.str();
        return result;
    }

    void Shell(const std::string& command) const {
        ASSERT_EQ(std::system(("cd '" + folder_.string() + "' && " + command).c_str()), 0) << command;
    }

    [[nodiscard]] std::vector<std::string> Files(const std::string& below = {}) const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_ / below)) names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path folder_;
};

inline const std::string kDemo = "'" MIRRANE_SOURCE_DIR "/data/demo/demo.webm'";
