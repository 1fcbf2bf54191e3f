// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Disk.h"
#include "base/Text.h"
#include "qvlib/Engine.h"
#include "support/Basics.h"

namespace mirrane {

/// Makes base/temp, and base/project of two slides of 3 s. @returns the latter
inline std::filesystem::path MakeTwoSlides(const std::filesystem::path& base) {
    const std::filesystem::path project = base / "project";
    for (const char* name : {"temp", "project"}) create_directories(base / name);
    const std::string row = "<item><title>t</title><recdate>d</recdate><pos>";
    Disk().Write(project / "project.qvp",
                 ReplaceAll(ReadFile(MIRRANE_SOURCE_DIR "/data/default.qvp"), "00:00\" type=\"OL\"/>",
                            "00:06\">" + row + "0</pos></item>" + row + "3000</pos></item></index>"));
    support::Output(
        "ffmpeg -v error -f lavfi -i testsrc=size=160x90:rate=10:duration=6 -f lavfi "
        "-i sine=duration=6 -c:a pcm_s16le " +
        support::Quoted(base / "rec.mkv"));
    qv::MakeEngine({}).recordings->MakeContainer(
        {.recording = base / "rec.mkv", .target = project / "media.qv", .keys = {0, 3000}}, {});
    return project;
}

}  // namespace mirrane
