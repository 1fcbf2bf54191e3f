// SPDX-License-Identifier: GPL-3.0-or-later
#include "ToolWorld.h"

#include <iostream>
#include <thread>

#include "base/Files.h"
#include "base/Text.h"

namespace tool {

using mirrane::Answer;
using mirrane::Buttons;

namespace {

/// A box's words on one line. Where it offers OK or Cancel, what follows the first line explains the buttons.
std::string OnOneLine(const mirrane::MessageBox& box) {
    std::string text = box.text;
    if (box.buttons == Buttons::OkCancel) text = text.substr(0, text.find("\r\n"));
    text = mirrane::ReplaceAll(mirrane::ReplaceAll(text, "\r\n", " "), "\n", " ");
    return box.title.empty() ? text : box.title + ": " + text;
}

}  // namespace

Answer ToolUser::Ask(const mirrane::MessageBox& box) {
    told.push_back(OnOneLine(box));
    if (!copy.empty()) told.back() = mirrane::ReplaceAll(told.back(), copy, original);
    std::cerr << "qvtool: " << told.back() << '\n';
    switch (box.buttons) {
        case Buttons::Ok:
            return Answer::Ok;
        case Buttons::OkCancel:
            return goesOn ? Answer::Ok : Answer::Cancel;
        case Buttons::YesNo:
            return Answer::No;
        case Buttons::YesNoCancel:
            break;
    }
    return Answer::Cancel;
}

void ToolUser::Sleep(std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }

ToolWorld::ToolWorld()
    : texts_(mirrane::InFolder(host_.ProgramFolder(), "res.xml")), world{user,      disk_, clock_,
                                                                         settings_, host_, texts_} {}

ScratchFolder::ScratchFolder(mirrane::World& world)
    : world_(world), path_(mirrane::modFiles::MakeTempFolder(mirrane::TempFolder(world.host), "qvtool_")) {}

ScratchFolder::~ScratchFolder() { mirrane::modFiles::DeleteFolderIfAny(world_, path_); }

}  // namespace tool
