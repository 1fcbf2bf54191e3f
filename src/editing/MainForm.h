// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Numbers.h"

namespace mirrane {

/// What the editor's window lets the user press.
enum class Control {
    Save,
    Undo,
    Redo,
    Exit,
    ListView,
    cmdPlay,
    cmdStop,
    cmdPrev,
    cmdNext,
    ProgCtrl,
    cmdImportAudio,
    cmdRecAudio,
    cmdVolUp,
    cmdVolDown,
    cmdZoomIn,
    cmdZoomOut,
    imgRulerPad,
    imgTrackPanel,
};
inline constexpr std::size_t kControls = static_cast<std::size_t>(Control::imgTrackPanel) + 1;

/// The name of a control, "cmdPlay".
[[nodiscard]] const char* NameOf(Control control);

/// The scroll bar hScrWave below the timeline; its value is how many pixels of the canvas lie left of the viewport.
struct ScrollBar {
    int Value = 0;
    int Max = 32767;
    int LargeChange = 0;
    int SmallChange = 0;
    bool Enabled = false;
};

/// One tick of the ruler, at a pixel of its canvas. One with a label is longer.
struct RulerTick {
    int x = 0;
    std::string label;  ///< "0:00:10.0", centred at x; empty: none
};

/// A segment that is being dragged, as it was when it was pressed.
struct SegDrag {
    std::int32_t segIndex = 0;
    int dragX = 0;  ///< of the mouse, in pixels of the screen
    Ms dragPos = 0;
    int dragLeft = 0;
};

/// The commands of the menu of the tracks as it comes up.
struct TrackMenu {
    bool canSplit = false;
    bool canRemove = false;
    bool hasSetVol = false;
};

/// Points of the browser pane, from its upper left corner.
struct PageRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const PageRect&, const PageRect&) = default;
};

/// The files of frmThumbnail: what the user is to choose between.
struct ThumbnailChoice {
    std::filesystem::path present;  ///< need not be there
    std::filesystem::path fresh;
};

/// The editor's window as the logic knows it: what is enabled, what stands where, what the texts say. Logic writes; a
/// window shows it, a script prints it. Pixels count from the left end of the 16383 pixels of a canvas, at one pixel of
/// the viewport each.
class MainForm {
public:
    /// Of ruler and tracks. A segment ends here at the latest.
    static constexpr int kCanvasWidth = 16383;

    std::string caption;
    std::string cmdPlayCaption;
    std::string mPlayCaption;
    std::string mPauseCaption;
    std::string lPlayInfo;
    std::string lSlideEnd;  ///< ms in decimal
    float ProgCtrl = 0;     ///< 0 to 1
    bool lSeek = false;     ///< "Seeking" is shown
    bool chkAuto = false;   ///< at a slide's end go on to the next one
    bool TmrFrame = false;  ///< while true the transport wants its tick each 100 ms

    // The timeline.
    int viewportWidth = 640;
    ScrollBar hScrWave;
    int picLine = 0;                  ///< Left of the cursor, in ruler and tracks
    std::optional<int> picGrayLine;   ///< Left of its ghost while the ruler is dragged
    std::vector<RulerTick> picRuler;  ///< from the left
    std::optional<SegDrag> drag;
    bool mRulerDragging = false;
    bool mUndoBusy = false;
    bool mIsRecording = false;  ///< a take runs: the scroll range is the whole canvas
    bool mLayoutDone = false;

    // The slide's pane.
    bool isPlayerVisible = true;
    bool mIsWebSlide = false;
    std::optional<std::filesystem::path> photo;  ///< of the speaker; fills the pane until there is a picture

    // Other windows.
    bool isSetPosOpen = false;  ///< frmMixSetPos

    /// What the window is told of, so that it shows it; may stay empty.
    struct Face {
        std::function<void()> changed;  ///< called by Changed, also when nothing is new
        std::function<void(const TrackMenu&)> popUpTrackMenu;
        std::function<void()> showSetVol;  ///< frmWaveSegVol, modal; in and out by EditorState::gVolDialogValue
        std::function<void(const std::string& message)> showMsgLink;  ///< frmMsgLink, modal
        std::function<void(const std::string& file)> navigate;  ///< shows a file in the browser pane; "" the blank page
        std::function<PageRect()> pageRect;                     ///< all of the browser pane
        /// Writes what a part of the browser pane shows as a BMP file. @returns whether it is there
        std::function<bool(const PageRect& part, const std::filesystem::path& bmp)> grabPage;
        std::function<bool(const ThumbnailChoice&)>
            showThumbnail;  ///< frmThumbnail, modal; whether the new one is wanted
        std::function<void()> thumbnailsChanged;
    };
    Face face;

    void Enable(Control control, bool on) { enabled_.at(static_cast<std::size_t>(control)) = on; }
    [[nodiscard]] bool IsEnabled(Control control) const { return enabled_.at(static_cast<std::size_t>(control)); }

    /// Has the window show what stands here now.
    void Changed() const {
        if (face.changed) face.changed();
    }

    /// False while someone holds the whole window; see FormHold.
    [[nodiscard]] bool IsFormEnabled() const { return holds_ == 0; }

private:
    friend class FormHold;

    std::array<bool, kControls> enabled_ = AllEnabled();
    int holds_ = 0;

    [[nodiscard]] static std::array<bool, kControls> AllEnabled() {
        std::array<bool, kControls> all{};
        all.fill(true);
        return all;
    }
};

/// Keeps the user out of the editor's window as long as this lives.
class FormHold {
public:
    explicit FormHold(MainForm& form) : form_(form) { Add(1); }
    ~FormHold() { Add(-1); }
    FormHold(const FormHold&) = delete;
    FormHold& operator=(const FormHold&) = delete;

private:
    void Add(int holds) {
        form_.holds_ += holds;
        form_.Changed();
    }

    MainForm& form_;
};

}  // namespace mirrane
