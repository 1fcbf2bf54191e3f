// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>

#include "doubles/Editing.h"
#include "editing/Commands.h"
#include "editing/Gestures.h"
#include "editing/Placement.h"
#include "editing/Selection.h"
#include "editing/SetPos.h"
#include "editing/SetVol.h"
#include "editing/WaveEdit.h"

namespace mirrane {

/// An editor that shows slide 1, and a user who does what a line of text says: "line:20000 tracks:1,1 split undo".
class UserScript : public doubles::Editing {
public:
    explicit UserScript(const std::string& slides) : Editing(slides) { Show(1); }

    void Do(const std::string& script) {
        std::istringstream words(script);
        for (std::string word; words >> word;) {
            std::array<int, 2> with{};
            (void)std::sscanf(word.c_str(), "%*[a-z]:%d,%d", &with[0], &with[1]);
            const auto click = clicks_.find(word);
            click != clicks_.end() ? click->second(ctx) : deeds_.at(word.substr(0, word.find(':')))(with[0], with[1]);
        }
    }

    /// Track 1 | Track 2 |, then the volumes that are not 100.
    [[nodiscard]] std::string Text() const {
        std::string text = Track(0) + " | " + Track(1) + " | ";
        for (const CWaveTrack& track : state.gWaveTrack)
            for (const CWaveSeg& seg : track.items)
                if (seg.volPercent != 100)
                    text += std::to_string(seg.segIndex) + '*' + std::to_string(seg.volPercent) + ' ';
        return text;
    }

private:
    using enum modGestures::Button;
    using Existing = modPlacement::Existing;
    void Lay(Ms pos, Ms ms, Existing how) { modPlacement::ImportQvaFile(ctx, "/p/a.qva", pos, ms, how); }
    void TypeVolume(int percent) {
        SetVol dialog(state);
        dialog.txtVolPct_Change(std::to_string(percent));
        dialog.cmdOK_Click();
    }
    void TypePosition(const std::string& seconds, const std::string& tenths) {
        SetPos dialog(ctx);
        if (dialog.txtTime_Change(2, seconds) && dialog.txtTime_Change(3, tenths)) dialog.cmdSet_Click();
    }

    const std::map<std::string, void (*)(EditContext&)> clicks_{
        {"split", modCommands::mnuSplit_Click},   {"remove", modCommands::mnuRemove_Click},
        {"undo", modCommands::Undo_Click},        {"redo", modCommands::Redo_Click},
        {"up", modCommands::cmdVolUp_Click},      {"down", modCommands::cmdVolDown_Click},
        {"setvol", modCommands::mnuSetVol_Click}, {"zoomin", modLayout::cmdZoomIn_Click},
        {"zoomout", modLayout::cmdZoomOut_Click}, {"cancel", modLayout::CancelDrag}};
    const std::map<std::string, std::function<void(int, int)>> deeds_{
        {"slide", [this](int n, int) { slideView.LoadSlide(n, WhileBusy::Refuse); }},
        {"line",
         [this](int ms, int) { modLayout::PlaceCursor(ctx, (transport.position = ms) - modLayout::SlideStart(ctx)); }},
        {"play", [this](int, int) { transport.isPlaying = true; }},
        {"video", [this](int, int) { state.mHasVideoRecords = true; }},
        {"track", [this](int n, int on) { state.gWaveTrack.at(static_cast<std::size_t>(n)).trackSelected = on != 0; }},
        {"panel", [this](int n, int) { modSelection::imgTrackPanel_Click(ctx, n); }},
        {"mark", [this](int seg, int) { modWaveEdit::TrackOf(ctx, seg).SelectSeg(seg, SelectShift::Shift); }},
        {"vol", [this](int dif, int) { modCommands::BatchVolAdjust(ctx, dif); }},
        {"type", [this](int percent, int) { form.face.showSetVol = [this, percent] { TypeVolume(percent); }; }},
        {"set", [this](int seconds, int tenths) { TypePosition(std::to_string(seconds), std::to_string(tenths)); }},
        {"push", [this](int pos, int ms) { Lay(pos, ms, Existing::Push); }},
        {"over", [this](int pos, int ms) { Lay(pos, ms, Existing::Overwrite); }},
        {"put", [this](int ms, int) { Lay(modPlacement::PlacementPos(ctx), ms, Existing::Push); }},
        {"press", [this](int seg, int x) { modGestures::waveSeg_MouseDown(ctx, seg, Left, x); }},
        {"move", [this](int seg, int x) { modGestures::waveSeg_MouseMove(ctx, seg, Left, x); }},
        {"release", [this](int seg, int x) { modGestures::waveSeg_MouseUp(ctx, seg, Left, x); }},
        {"grab", [this](int x, int) { modGestures::picLine_MouseDown(ctx, Left, x - form.picLine); }},
        {"key", [this](int key, int) { modGestures::picTrackGroup_KeyDown(ctx, modGestures::CursorKey(key)); }},
        {"let", [this](int x, int) { modGestures::imgRulerPad_MouseUp(ctx, Left, x); }},
    };
};

}  // namespace mirrane
