// SPDX-License-Identifier: GPL-3.0-or-later
#include "EditCommands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <tuple>

#include "EditDump.h"
#include "EditScript.h"
#include "base/Disk.h"
#include "base/Text.h"
#include "editing/Commands.h"
#include "editing/Gestures.h"
#include "editing/Layout.h"
#include "editing/Placement.h"
#include "editing/Selection.h"
#include "editing/SetPos.h"
#include "editing/SetVol.h"
#include "editing/WaveEdit.h"
#include "media/AudioImport.h"
#include "playback/SlideListView.h"
#include "qvlib/FileList.h"
#include "timeline/PlayList.h"

namespace tool {

namespace {

using mirrane::Control;
using mirrane::Ms;
using mirrane::modGestures::Button;
using std::chrono::milliseconds;

/// What a command was given.
class Arguments {
public:
    explicit Arguments(std::span<const std::string> words) : words_(words) {}

    [[nodiscard]] const std::string& Text(std::size_t index) const { return words_[index]; }
    [[nodiscard]] bool Has(std::size_t index) const { return index < words_.size(); }
    [[nodiscard]] std::int32_t Number(std::size_t index) const {
        const std::string& word = words_[index];
        const char* end = word.data() + word.size();
        std::int32_t number = 0;
        const auto [stopped, error] = std::from_chars(word.data(), end, number);
        if (error != std::errc() || stopped != end) throw WrongUse("\"" + word + "\" is no whole number of 32 bits");
        return number;
    }
    /// @throws WrongUse below or above the bounds, which are both allowed
    [[nodiscard]] std::int32_t Number(std::size_t index, std::int32_t least, std::int32_t most) const {
        const std::int32_t number = Number(index);
        if (number < least || number > most)
            throw WrongUse(std::to_string(number) + " does not lie between " + std::to_string(least) + " and " +
                           std::to_string(most));
        return number;
    }
    [[nodiscard]] Ms Time(std::size_t index) const { return Number(index, 0, std::numeric_limits<Ms>::max()); }
    [[nodiscard]] int Track(std::size_t index) const { return Number(index, 0, 1); }
    /// Which of some words it is. @throws WrongUse when it is none of them
    [[nodiscard]] std::size_t OneOf(std::size_t index, std::span<const std::string_view> words) const {
        const auto found = std::find(words.begin(), words.end(), words_[index]);
        if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
        std::string reason = "\"" + words_[index] + "\" is none of";
        for (const std::string_view word : words) reason += " " + std::string(word);
        throw WrongUse(reason);
    }

private:
    std::span<const std::string> words_;
};

/// What the user was told last, else a reason of our own.
[[noreturn]] void Refuse(const EditSession& session, const std::string& reason) {
    const Json& told = session.user.Messages();
    throw std::runtime_error(told.empty() ? reason : told.back()["text"].get<std::string>());
}

void NeedEnabled(EditSession& session, Control control) {
    const mirrane::MainForm& form = session.Form().form;
    if (!form.IsEnabled(control)) throw std::runtime_error(std::string(NameOf(control)) + " is disabled");
}

void NeedTimeline(EditSession& session) {
    if (!session.Edit().hasTimeline()) throw std::runtime_error("the shown slide is a web page and has no time");
}

/// Does something that is to become a step of the history.
template <typename Step>
void DoStep(EditSession& session, Step&& step) {
    const mirrane::CHistory& history = session.State().gHistory;
    const auto now = [&] { return std::tuple(history.curIndex(), history.lastIndex(), history.lastGroupId()); };
    const auto before = now();
    step();
    if (now() == before) Refuse(session, "nothing was changed");
}

/// @throws WrongUse when the shown slide has no such segment
mirrane::CWaveSeg& ShownSeg(EditSession& session, std::int32_t segIndex) {
    for (const mirrane::CWaveTrack& track : session.State().gWaveTrack)
        if (mirrane::CWaveSeg* seg = track.items.Find(segIndex);
            seg != nullptr && seg->slideIndex == session.Edit().curSlide())
            return *seg;
    throw WrongUse("there is no segment " + std::to_string(segIndex) + " on the shown slide");
}

int MiddleOf(const mirrane::CWaveSeg& seg) { return seg.Left() + seg.Width() / 2; }

void Viewport(EditSession& session, const Arguments& arguments) {
    mirrane::modLayout::SetViewportWidth(session.Edit(), arguments.Number(0, 1, mirrane::MainForm::kCanvasWidth));
}

void Slide(EditSession& session, const Arguments& arguments) {
    const int row = arguments.Number(0, 1, session.State().gGrid.Rows());
    NeedEnabled(session, Control::ListView);
    mirrane::modSlideListView::ChooseRow(session.Edit(), row);
    if (session.Edit().curSlide() != row) Refuse(session, "the slide was not shown");
}

void Seek(EditSession& session, const Arguments& arguments) {
    const Ms time = arguments.Time(0);
    NeedTimeline(session);
    session.Form().transport.SeekInSlide(time);
}

void Goto(EditSession& session, const Arguments& arguments) { session.Form().transport.qvSeekTo(arguments.Time(0)); }

void Ruler(EditSession& session, const Arguments& arguments) {
    const int x = arguments.Number(0);
    NeedEnabled(session, Control::imgRulerPad);
    mirrane::modGestures::imgRulerPad_MouseDown(session.Edit(), Button::Left, x);
    mirrane::modGestures::imgRulerPad_MouseUp(session.Edit(), Button::Left, x);
}

void Select(EditSession& session, const Arguments& arguments) {
    const std::int32_t segIndex = arguments.Number(0);
    const int x = MiddleOf(ShownSeg(session, segIndex));
    mirrane::modGestures::waveSeg_MouseDown(session.Edit(), segIndex, Button::Left, x);
    mirrane::modGestures::waveSeg_MouseUp(session.Edit(), segIndex, Button::Left, x);
}

void Mark(EditSession& session, const Arguments& arguments) {
    const mirrane::CWaveSeg& seg = ShownSeg(session, arguments.Number(0));
    session.State()
        .gWaveTrack.at(static_cast<std::size_t>(seg.trackIndex))
        .SelectSeg(seg.segIndex, mirrane::SelectShift::Shift);
}

void Track(EditSession& session, const Arguments& arguments) {
    const int track = arguments.Track(0);
    NeedEnabled(session, Control::imgTrackPanel);
    mirrane::modSelection::imgTrackPanel_Click(session.Edit(), track);
}

void Tracks(EditSession& session, const Arguments& arguments) {
    using mirrane::modSelection::TrackSelection;
    const std::array<bool, 2> isOn = {arguments.Number(0, 0, 1) == 1, arguments.Number(1, 0, 1) == 1};
    for (int track = 0; track < 2; ++track)
        mirrane::modSelection::SetTrackSelected(
            session.Edit(), track, isOn.at(static_cast<std::size_t>(track)) ? TrackSelection::On : TrackSelection::Off);
}

void Split(EditSession& session, const Arguments& /*arguments*/) {
    DoStep(session, [&] { mirrane::modCommands::mnuSplit_Click(session.Edit()); });
}

void Remove(EditSession& session, const Arguments& /*arguments*/) {
    DoStep(session, [&] { mirrane::modCommands::mnuRemove_Click(session.Edit()); });
}

void SplitAt(EditSession& session, const Arguments& arguments) {
    using namespace mirrane::modWaveEdit;
    const std::int32_t segIndex = ShownSeg(session, arguments.Number(0)).segIndex;
    const Ms time = arguments.Time(1);
    DoStep(session, [&] {
        if (SplitWaveSeg(session.Edit(), segIndex, time, Log::Yes)) session.Form().transport.SetToolbar();
    });
}

void SetVolume(EditSession& session, const Arguments& arguments) {
    const std::int32_t percent = arguments.Number(0);
    bool isThereAlready = false;
    auto& showSetVol = session.Form().form.face.showSetVol;
    showSetVol = [&] {
        mirrane::SetVol dialog(session.State());
        isThereAlready = session.State().gVolDialogValue == percent;
        dialog.txtVolPct_Change(arguments.Text(0));
        (void)dialog.cmdOK_Click();
    };
    try {
        DoStep(session, [&] { mirrane::modCommands::mnuSetVol_Click(session.Edit()); });
    } catch (const std::exception&) {
        showSetVol = {};
        if (!isThereAlready) throw;
    }
    showSetVol = {};
}

void Volume(EditSession& session, const Arguments& arguments) {
    const std::int32_t dif = arguments.Number(0);
    NeedEnabled(session, dif < 0 ? Control::cmdVolDown : Control::cmdVolUp);
    DoStep(session, [&] { mirrane::modCommands::BatchVolAdjust(session.Edit(), dif); });
}

void Drag(EditSession& session, const Arguments& arguments) {
    constexpr int kMoves = 4;
    const std::int32_t segIndex = arguments.Number(0);
    const int pixels = arguments.Number(1, -mirrane::MainForm::kCanvasWidth, mirrane::MainForm::kCanvasWidth);
    const int x = MiddleOf(ShownSeg(session, segIndex));
    DoStep(session, [&] {
        mirrane::modGestures::waveSeg_MouseDown(session.Edit(), segIndex, Button::Left, x);
        for (int move = 1; move <= kMoves; ++move)
            mirrane::modGestures::waveSeg_MouseMove(session.Edit(), segIndex, Button::Left, x + pixels * move / kMoves);
        mirrane::modGestures::waveSeg_MouseUp(session.Edit(), segIndex, Button::Left, x + pixels);
    });
}

void ZoomIn(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::cmdZoomIn);
    mirrane::modLayout::cmdZoomIn_Click(session.Edit());
}

void ZoomOut(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::cmdZoomOut);
    mirrane::modLayout::cmdZoomOut_Click(session.Edit());
}

void Import(EditSession& session, const Arguments& arguments) {
    NeedEnabled(session, Control::cmdImportAudio);
    session.chosenFile.file = std::filesystem::absolute(arguments.Text(0));
    DoStep(session, [&] { mirrane::modAudioImport::cmdImportAudio_Click(session.Form().media); });
}

void Record(EditSession& session, const Arguments& arguments) {
    NeedEnabled(session, Control::cmdRecAudio);
    const auto file = std::filesystem::absolute(arguments.Text(0));
    const Ms whole = session.LengthOf(file);
    session.microphone->Plug(file);
    session.take.length = milliseconds(arguments.Has(1) ? arguments.Time(1) : whole);
    DoStep(session, [&] { session.Form().recorder.cmdRecAudio_Click(); });
}

/// Like an import of a file that is converted already.
void Place(EditSession& session, const Arguments& arguments) {
    using mirrane::modPlacement::Existing;
    constexpr std::array<std::string_view, 2> kModes = {"push", "overwrite"};
    const Existing existing = arguments.OneOf(2, kModes) == 0 ? Existing::Push : Existing::Overwrite;
    const Ms time = arguments.Time(1);
    mirrane::EditContext& edit = session.Edit();
    NeedTimeline(session);
    const Ms start = mirrane::modLayout::SlideStart(edit);
    if (time < start || time > session.State().gSlideList.GetEnd(edit.curSlide()))
        throw WrongUse(std::to_string(time) + " ms does not lie in the shown slide");
    const auto file = std::filesystem::absolute(arguments.Text(0));
    const Ms duration = session.Form().media.mixEdit.qvaGetDuration(file);
    if (duration == 0) throw std::runtime_error(file.string() + ": holds no sound that can be laid down");
    DoStep(session, [&] {
        const Ms pos = std::max(mirrane::FloorToGrid(time), start);
        const Ms laid = mirrane::modPlacement::ImportQvaFile(edit, file, pos, duration, existing);
        session.Form().transport.SeekInSlide(laid - start);
        mirrane::modSelection::imgTrackPanel_Click(edit, 1);
    });
}

void Undo(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::Undo);
    DoStep(session, [&] { session.Form().Undo_Click(); });
}

void Redo(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::Redo);
    DoStep(session, [&] { session.Form().Redo_Click(); });
}

void Save(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::Save);
    session.Form().Save_Click();
    if (session.State().gHistory.CanUndo()) Refuse(session, "the project was not saved");
}

void Play(EditSession& session, const Arguments& arguments) {
    const milliseconds time(arguments.Time(0));
    NeedEnabled(session, Control::cmdPlay);
    mirrane::Transport& transport = session.Form().transport;
    transport.cmdPlay_Click();
    if (!transport.IsPlaying()) Refuse(session, "the player did not start");
    session.RunFor(time);
    if (transport.IsPlaying()) transport.cmdPlay_Click();
}

void Stop(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::cmdStop);
    session.Form().transport.cmdStop_Click();
}

void Next(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::cmdNext);
    session.Form().transport.cmdNext_Click();
}

void Prev(EditSession& session, const Arguments& /*arguments*/) {
    NeedEnabled(session, Control::cmdPrev);
    session.Form().transport.cmdPrev_Click();
}

void SetPosition(EditSession& session, const Arguments& arguments) {
    for (std::size_t field = 0; field < mirrane::SetPos::kFields; ++field) (void)arguments.Time(field);
    NeedTimeline(session);
    lPlayInfo_Click(session.Edit());
    mirrane::SetPos dialog(session.Edit());
    for (std::size_t field = 0; field < mirrane::SetPos::kFields; ++field)
        if (!dialog.txtTime_Change(field, arguments.Text(field)))
            throw WrongUse(arguments.Text(field) + " is too much for its field");
    dialog.cmdSet_Click();
    session.Form().form.isSetPosOpen = false;
    if (!session.user.Messages().empty()) Refuse(session, {});
}

void Title(EditSession& session, const Arguments& arguments) {
    session.State().gGrid.SetTitle(arguments.Number(0, 1, session.State().gGrid.Rows()), arguments.Text(1));
}

void Answer(EditSession& session, const Arguments& arguments) {
    constexpr std::array<std::string_view, 4> kButtons = {"ok", "cancel", "yes", "no"};
    constexpr std::array kAnswers = {mirrane::Answer::Ok, mirrane::Answer::Cancel, mirrane::Answer::Yes,
                                     mirrane::Answer::No};
    session.user.QueueAnswer(kAnswers.at(arguments.OneOf(0, kButtons)));
}

void DumpState(EditSession& session, const Arguments& /*arguments*/) { Dump(session, session.running); }

void PlayList(EditSession& session, const Arguments& /*arguments*/) {
    using namespace mirrane::modPlayList;
    if (!SetPlayList(session.State(), MuteAudio::No, &session.Player())) Refuse(session, "there is no play list");
    const auto file = mirrane::InFolder(session.State().gTempWorkFolder, "PlayList.txt");
    Json& lines = session.running["lines"] = Json::array();
    for (const std::string& line : mirrane::Split(mirrane::ReadFile(file), '\n'))
        if (!line.empty()) lines.push_back(mirrane::Trim(line));
}

void Wait(EditSession& session, const Arguments& arguments) { session.RunFor(milliseconds(arguments.Time(0))); }

void Close(EditSession& session, const Arguments& /*arguments*/) {
    if (!session.Close()) Refuse(session, "the editor stays open");
}

struct Command {
    std::string_view name;
    std::string_view
        takes;  ///< its arguments, parted by blanks; the last one may be left out when it stands in brackets
    void (*run)(EditSession& session, const Arguments& arguments);
};

constexpr Command kCommands[] = {
    {"viewport", "W", Viewport},
    {"slide", "N", Slide},
    {"seek", "MS", Seek},
    {"goto", "MS", Goto},
    {"ruler", "X", Ruler},
    {"select", "SEG", Select},
    {"track", "T", Track},
    {"tracks", "A B", Tracks},
    {"mark", "SEG", Mark},
    {"split", "", Split},
    {"remove", "", Remove},
    {"splitat", "SEG MS", SplitAt},
    {"setvol", "PERCENT", SetVolume},
    {"volume", "DIF", Volume},
    {"drag", "SEG PX", Drag},
    {"zoomin", "", ZoomIn},
    {"zoomout", "", ZoomOut},
    {"import", "FILE", Import},
    {"record", "FILE [MS]", Record},
    {"place", "FILE MS push|overwrite", Place},
    {"undo", "", Undo},
    {"redo", "", Redo},
    {"save", "", Save},
    {"play", "MS", Play},
    {"stop", "", Stop},
    {"next", "", Next},
    {"prev", "", Prev},
    {"setpos", "H M S T", SetPosition},
    {"title", "N TEXT", Title},
    {"answer", "BUTTON", Answer},
    {"dump", "", DumpState},
    {"playlist", "", PlayList},
    {"wait", "MS", Wait},
    {"close", "", Close},
};

std::size_t CountOf(std::string_view takes) {
    return takes.empty() ? 0 : static_cast<std::size_t>(std::count(takes.begin(), takes.end(), ' ')) + 1;
}

}  // namespace

void RunCommand(EditSession& session, const std::vector<std::string>& words) {
    const auto* const command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                             [&](const Command& known) { return known.name == words.front(); });
    if (command == std::end(kCommands)) throw WrongUse("unknown command \"" + words.front() + "\"");
    const Arguments arguments(std::span<const std::string>(words).subspan(1));
    const std::size_t most = CountOf(command->takes);
    const std::size_t least = !command->takes.empty() && command->takes.back() == ']' ? most - 1 : most;
    if (words.size() - 1 < least || words.size() - 1 > most)
        throw WrongUse("usage: " + std::string(command->name) + (command->takes.empty() ? "" : " ") +
                       std::string(command->takes));
    command->run(session, arguments);
}

}  // namespace tool
