// SPDX-License-Identifier: GPL-3.0-or-later
#include "Program.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "base/Files.h"
#include "qvlib/ISoundOut.h"
#include "store/Opening.h"
#include "ui/Language.h"

namespace app {

namespace {

constexpr char kDocument[] = "project.qvp";

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
    if (line_.wish != CommandLine::Wish::Open)
        ChooseProject();
    else if (!OpenProject(FolderOf(line_.path)))
        state_.gProjectFolder.clear();
}

/// Until a project is open or the user gives up.
void Program::ChooseProject() {
    const QString title = QString::fromStdString(mirrane::GetResString(world_, "frmNewProject", "lOpenTitle"));
    QString folder;
    while (true) {
        const QString file = QFileDialog::getOpenFileName(nullptr, title, folder, QString("%1 (%1)").arg(kDocument));
        if (file.isEmpty()) return;
        if (OpenProject(FolderOf(QFile::encodeName(file).toStdString()))) return;
        state_.gProjectFolder.clear();
        folder = QFileInfo(file).path();
    }
}

bool Program::OpenProject(const std::string& folder) {
    mirrane::basMixMain::InitPaths(state_);
    // The opening would make a folder where none is, which nobody wants of a mistyped path.
    if (!mirrane::FolderExists(folder)) {
        Log(folder + ": there is no such folder");
        return false;
    }
    state_.gProjectFolder = folder;
    state_.gProjectFileName = kDocument;
    return mirrane::modOpening::OpenProjectFolder(check_, state_.gProject, folder).isReady;
}

void Program::ShowEditor() {
    window_ = std::make_unique<mirrane::MainWindow>(mirrane::WindowParts{
        state_, engine_, *player_, *capture_, check_, user_, [this] { EndNow(); }, [] { QApplication::quit(); }});
    window_->Open();
}

}  // namespace app
