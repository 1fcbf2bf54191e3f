// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "editing/EditContext.h"
#include "editing/Layout.h"
#include "editing/SlideTimeline.h"
#include "timeline/Lecture.h"

/// An editor without media, player and windows: what stands behind the ports of the editing.
namespace doubles {

using mirrane::Ms;

/// Gives each sample a value that tells where in its file it was taken.
class Sampler final : public mirrane::ISampler {
public:
    /// What stands at a time of a file.
    [[nodiscard]] static std::int16_t PeakAt(Ms ms) {
        return static_cast<std::int16_t>(ms / mirrane::kSampleMs % 32767 + 1);
    }

    bool GetWaveSamples(const std::filesystem::path& file, std::span<std::int16_t> samples, Ms start, Ms end,
                        int fileKind) override {
        told += file.string() + ":" + std::to_string(start) + "-" + std::to_string(end) + "/" +
                std::to_string(samples.size()) + "#" + std::to_string(fileKind) + " ";
        if (fails) return false;
        for (Ms at = start; std::int16_t & sample : samples)
            sample = PeakAt(std::exchange(at, at + mirrane::kSampleMs));
        return true;
    }

    bool fails = false;
    std::string told;  ///< "/p/media.qv:0-64000/1000#1 "
};

/// A player that is where it was sent. Its position and whether it plays are the test's; a seek ends at once, or when
/// the test says so.
class Transport final : public mirrane::ITransport {
public:
    explicit Transport(mirrane::EditorState& state) : state_(state) {}

    [[nodiscard]] Ms Position() const override { return position; }
    [[nodiscard]] bool IsPlaying() const override { return isPlaying; }
    void ExecPlay() override {
        told += isPlaying ? "Pause " : "Play ";
        isPlaying = !isPlaying;
    }
    void ExecStop(mirrane::StopAt where) override {
        told += where == mirrane::StopAt::Here ? "StopHere " : "Stop ";
        isPlaying = false;
    }
    void qvSeekTo(Ms ms) override {
        if (state_.gIsSeeking || ms < 0) return;
        told += "Seek:" + std::to_string(ms) + " ";
        position = ms;
        state_.gIsSeeking = holdsSeeks;
    }
    void SeekInSlide(Ms ms) override {
        const std::int32_t slide = state_.gGrid.CurrIndex();
        const Ms start = state_.gSlideList.GetPos(slide);
        const Ms inside = std::min(start + ms, state_.gSlideList.GetEnd(slide) - 1);
        qvSeekTo(std::max(mirrane::FloorToGrid(inside), start));
    }
    void SetPosInfo(Ms ms) override { told += "Pos:" + std::to_string(ms) + " "; }
    void SetMuted(bool on) override { told += on ? "Mute " : "Unmute "; }
    void SetToolbar() override { ++toolbars; }

    /// Ends the seek that holdsSeeks has kept open.
    void FinishSeek() { state_.gIsSeeking = false; }

    Ms position = 0;
    bool isPlaying = false;
    bool holdsSeeks = false;
    int toolbars = 0;  ///< how often SetToolbar was called
    std::string told;  ///< "Pause Seek:64 Play Stop StopHere "

private:
    mirrane::EditorState& state_;
};

/// Shows a slide as its pane does, without the pane.
class SlideView final : public mirrane::ISlideView {
public:
    explicit SlideView(mirrane::EditContext& ctx) : ctx_(ctx) {}

    void LoadSlide(std::int32_t index, mirrane::WhileBusy whileBusy) override {
        told += "Slide:" + std::to_string(index) + " ";
        const bool isBusy = ctx_.state.busyDepth > 0 && whileBusy == mirrane::WhileBusy::Refuse;
        if (ctx_.state.gIsSeeking || isBusy || fails) return;
        ctx_.state.gGrid.SelectedRow(std::clamp(index, 1, ctx_.state.gGrid.Rows()));
        mirrane::modSlideTimeline::ShowSlideTimeline(ctx_);
        if (ctx_.hasTimeline()) ctx_.transport->qvSeekTo(ctx_.state.gSlideList.GetPos(ctx_.curSlide()));
    }

    bool fails = false;
    std::string told;  ///< "Slide:2 "

private:
    mirrane::EditContext& ctx_;
};

class Life final : public mirrane::ILife {
public:
    void PostUnload() override { told += "Unload "; }
    void ForceExit() override { told += "Exit "; }
    void ReloadMedia() override { told += "Reload "; }

    std::string told;
};

/// All of them around a lecture, with the empty timeline laid out in a viewport of 640 pixels.
struct Editing {
    /// @param slides as Lecture takes them
    explicit Editing(const std::string& slides) : lecture(slides) {
        state.gProjectFolder = "/p";
        state.gSlideZoom.assign(state.gSlideLoaded.size(), 1);
        ctx.sampler = &sampler;
        ctx.transport = &transport;
        ctx.slideView = &slideView;
        ctx.life = &life;
        mirrane::modLayout::InitLayout(ctx);
    }

    /// Shows a slide, and forgets what was told until then.
    void Show(std::int32_t slide) {
        slideView.LoadSlide(slide, mirrane::WhileBusy::Refuse);
        for (std::string* told : {&sampler.told, &transport.told, &slideView.told}) told->clear();
    }
    /// A track as Lecture's Put takes it. @param track 0 or 1
    [[nodiscard]] std::string Track(std::size_t track) const { return ToText(state.gWaveTrack.at(track)); }
    /// Both tracks, one above the other.
    [[nodiscard]] std::string Tracks() const { return Track(0) + "\n" + Track(1); }
    /// What the boxes said since the last call: "title|text" each, on lines of their own.
    std::string Boxes() {
        std::string told = user.Told();
        user.boxes.clear();
        return told;
    }

    mirrane::Lecture lecture;
    mirrane::EditorState& state = lecture.state;
    User& user = lecture.world.user;
    mirrane::MainForm form;
    mirrane::EditContext ctx{state, form};
    Sampler sampler;
    Transport transport{state};
    SlideView slideView{ctx};
    Life life;
};

}  // namespace doubles
