// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "Commands.h"
#include "qvlib/IQvRecordings.h"

namespace tool {

struct NewArguments {
    std::filesystem::path media;
    std::filesystem::path folder;
    std::filesystem::path slides;  ///< a list of slides; empty: the recording's chapters, or what its picture tells
    std::filesystem::path camera;
    int sensitivity = qv::kUsualSensitivity;
    qv::Ms minSlide = 2000;
    bool exact = false;  ///< no slide moves to a keyframe nearby
    int bitrateKbit = 64;
    std::string title;
};

/// Makes a project of a recording. It is built under another name and takes its own at the end, so a run that fails or
/// is cut off leaves no half project; a folder that was there before keeps what it holds.
int New(const Context& context, const NewArguments& arguments);

/// Makes the demonstration project.
int Demo(const Context& context, const std::filesystem::path& folder);

}  // namespace tool
