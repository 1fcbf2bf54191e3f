// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TimelineCanvas.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "editing/Layout.h"
#include "editing/Selection.h"
#include "store/Time.h"

namespace mirrane {

using namespace timelineGeometry;

namespace {

using modGestures::Button;
constexpr int kNotch = 120;  // eighths of a degree

Button ButtonOf(Qt::MouseButton button) {
    if (button == Qt::LeftButton) return Button::Left;
    return button == Qt::RightButton ? Button::Right : Button::None;
}

std::optional<modGestures::CursorKey> CursorKeyOf(const QKeyEvent& event) {
    using modGestures::CursorKey;
    if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) return std::nullopt;
    switch (event.key()) {
        case Qt::Key_Left:
            return CursorKey::Left;
        case Qt::Key_Right:
            return CursorKey::Right;
        case Qt::Key_PageUp:
            return CursorKey::PageLeft;
        case Qt::Key_PageDown:
            return CursorKey::PageRight;
        case Qt::Key_Home:
            return CursorKey::Home;
        case Qt::Key_End:
            return CursorKey::End;
        default:
            return std::nullopt;
    }
}

/// A drag does not depend on what is scrolled meanwhile.
int ScreenX(const QMouseEvent& event) { return event.globalPosition().toPoint().x(); }

}  // namespace

TimelineCanvas::TimelineCanvas(EditContext& ctx, TimelineWords words, Wishes wishes, QWidget* parent)
    : QWidget(parent), ctx_(ctx), words_(std::move(words)), wishes_(std::move(wishes)) {
    setObjectName("picTrackGroup");
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
}

void TimelineCanvas::Add(std::int32_t segIndex) {
    order_.Add(segIndex);
    update();
}

void TimelineCanvas::Remove(std::int32_t segIndex) {
    order_.Remove(segIndex);
    if (press_ && press_->on == Press::On::Segment && press_->number == segIndex) {
        press_.reset();
        ctx_.form.drag.reset();  // nobody would end it
    }
    update();
}

QString TimelineCanvas::NameOfSeg(const CWaveSeg& seg) const {
    const Ms start = modLayout::SlideStart(ctx_);
    QString name = words_("segName");
    name =
        name.arg(words_(seg.trackIndex == 0 ? "lTrack1" : "lTrack2"),
                 QString::fromStdString(FormatRuler(CheckedSub(seg.pos, start))),
                 QString::fromStdString(FormatRuler(CheckedSub(seg.posEnd, start))), QString::number(seg.volPercent));
    return seg.selected() ? words_("segSelected").arg(name) : name;
}

QString TimelineCanvas::NameOfCursor() const {
    return ctx_.hasTimeline() ? QString::fromStdString(FormatRuler(modLayout::PixelToTime(ctx_, ctx_.form.picLine + 1)))
                              : QString();
}

QRect TimelineCanvas::PlaceOfSeg(const CWaveSeg& seg) const {
    return {seg.Left() - ctx_.form.hScrWave.Value, TrackTop(seg.trackIndex) + kSegTop, seg.Width(), kSegHeight};
}

const CWaveSeg* TimelineCanvas::SegAt(const QPoint& at) const {
    const int x = at.x() + ctx_.form.hScrWave.Value;
    for (const CWaveTrack& track : ctx_.state.gWaveTrack) {
        const std::vector<const CWaveSeg*> hit = order_.Shown(track, x, x);
        if (!hit.empty() && PlaceOfSeg(*hit.back()).contains(at)) return hit.back();
    }
    return nullptr;
}

std::vector<const CWaveSeg*> TimelineCanvas::ShownSegs() const {
    std::vector<const CWaveSeg*> segs;
    for (const CWaveTrack& track : ctx_.state.gWaveTrack)
        for (const CWaveSeg& seg : track.items)
            if (seg.Visible()) segs.push_back(&seg);
    return segs;
}

std::optional<TimelineCanvas::Press> TimelineCanvas::HitAt(const QPoint& at, Qt::MouseButton button) const {
    if (at.y() < kRulerHeight) return Press{.on = Press::On::Ruler};
    const int track = at.y() < TrackTop(1) ? 0 : 1;
    if (at.y() >= TrackTop(track) + kTrackHeight) return std::nullopt;
    // The line is too thin to have a menu of its own.
    const bool isOnLine = at.x() + ctx_.form.hScrWave.Value == ctx_.form.picLine;
    if (isOnLine && button != Qt::RightButton) return Press{.on = Press::On::Cursor};
    if (const CWaveSeg* seg = SegAt(at)) return Press{.on = Press::On::Segment, .number = seg->segIndex};
    return Press{.on = Press::On::Track, .number = track};
}

int TimelineCanvas::CanvasX(const QMouseEvent& event) const {
    return event.position().toPoint().x() + ctx_.form.hScrWave.Value;
}

void TimelineCanvas::mousePressEvent(QMouseEvent* event) {
    const Button button = ButtonOf(event->button());
    // A button that goes down twice has come up where nobody saw it.
    if (press_ && press_->button == event->button()) CancelPress();
    if (press_ || button == Button::None) return;
    press_ = HitAt(event->position().toPoint(), event->button());
    if (!press_) return;
    press_->button = event->button();
    // What is called may open a box, and the press may be over when it returns.
    const Press press = *press_;
    switch (press.on) {
        case Press::On::Ruler:
            return modGestures::imgRulerPad_MouseDown(ctx_, button, CanvasX(*event));
        case Press::On::Cursor:
            return modGestures::picLine_MouseDown(ctx_, button, CanvasX(*event) - ctx_.form.picLine);
        case Press::On::Track:
            return modSelection::picTrack_MouseDown(ctx_, press.number);
        case Press::On::Segment:
            return modGestures::waveSeg_MouseDown(ctx_, press.number, button, ScreenX(*event));
    }
}

void TimelineCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (press_ && !event->buttons().testFlag(press_->button)) CancelPress();
    if (!press_) {
        const std::optional<Press> under = HitAt(event->position().toPoint(), Qt::NoButton);
        return setCursor(under && under->on == Press::On::Cursor ? Qt::SplitHCursor : Qt::ArrowCursor);
    }
    const Press press = *press_;
    const Button button = ButtonOf(press.button);
    if (press.on == Press::On::Ruler) modGestures::imgRulerPad_MouseMove(ctx_, button, CanvasX(*event));
    if (press.on == Press::On::Cursor)
        modGestures::picLine_MouseMove(ctx_, button, CanvasX(*event) - ctx_.form.picLine);
    if (press.on == Press::On::Segment) modGestures::waveSeg_MouseMove(ctx_, press.number, button, ScreenX(*event));
}

void TimelineCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (!press_ || press_->button != event->button()) return;
    const Press press = *std::exchange(press_, std::nullopt);
    const Button button = ButtonOf(press.button);
    if (press.on == Press::On::Ruler) modGestures::imgRulerPad_MouseUp(ctx_, button, CanvasX(*event));
    if (press.on == Press::On::Cursor) modGestures::picLine_MouseUp(ctx_, button, CanvasX(*event) - ctx_.form.picLine);
    if (press.on == Press::On::Segment) modGestures::waveSeg_MouseUp(ctx_, press.number, button, ScreenX(*event));
}

void TimelineCanvas::mouseDoubleClickEvent(QMouseEvent* event) { mousePressEvent(event); }

void TimelineCanvas::CancelPress() {
    if (!press_) return;
    press_.reset();
    modLayout::CancelDrag(ctx_);
    ctx_.form.mRulerDragging = false;
    ctx_.form.picGrayLine.reset();
    ctx_.form.Changed();
}

bool TimelineCanvas::event(QEvent* event) {
    // Behind a dialog the button is let go unseen.
    if (event->type() == QEvent::UngrabMouse || event->type() == QEvent::Hide || event->type() == QEvent::WindowBlocked)
        CancelPress();
    if (event->type() != QEvent::ToolTip) return QWidget::event(event);
    const auto* help = static_cast<const QHelpEvent*>(event);
    const CWaveSeg* seg = SegAt(help->pos());
    QToolTip::showText(help->globalPos(), seg != nullptr ? NameOfSeg(*seg) : QString(), this);
    return true;
}

void TimelineCanvas::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange && !isEnabled()) CancelPress();
    QWidget::changeEvent(event);
}

void TimelineCanvas::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && press_) return CancelPress();
    const std::optional<modGestures::CursorKey> key = CursorKeyOf(*event);
    if (!key || press_) return QWidget::keyPressEvent(event);
    modGestures::picTrackGroup_KeyDown(ctx_, *key);
}

void TimelineCanvas::contextMenuEvent(QContextMenuEvent* event) {
    // The mouse has its own way to the menu.
    if (event->reason() != QContextMenuEvent::Keyboard || press_) return;
    const int x = std::clamp(ctx_.form.picLine - ctx_.form.hScrWave.Value, 0, width() - 1);
    wishes_.menu(mapToGlobal(QPoint(x, TrackTop(0))));
}

void TimelineCanvas::wheelEvent(QWheelEvent* event) {
    event->accept();
    if (press_) return;
    event->modifiers().testFlag(Qt::ControlModifier) ? ZoomBy(event->angleDelta().y()) : ScrollBy(*event);
}

void TimelineCanvas::ZoomBy(int wheelAngle) {
    zoomAngle_ += wheelAngle;
    const int notches = zoomAngle_ / kNotch;
    zoomAngle_ %= kNotch;
    // At most one step for an event, and none that would only tell that it cannot be done.
    if (notches > 0 && ctx_.form.IsEnabled(Control::cmdZoomIn)) modLayout::cmdZoomIn_Click(ctx_);
    if (notches < 0 && ctx_.form.IsEnabled(Control::cmdZoomOut)) modLayout::cmdZoomOut_Click(ctx_);
}

void TimelineCanvas::ScrollBy(const QWheelEvent& event) {
    const ScrollBar& bar = ctx_.form.hScrWave;
    const QPoint fine = event.pixelDelta();
    if (!fine.isNull()) return modLayout::Scroll(ctx_, bar.Value - (fine.x() != 0 ? fine.x() : fine.y()));
    const QPoint angle = event.angleDelta();
    scrollAngle_ += (angle.x() != 0 ? angle.x() : angle.y()) * bar.SmallChange;
    const int pixels = scrollAngle_ / kNotch;
    scrollAngle_ %= kNotch;
    modLayout::Scroll(ctx_, bar.Value - pixels);
}

void TimelineCanvas::resizeEvent(QResizeEvent* /*event*/) { wishes_.resized(width()); }

void TimelineCanvas::focusInEvent(QFocusEvent* event) {
    hasKeyFocus_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    update();
}

void TimelineCanvas::focusOutEvent(QFocusEvent* /*event*/) {
    hasKeyFocus_ = false;
    update();
}

void TimelineCanvas::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const TimelineColours colours = ColoursFor(palette());
    TimelinePainter(painter, ctx_, colours).Paint(order_);
    if (!hasKeyFocus_) return;
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

}  // namespace mirrane
