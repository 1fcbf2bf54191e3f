// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <memory>

#include "editing/EditContext.h"
#include "timeline/WaveTrack.h"
#include "ui/Icons.h"

namespace mirrane {

/// The timeline of the shown slide: the strip of six buttons, the panels of the two tracks, ruler, tracks and scroll bar.
/// It shows what MainForm and the tracks hold, and turns the mouse into calls of the gestures. It decides nothing.
class TimelineView final : public QWidget, public IWaveView {
public:
    /// What the buttons do that are not the timeline's own.
    struct Actions {
        std::function<void()> importAudio;
        std::function<void()> recordAudio;  ///< empty: the button is not shown
    };

    /// @param ctx    outlives this; its segments have this as their face by CWaveViews::Face
    /// @param words  a text of the form frmMixEditor by its key
    TimelineView(EditContext& ctx, Actions actions, const std::function<QString(const char* key)>& words,
                 QWidget* parent = nullptr);
    ~TimelineView() override;
    TimelineView(const TimelineView&) = delete;
    TimelineView& operator=(const TimelineView&) = delete;

    /// The pictures on the buttons, which have none without this. @param icons outlive this
    void ShowIcons(const Icons& icons);
    /// MainForm has changed.
    void Refresh();
    /// The menu of the tracks, at the mouse.
    void PopUpTrackMenu(const TrackMenu& menu);

    // IWaveView
    void Load(std::int32_t segIndex) override;
    void Unload(std::int32_t segIndex) override;
    void Refresh(const CWaveSeg& seg) override;
    void Place(const CWaveSeg& seg) override;
    void RaiseLines(std::int32_t trackIndex) override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace mirrane
