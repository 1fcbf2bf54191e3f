// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Basics.h"

#include <sys/wait.h>

#include <cstdio>
#include <iterator>
#include <stdexcept>

namespace support {

namespace fs = std::filesystem;

fs::path TestFolder() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& letter : name)
        if (letter == '/') letter = '_';
    const fs::path folder = fs::path(MIRRANE_TEST_TMP) / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

std::vector<std::uint8_t> ReadBytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void WriteBytes(const fs::path& file, const std::vector<std::uint8_t>& bytes) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::string Output(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
    std::string text;
    char buffer[4096];
    for (std::size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, got);
    const int status = pclose(pipe);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error(command + " failed: " + text);
    return text;
}

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

}  // namespace support
