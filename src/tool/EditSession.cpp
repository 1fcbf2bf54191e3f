// SPDX-License-Identifier: GPL-3.0-or-later
#include "EditSession.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <vector>

#include "base/Disk.h"
#include "base/Text.h"
#include "shell/StartPage.h"

namespace tool {

using mirrane::Answer;
using mirrane::Buttons;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kFrameInterval{100};
constexpr milliseconds kTouchInterval{2000};
constexpr milliseconds kLayoutDelay{50};
constexpr milliseconds kSettleStep{2};

/// From the first button to the last one.
std::vector<Answer> Offered(Buttons buttons) {
    switch (buttons) {
        case Buttons::Ok:
            return {Answer::Ok};
        case Buttons::OkCancel:
            return {Answer::Ok, Answer::Cancel};
        case Buttons::YesNo:
            return {Answer::Yes, Answer::No};
        case Buttons::YesNoCancel:
            break;
    }
    return {Answer::Yes, Answer::No, Answer::Cancel};
}

void Log(const std::string& line) { std::cerr << "qvtool: " + line + "\n"; }

const char* NameOf(Answer answer) {
    switch (answer) {
        case Answer::Ok:
            return "ok";
        case Answer::Cancel:
            return "cancel";
        case Answer::Yes:
            return "yes";
        case Answer::No:
            break;
    }
    return "no";
}

}  // namespace

Answer ScriptedUser::Ask(const mirrane::MessageBox& box) {
    const std::vector<Answer> offered = Offered(box.buttons);
    Answer answer = offered.back();
    if (offered.size() > 1 && !answers_.empty()) {
        if (std::find(offered.begin(), offered.end(), answers_.front()) != offered.end()) answer = answers_.front();
        answers_.pop_front();
    }
    messages_.push_back({{"title", box.title.empty() ? mirrane::kApplicationTitle : box.title},
                         {"text", mirrane::ReplaceAll(box.text, "\r\n", "\n")},
                         {"answer", NameOf(answer)}});
    return answer;
}

Json ScriptedUser::TakeMessages() {
    Json taken = std::move(messages_);
    messages_ = Json::array();
    return taken;
}

EditSession::EditSession(const Context& context)
    : watcher_("Working"),
      bar_(watcher_),
      user(loop_),
      take(loop_),
      world_{user, tools_.world.disk, tools_.world.clock, tools_.world.settings, tools_.world.host, tools_.world.texts},
      state_(world_),
      engine_(OpenEngine(context)),
      check_{world_, *engine_.lib},
      player_(qv::MakePlayer({.post = [this](std::function<void()> function) { loop_.Post(std::move(function)); },
                              .soundOut = {},
                              .log = Log})),
      capture_(qv::MakeCapture({.soundIn = microphone, .channels = 1, .log = Log})) {
    std::signal(SIGPIPE, SIG_IGN);
    loop_.Every(kFrameInterval, [this] { OnLeaveTimer(); });
    loop_.Every(kFrameInterval, [this] {
        if (!IsClosed()) editor_->transport.TmrFrame_Timer();
    });
    loop_.Every(kTouchInterval, [this] {
        if (!IsClosed()) editor_->tmrTouchReg_Timer();
    });
}

bool EditSession::Open(const std::filesystem::path& folder, Opening how) {
    document_ = mirrane::DocumentMeantBy(folder);
    // The opening would make a folder where none is, which nobody wants of a mistyped path.
    const std::filesystem::path parent = document_.parent_path();
    if (!mirrane::FolderExists(parent) && !mirrane::modFiles::IsNetworkPath(parent))
        throw std::runtime_error(parent.string() + ": there is no such folder");
    mirrane::basMixMain::Main(state_, check_, *this, how == Opening::Direct ? document_.string() : std::string());
    if (!editor_) return false;
    editor_->Form_Load();
    loop_.RunFor(kLayoutDelay);
    editor_->tmrLayout_Timer();
    Settle();
    return !isClosed_;
}

void EditSession::ShowStartPage() {
    mirrane::StartPage page(state_, check_);
    page.Form_Load();
    page.openProj(document_, mirrane::modFiles::Quiet::Yes);
    page.Form_Unload();
}

void EditSession::ShowEditor() {
    editor_ = std::make_unique<mirrane::Editor>(state_, engine_, *player_, check_, Ports());
}

mirrane::EditorPorts EditSession::Ports() {
    return {.frmProgress = bar_,
            .frmCreateThumb = bar_,
            .openMediaFile = chosenFile,
            .capture = *capture_,
            .frmRecAudio = take,
            .post = [this](std::function<void()> function) { loop_.Post(std::move(function)); },
            .exitNow = [this] { ExitNow(); },
            .closed = [this] { isClosed_ = true; }};
}

bool EditSession::Close() {
    if (!user.HasAnswer() && state_.gHistory.CanUndo()) user.QueueAnswer(Answer::No);
    return editor_->Form_Unload();
}

void EditSession::Settle() {
    loop_.RunEvents();
    while (!IsClosed() && state_.gIsBusy()) loop_.RunFor(kSettleStep);
}

void EditSession::OnLeaveTimer() {
    if (!watcher_.IsToldToLeave()) return;
    if (IsClosed()) ExitNow();
    editor_->Terminate();
}

void EditSession::ExitNow() {
    if (watcher_.IsToldToLeave()) {
        std::cerr << "qvtool: stopped\n";
    } else if (!running.is_null()) {
        running["ok"] = false;
        running["reason"] = "the editor had to end";
        running["messages"] = user.TakeMessages();
        PrintNow(running);
    }
    std::_Exit(kFailed);
}

bool PrintNow(const Json& result) {
    PrintJson(result);
    return static_cast<bool>(std::cout.flush());
}

}  // namespace tool
