// SPDX-License-Identifier: GPL-3.0-or-later
#include "MonkeyChecks.h"

#include <QImage>
#include <QScrollBar>
#include <vector>

#include "store/Opening.h"
#include "support/Basics.h"
#include "timeline/Soundness.h"
#include "ui/SlideListWidget.h"
#include "ui/TimelineCanvas.h"

namespace monkey {

using mirrane::Control;
using mirrane::CWaveSeg;
using mirrane::CWaveTrack;
using mirrane::EditorState;
using mirrane::MainForm;
using mirrane::WindowOnProject;

namespace {

struct Claim {
    bool holds;
    const char* otherwise;
};

std::string FirstBroken(std::initializer_list<Claim> claims) {
    for (const Claim& claim : claims)
        if (!claim.holds) return claim.otherwise;
    return {};
}

std::string Held(const WindowOnProject& on) {
    const MainForm& form = on.window->TheEditor().form;
    return FirstBroken({
        {QApplication::activeModalWidget() == nullptr, "a dialog is open"},
        {QApplication::activePopupWidget() == nullptr, "a menu is open"},
        {on.state.busyDepth == 0, "busyDepth"},
        {!on.state.gIsSeeking && !form.lSeek, "a seek"},
        {!on.state.isClosing, "isClosing"},
        {form.IsFormEnabled() && on.window->centralWidget()->isEnabled(), "the form is held"},
        {!form.mUndoBusy, "mUndoBusy"},
        {!form.drag && !form.mRulerDragging && !form.picGrayLine, "a drag"},
        {!on.window->TheEditor().media.isJobRunning && !on.window->TheEditor().media.isSaving, "a job"},
        {QApplication::overrideCursor() == nullptr, "the waiting pointer"},
    });
}

std::string ButtonsAmiss(const WindowOnProject& on) {
    const MainForm& form = on.window->TheEditor().form;
    const mirrane::CHistory& history = on.state.gHistory;
    for (const Control control : {Control::Save, Control::Undo, Control::Redo, Control::Exit, Control::ListView,
                                  Control::cmdPlay, Control::cmdPrev, Control::cmdNext, Control::cmdZoomIn,
                                  Control::cmdZoomOut, Control::cmdVolUp, Control::cmdImportAudio}) {
        const auto* widget = on.window->findChild<QWidget*>(NameOf(control));
        if (widget->isEnabled() != form.IsEnabled(control)) return std::string("the look of ") + NameOf(control);
    }
    const bool plays = on.window->TheEditor().transport.IsPlaying();
    return FirstBroken({
        {form.IsEnabled(Control::Save) == history.CanUndo(), "Save"},
        {form.IsEnabled(Control::Undo) == history.CanUndo(), "Undo"},
        {form.IsEnabled(Control::Redo) || !history.CanRedo(), "Redo"},
        {form.IsEnabled(Control::Exit) && form.IsEnabled(Control::ListView), "Exit or ListView"},
        {plays == (form.cmdPlayCaption == form.mPauseCaption), "the face of cmdPlay"},
        {on.window->isWindowModified() == history.CanUndo(), "the window's star"},
    });
}

bool ShowsPicture(const WindowOnProject& on) {
    if (on.window->TheEditor().form.mIsWebSlide) return true;
    const QImage image = on.window->findChild<QWidget*>("picVideo")->grab().toImage();
    const QRgb corner = image.pixel(0, 0);
    for (int y = 0; y < image.height(); y += 3)
        for (int x = 0; x < image.width(); x += 3)
            if (image.pixel(x, y) != corner) return true;
    return false;
}

std::string TextOf(const EditorState& state) {
    std::ostringstream text;
    for (const CWaveTrack& track : state.gWaveTrack)
        for (const CWaveSeg& seg : track.items)
            text << seg.trackIndex << ':' << seg.segIndex << '@' << seg.slideIndex << ' ' << seg.pos << '-'
                 << seg.posEnd << '<' << seg.srcFile.filename().string() << ' ' << seg.srcPos << '-' << seg.srcPosEnd
                 << '*' << seg.volPercent << '#' << seg.samples.PCM.size() << '\n';
    return text.str();
}

/// Each slide that was opened is one segment, as it was recorded.
std::string Touched(const EditorState& state) {
    if (state.gWaveTrack[1].Count() != 0) return "Track 2 is not empty";
    for (const CWaveSeg& seg : state.gWaveTrack[0].items) {
        const mirrane::CIndexItem recorded = state.gGrid.item(seg.slideIndex);
        if (seg.segIndex != 2 * seg.slideIndex || std::to_string(seg.srcPos) != recorded.pos ||
            std::to_string(seg.srcPosEnd) != recorded.posEnd || seg.pos != state.gSlideList.GetPos(seg.slideIndex) ||
            seg.posEnd - seg.pos != seg.srcPosEnd - seg.srcPos || seg.volPercent != 100)
            return "segment " + std::to_string(seg.segIndex);
    }
    return {};
}

void UndoAll(WindowOnProject& on) {
    for (int i = 0; i < 1000 && on.state.gHistory.CanUndo(); ++i) {
        on.window->TheEditor().Undo_Click();
        on.Settle();
    }
}

void RedoAll(WindowOnProject& on) {
    for (int i = 0; i < 1000 && on.state.gHistory.CanRedo(); ++i) {
        on.window->TheEditor().Redo_Click();
        on.Settle();
    }
}

}  // namespace

std::string Unrest(WindowOnProject& on) {
    if (!on.window->TheEditor().form.mLayoutDone) return "the window comes up";
    const std::string held = Held(on);
    return held.empty() ? ButtonsAmiss(on) : held;
}

std::string Unsound(WindowOnProject& on) {
    const MainForm& form = on.window->TheEditor().form;
    const mirrane::ScrollBar& bar = form.hScrWave;
    const auto& shownBar = *on.window->findChild<QScrollBar*>("hScrWave");
    const auto& list = *on.window->findChild<mirrane::SlideListWidget*>("ListView");
    const int current = on.state.gGrid.CurrIndex();
    for (const CWaveTrack& track : on.state.gWaveTrack)
        for (const CWaveSeg& seg : track.items)
            if (seg.Visible() != (seg.slideIndex == current)) return "visible: segment " + std::to_string(seg.segIndex);
    const std::string broken = FirstBroken({
        {current >= 1 && current <= on.state.gGrid.Rows() && list.count() == on.state.gGrid.Rows(), "the slides"},
        {on.state.ListView.IsMarked(current) && list.item(current - 1)->isSelected(), "the slide is not selected"},
        {bar.Value >= 0 && bar.Value <= (bar.Enabled ? bar.Max : 0), "the scroll range"},
        {shownBar.value() == bar.Value, "the scroll bar's look"},
        {form.viewportWidth == on.window->findChild<mirrane::TimelineCanvas*>("picTrackGroup")->width(),
         "viewportWidth"},
        {ShowsPicture(on), "no picture"},
    });
    return broken.empty() ? mirrane::Fault(on.state) : broken;
}

std::string Unplayable(WindowOnProject& on) {
    mirrane::Editor& editor = on.window->TheEditor();
    if (!editor.edit.hasTimeline()) return {};
    editor.transport.cmdStop_Click();
    on.Settle();
    const std::string before = editor.form.lPlayInfo;
    editor.transport.cmdPlay_Click();
    on.Settle([&] { return editor.form.lPlayInfo != before; });
    const bool isMoving = editor.form.lPlayInfo != before;
    if (editor.transport.IsPlaying()) editor.transport.cmdPlay_Click();
    on.Settle();
    return isMoving ? "" : "it does not play on from " + before;
}

std::string Unrepeatable(WindowOnProject& on) {
    RedoAll(on);
    const std::string end = TextOf(on.state);
    UndoAll(on);
    const std::string touched = Touched(on.state);
    if (!touched.empty()) return "undone: " + touched + "\n" + TextOf(on.state);
    const std::string unsound = Unsound(on);
    if (!unsound.empty()) return "undone: " + unsound;
    RedoAll(on);
    return TextOf(on.state) == end ? "" : "redone otherwise: " + end + "\nnow: " + TextOf(on.state);
}

std::string Unopenable(const std::filesystem::path& project) {
    doubles::World world;
    const qv::Engine engine = qv::MakeEngine({});
    mirrane::modMediaQv::MediaContext check{world.world, *engine.lib};
    mirrane::CProjectFile document(world.world);
    const auto before = support::ReadBytes(project / "project.qvp");
    const bool isReady = mirrane::modOpening::OpenProjectFolder(check, document, project).isReady;
    if (!isReady || !world.user.boxes.empty()) return "opening it tells: " + world.user.Told();
    return support::ReadBytes(project / "project.qvp") == before ? "" : "opening it changes the document";
}

}  // namespace monkey
