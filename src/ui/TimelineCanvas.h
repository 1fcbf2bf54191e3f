// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <optional>

#include "editing/EditContext.h"
#include "editing/Gestures.h"
#include "ui/TimelinePainter.h"

namespace mirrane {

/// Text of a key of the form frmMixEditor.
using TimelineWords = std::function<QString(const char* key)>;

/// The viewport picTrackGroup: ruler and both tracks as one widget, which paints what is seen of them. Each press of the
/// mouse belongs to what it hit, until it is released.
class TimelineCanvas final : public QWidget {
public:
    struct Wishes {
        std::function<void(int width)> resized;
        /// The menu key. @param at on the screen
        std::function<void(const QPoint& at)> menu;
    };

    /// @param ctx outlives this
    TimelineCanvas(EditContext& ctx, TimelineWords words, Wishes wishes, QWidget* parent);

    void Add(std::int32_t segIndex);
    void Remove(std::int32_t segIndex);

    /// "Track 1, 0:00:05.0 to 0:00:12.3, 100 %, selected", in the slide's time.
    [[nodiscard]] QString NameOfSeg(const CWaveSeg& seg) const;
    /// Where it stands in the slide, "0:00:05.0"; empty: the slide has no time.
    [[nodiscard]] QString NameOfCursor() const;
    /// Whether it moves all the time.
    [[nodiscard]] bool IsPlaying() const { return ctx_.form.TmrFrame; }
    /// The topmost segment at a place of the widget; nullptr: none.
    [[nodiscard]] const CWaveSeg* SegAt(const QPoint& at) const;
    [[nodiscard]] QRect PlaceOfSeg(const CWaveSeg& seg) const;
    /// Of the shown slide, Track 1 first, each from left to right.
    [[nodiscard]] std::vector<const CWaveSeg*> ShownSegs() const;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    /// What the mouse was pressed on.
    struct Press {
        enum class On { Ruler, Cursor, Track, Segment };
        On on = On::Ruler;
        int number = 0;  ///< of the track or the segment
        Qt::MouseButton button = Qt::NoButton;
    };
    /// @param button that goes down there; NoButton: the mouse only passes
    [[nodiscard]] std::optional<Press> HitAt(const QPoint& at, Qt::MouseButton button) const;
    /// Of the canvas, which may be scrolled.
    [[nodiscard]] int CanvasX(const QMouseEvent& event) const;
    void CancelPress();
    void ZoomBy(int wheelAngle);
    void ScrollBy(const QWheelEvent& event);

    EditContext& ctx_;
    TimelineWords words_;
    Wishes wishes_;
    SegOrder order_;
    std::optional<Press> press_;
    int zoomAngle_ = 0;    ///< of the wheel, not yet a step
    int scrollAngle_ = 0;  ///< of the wheel, not yet a pixel
    bool hasKeyFocus_ = false;
};

}  // namespace mirrane
