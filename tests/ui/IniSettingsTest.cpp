// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/IniSettings.h"

#include <gtest/gtest.h>

#include "base/Disk.h"
#include "base/Text.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

struct IniSettingsTest : testing::Test {
    const std::filesystem::path file_ = support::TestFolder() / "new folder" / "Tallowin5.ini";
    IniSettings settings_{file_};
};

TEST_F(IniSettingsTest, WhatTheFileSays) {
    settings_.Set("tokens\\Tallowin", "project", "/home/u/My lecture");
    settings_.Flush();
    EXPECT_EQ(ReadFile(file_), "[tokens%5CTallowin]\nproject=/home/u/My lecture\n");
    SetHexSetting(settings_, "configure", "1", "/p");
    settings_.Flush();
    EXPECT_EQ(ReadFile(file_), "[configure]\n1=&H2F007000\n\n[tokens%5CTallowin]\nproject=/home/u/My lecture\n");
}

TEST_F(IniSettingsTest, EveryTextComesBack) {
    for (const char* section : {"configure", "tokens\\PowerPoint", "General"})
        for (const char* text : {"", "a,b", "a, b; c=d", "\"q\"", "@x", "\\n", "two\r\nlines", " blanks ", "\t", "&H",
                                 "\xC3\xA9\xF0\x9F\x98\x80", "100%", "[x]", "true", "007"}) {
            settings_.Set(section, "audioDevice", text);
            settings_.Flush();
            EXPECT_EQ(IniSettings(file_).Get(section, "audioDevice"), text) << section;
        }
    EXPECT_EQ(settings_.Get("configure", "audiodevice"), std::nullopt) << "case counts";
    EXPECT_EQ(settings_.Get("tokens", "audioDevice"), std::nullopt);
}

TEST_F(IniSettingsTest, OtherProgramsWriteToo) {
    settings_.Set("configure", "audioDevice", "mine");
    settings_.Flush();
    const std::string theirs =
        "[configure]\naudioDevice=\"Mic\"\nvideoSize=320x240\n\n[tokens%5CPowerPoint]\nrecording=1\n";
    Disk().Write(file_, theirs);
    EXPECT_EQ(settings_.Get("configure", "videoSize"), "320x240");
    EXPECT_EQ(settings_.Get("configure", "audioDevice"), "Mic");
    for (const char* value : {"Right", "Right, left", "Left, right"}) settings_.Set("configure", "audioDevice", value);
    EXPECT_EQ(settings_.Get("configure", "audioDevice"), "Left, right");
    EXPECT_EQ(ReadFile(file_), ReplaceAll(theirs, "\"Mic\"", "\"Left, right\""));
}

}  // namespace
}  // namespace mirrane
