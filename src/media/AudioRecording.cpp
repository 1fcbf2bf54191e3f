// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/AudioRecording.h"

#include <chrono>
#include <optional>
#include <string>

#include "base/Disk.h"
#include "base/Text.h"
#include "base/Trapped.h"
#include "editing/Commands.h"
#include "editing/Layout.h"
#include "editing/Placement.h"
#include "editing/Selection.h"
#include "media/Job.h"

namespace mirrane {

namespace fs = std::filesystem;

namespace {

constexpr int kTrack2 = 1;
constexpr std::chrono::milliseconds kSeekPoll{50};

fs::path FreeName(const fs::path& folder) {
    fs::path file;
    for (int n = 1; file.empty() || FileExists(file); ++n)
        file = InFolder(folder, "Rec(" + std::to_string(n) + ").qva");
    return file;
}

/// frmStatus, as long as this lives.
class Status {
public:
    Status(World& world, const std::string& text) : user_(world.user) { user_.ShowStatus(text); }
    ~Status() { user_.HideStatus(); }
    Status(const Status&) = delete;
    Status& operator=(const Status&) = delete;

private:
    IUser& user_;
};

/// What the player gets from now on is silent, as long as this lives.
class Muted {
public:
    explicit Muted(ITransport& transport) : transport_(transport) { transport_.SetMuted(true); }
    ~Muted() { transport_.SetMuted(false); }
    Muted(const Muted&) = delete;
    Muted& operator=(const Muted&) = delete;

private:
    ITransport& transport_;
};

}  // namespace

std::string AudioRecorder::Word(const char* key) const { return GetResString(media_.world(), "frmRecAudio", key); }

void AudioRecorder::cmdRecAudio_Click() {
    if (!edit().isIdle() || !edit().hasTimeline()) return;
    TrappedVoid(media_.world(), "cmdRecAudio_Click", [this] { Record(); });
}

void AudioRecorder::Record() {
    ITransport& transport = *edit().transport;
    if (transport.IsPlaying()) transport.ExecPlay();
    const TakeTarget target{
        .recFile = FreeName(media_.state().gTempAudioFolder),
        .mRecStartPos = modPlacement::PlacementPos(edit()),
        .bitrateKbit = media_.lib.GetAudioBitrate(InFolder(media_.state().gProjectFolder, "media.qv")),
    };
    {
        const Muted muted(transport);
        SeekToStart(target);
    }
    AwaitSeek();
    if (IsGivenUp(media_)) return;
    if (!Take(target) && !IsGivenUp(media_)) SeekToStart(target);
}

void AudioRecorder::AwaitSeek() {
    while (media_.state().gIsSeeking && !media_.state().isClosing) media_.world().user.Sleep(kSeekPoll);
}

/// @returns false after a message: there is no input
bool AudioRecorder::Take(const TakeTarget& target) {
    World& world = media_.world();
    std::optional<RecAudio> rules;
    int found = 0;
    {
        const Status status(world, GetResString(world, "frmMixEditor", "msgSettingAudioDevice"));
        if (capture_.qvResetAVDevice() != 0) found = modConfig::FindAvDevices(world, capture_);
        if (found > 0) rules.emplace(edit(), capture_, target);
    }
    if (found == 0) ShowMessage(world, "ResetAVDevice Error!");
    if (found < 0) ShowMessage(world, GetResString(world, "frmConfig", "msgNoAudio"));
    if (!rules) return false;
    MainForm& form = edit().form;
    form.mIsRecording = true;
    mSavedScroll_ = form.hScrWave.Value;
    modLayout::SetScrollRange(edit(), modLayout::KeepRatio::No);
    TrappedVoid(world, "frmRecAudio", [&] { frmRecAudio_.ShowModal(*rules); });
    rules.reset();
    ExecStopRecord(target);
    return true;
}

/// Whatever came of the take, the next preview is heard.
void AudioRecorder::SeekToStart(const TakeTarget& target) {
    modCommands::SeekAfterEdit(edit(), CheckedSub(target.mRecStartPos, modLayout::SlideStart(edit())));
}

// ---------------------------------------------------------------------------------------------------- Behind the take

void AudioRecorder::ExecStopRecord(const TakeTarget& target) {
    ITransport& transport = *edit().transport;
    if (transport.IsPlaying()) transport.ExecPlay();
    edit().form.mIsRecording = false;
    if (IsGivenUp(media_)) return;
    // Who goes without having recorded leaves no file.
    const Ms length = FileExists(target.recFile) ? media_.mixEdit.qvaGetDuration(target.recFile) : 0;
    const bool isLaidDown = length > 0 && IsWanted(target);
    if (isLaidDown)
        modPlacement::ImportQvaFile(edit(), target.recFile, target.mRecStartPos, length,
                                    modPlacement::Existing::Overwrite);
    SeekToStart(target);
    if (isLaidDown) modSelection::imgTrackPanel_Click(edit(), kTrack2);
    modLayout::SetScrollRange(edit(), modLayout::KeepRatio::No, mSavedScroll_);
    ZoomOutToFit();
    if (const std::string failure = RecAudio::Failure(media_.world(), capture_.State()); !failure.empty())
        ShowMessage(media_.world(), failure, Word("frmRecAudio"));
}

/// Listens to the take before it goes anywhere.
bool AudioRecorder::IsWanted(const TakeTarget& target) {
    World& world = media_.world();
    qv::TakeCheck check;
    {
        const Status status(world, Word("msgCheckingTake"));
        check = checkTake(target.recFile, capture_.State().recorded);
    }
    if (!check.failure.empty()) ShowMessage(world, Word("msgDamagedTake"), Word("frmRecAudio"));
    if (!check.isSilent) return true;
    return world.user.Ask({.text = Word("msgSilentTake"), .title = Word("frmRecAudio"), .buttons = Buttons::YesNo}) ==
           Answer::No;
}

/// A take may not end beyond the canvas.
void AudioRecorder::ZoomOutToFit() {
    int right = modLayout::GetTimelineRight(edit());
    while (right > MainForm::kCanvasWidth) {
        modLayout::cmdZoomOut_Click(edit());
        const int now = modLayout::GetTimelineRight(edit());
        if (now >= right) return;
        right = now;
    }
}

}  // namespace mirrane
