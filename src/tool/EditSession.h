// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "Common.h"
#include "JobWatcher.h"
#include "ScriptedTake.h"
#include "ToolWorld.h"
#include "base/EventLoop.h"
#include "frame/Editor.h"
#include "frame/Main.h"
#include "qvlib/IPlayer.h"

namespace tool {

/// Stands in for the person at the editor's windows. Boxes that only tell something are confirmed; one that asks gets the
/// next queued answer, and its last, that is the most careful, button where none is queued or the box does not offer it.
class ScriptedUser final : public mirrane::IUser {
public:
    /// @param loop outlives this
    explicit ScriptedUser(mirrane::EventLoop& loop) : loop_(loop) {}

    mirrane::Answer Ask(const mirrane::MessageBox& box) override;
    void ShowStatus(const std::string& /*text*/) override {}
    void HideStatus() override {}
    void SetBusyCursor(bool /*busy*/) override {}
    void RunEvents() override { loop_.RunEvents(); }
    void Sleep(std::chrono::milliseconds time) override { loop_.RunFor(time); }

    void QueueAnswer(mirrane::Answer answer) { answers_.push_back(answer); }
    [[nodiscard]] bool HasAnswer() const { return !answers_.empty(); }
    /// The boxes since the last TakeMessages: title, text and answer of each.
    [[nodiscard]] const Json& Messages() const { return messages_; }
    [[nodiscard]] Json TakeMessages();

private:
    mirrane::EventLoop& loop_;
    std::deque<mirrane::Answer> answers_;
    Json messages_ = Json::array();
};

/// The progress window of a job, as a bar on the terminal.
class JobBar final : public mirrane::IProgressWindow {
public:
    explicit JobBar(JobWatcher& watcher) : watcher_(watcher) {}
    void Init(const std::string& title, const std::string& /*text*/) override { watcher_.Begin(title); }
    void Set(int percent, const std::string& /*text*/) override { watcher_.Show(percent); }
    void Finish() override { watcher_.Clear(); }

private:
    JobWatcher& watcher_;
};

/// The dialog that asks for a media file, with the script's file chosen.
class ChosenFile final : public mirrane::IOpenMediaFile {
public:
    std::optional<std::filesystem::path> Choose(const std::string& /*title*/, const std::string& /*filter*/,
                                                const std::filesystem::path& /*startFolder*/) override {
        return file;
    }
    std::optional<std::filesystem::path> file;
};

enum class Opening {
    AsStartPage,  ///< with all checks and repairs
    Direct,       ///< as the editor opens a path of its command line
};

/// The editor on one project, without windows: the classes that the program's windows work with, and who answers in their
/// place. A signal to leave ends the process from within the event loop, as it ends the editor.
class EditSession final : private mirrane::IShell {
public:
    explicit EditSession(const Context& context);

    /// Brings the editor up with the first slide shown.
    /// @returns false when it does not come up; what the user was told stands among the messages
    bool Open(const std::filesystem::path& folder, Opening how);
    /// Closes the window; the question about unsaved work gets the queued answer, else No. @returns whether it is closed
    bool Close();
    [[nodiscard]] bool IsClosed() const { return !editor_ || isClosed_; }

    /// Lets the editor live for a while.
    void RunFor(std::chrono::milliseconds time) { loop_.RunFor(time); }
    /// Lets events run until no seek and no job is under way.
    void Settle();
    /// Nobody reads what is printed any more: the editor ends, and the process with it.
    void Abandon() { editor_->Terminate(); }

    [[nodiscard]] mirrane::Editor& Form() { return *editor_; }
    [[nodiscard]] mirrane::EditContext& Edit() { return editor_->edit; }
    [[nodiscard]] mirrane::EditorState& State() { return state_; }
    [[nodiscard]] qv::IPlayer& Player() { return *player_; }
    /// Of a recording of any kind, ms. @throws std::runtime_error
    [[nodiscard]] mirrane::Ms LengthOf(const std::filesystem::path& recording) const {
        return engine_.recordings->Probe(recording).duration;
    }

private:
    void ShowStartPage() override;
    void ShowEditor() override;
    [[nodiscard]] mirrane::EditorPorts Ports();
    void OnLeaveTimer();
    [[noreturn]] void ExitNow();

    mirrane::EventLoop loop_;
    JobWatcher watcher_;
    JobBar bar_;
    ToolWorld tools_;

public:
    ScriptedUser user;
    ChosenFile chosenFile;
    std::shared_ptr<FileMicrophone> microphone = std::make_shared<FileMicrophone>();
    ScriptedTake take;
    Json running;  ///< what is told of the command that runs; null: none does

private:
    mirrane::World world_;
    mirrane::EditorState state_;
    qv::Engine engine_;
    mirrane::modMediaQv::MediaContext check_;
    std::unique_ptr<qv::IPlayer> player_;
    std::unique_ptr<qv::IQvCapture> capture_;
    std::unique_ptr<mirrane::Editor> editor_;
    std::filesystem::path document_;
    bool isClosed_ = false;
};

/// Prints a result at once, for a reader that waits for it. @returns false when nobody can read it
bool PrintNow(const Json& result);

}  // namespace tool
