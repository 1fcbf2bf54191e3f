// SPDX-License-Identifier: GPL-3.0-or-later
#include "Program.h"

#include <QApplication>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "base/Files.h"
#include "qvlib/ISoundOut.h"
#include "shell/Paths.h"
#include "ui/Language.h"
#include "ui/StartPageDialog.h"

namespace app {

namespace {

void Log(const std::string& line) { std::cerr << "mirrane-editor: " + line + "\n"; }

/// @throws std::runtime_error when a part of the program is not where it was installed
void CheckParts(const std::filesystem::path& programFolder) {
    for (const char* part : {"res.xml", "default.qvp", "icons"}) {
        const std::filesystem::path path = mirrane::InFolder(programFolder, part);
        if (!std::filesystem::exists(path))
            throw std::runtime_error(path.string() + " is missing: please install the program again");
    }
}

std::unique_ptr<qv::IPlayer> MakePlayer() {
    const auto post = [](std::function<void()> later) {
        QMetaObject::invokeMethod(qApp, std::move(later), Qt::QueuedConnection);
    };
    return qv::MakePlayer({.post = post, .soundOut = qv::MakeDeviceSoundOut(Log), .log = Log});
}

}  // namespace

Program::Program(CommandLine line)
    : line_(std::move(line)),
      settings_(mirrane::SettingsFile(host_)),
      texts_(mirrane::InFolder(host_.ProgramFolder(), "res.xml")),
      world_{user_, disk_, clock_, settings_, host_, texts_},
      state_(world_),
      engine_(qv::MakeEngine({qv::DefaultCacheFolder(), Log})),
      check_{world_, *engine_.lib},
      player_(MakePlayer()),
      capture_(qv::MakeCapture({.soundIn = qv::MakeDeviceSoundIn(Log), .channels = 1, .log = Log})) {}

bool Program::Start() {
    CheckParts(host_.ProgramFolder());
    mirrane::SpeakLanguage(texts_.Language());
    const bool isChecked = line_.wish == CommandLine::Wish::Open;
    mirrane::basMixMain::Main(state_, check_, *this, isChecked ? std::string() : line_.path);
    return window_ != nullptr;
}

void Program::Terminate() {
    if (window_ == nullptr) EndNow();
    user_.Leave();
    window_->TheEditor().Terminate();
}

void Program::EndNow() {
    settings_.Flush();
    std::cerr.flush();
    std::_Exit(EXIT_SUCCESS);
}

void Program::ShowStartPage() {
    mirrane::StartPage page(state_, check_);
    page.Form_Load();
    if (line_.wish == CommandLine::Wish::Open)
        OpenQuietly(page);
    else
        mirrane::StartPageDialog(page, world_).exec();
    page.Form_Unload();
}

void Program::OpenQuietly(mirrane::StartPage& page) const {
    const std::filesystem::path document = mirrane::DocumentMeantBy(line_.path);
    const std::filesystem::path folder = document.parent_path();
    // The opening would make a folder where none is, which nobody wants of a mistyped path.
    if (mirrane::FolderExists(folder) || mirrane::modFiles::IsNetworkPath(folder))
        page.openProj(document, mirrane::modFiles::Quiet::Yes);
    else
        Log(folder.string() + ": there is no such folder");
}

void Program::ShowEditor() {
    window_ = std::make_unique<mirrane::MainWindow>(mirrane::WindowParts{
        state_, engine_, *player_, *capture_, check_, user_, [this] { EndNow(); }, [] { QApplication::quit(); }});
    window_->Open();
}

}  // namespace app
