// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "qvlib/Rows.h"

/// What qvtool does with media files; what it does with projects stands beside this. Each command prints its result on standard output and returns the exit status: 0 for done. A
/// failure is thrown as std::exception, or told on standard error with status 1.
namespace tool {

struct Context {
    bool json = false;    ///< results as one JSON object
    int bitrateKbit = 0;  ///< 0: what the file tells
};

struct PeaksArguments {
    std::filesystem::path media;
    qv::Ms start = 0;
    std::optional<qv::Ms> end;
};

struct ContainerArguments {
    std::filesystem::path recording;
    std::filesystem::path target;
    std::filesystem::path camera;
    std::vector<qv::Ms> keys;
    bool findSlides = false;
    int bitrateKbit = 64;
};

int Keys(const Context& context, const std::filesystem::path& media);
int Peaks(const Context& context, const PeaksArguments& arguments);
int Import(const Context& context, const std::filesystem::path& file, const std::filesystem::path& target);
int Mix(const Context& context, const std::filesystem::path& playList, const std::filesystem::path& outFolder);
int Container(const Context& context, const ContainerArguments& arguments);

}  // namespace tool
