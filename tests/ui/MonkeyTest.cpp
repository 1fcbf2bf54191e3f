// SPDX-License-Identifier: GPL-3.0-or-later
#include "Monkey.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "frame/TwoSlides.h"

namespace mirrane {

TEST(Monkey, BreaksNothing) {
    const char* minutes = std::getenv("MIRRANE_MONKEY_MINUTES");
    const double asked = minutes != nullptr ? std::strtod(minutes, nullptr) : 0.07;
    const std::filesystem::path base = support::TestFolder();
    const std::filesystem::path project = MakeTwoSlides(base);
    // A page between the two.
    Disk().Write(project / "project.qvp",
                 ReplaceAll(ReadFile(project / "project.qvp"), "<pos>0</pos></item>",
                            "<pos>0</pos></item><item><title>page</title><recdate>d</recdate><pos>-1</pos>"
                            "<url>html1/index.html</url></item>"));
    support::Output("ffmpeg -v error -f lavfi -i sine=duration=1 " + support::Quoted(base / "sound.wav"));
    for (const unsigned seed : {1U, 2U})
        EXPECT_EQ(monkey::LetLoose({.project = project,
                                    .scratch = base / "temp",
                                    .seed = seed,
                                    .time = std::chrono::milliseconds(static_cast<int>(asked * 30000)),
                                    .sound = base / "sound.wav"}),
                  "");
}

}  // namespace mirrane
