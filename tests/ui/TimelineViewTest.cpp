// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TimelineView.h"

#include <gtest/gtest.h>

#include <QAbstractSlider>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QWheelEvent>

#include "doubles/Editing.h"
#include "ui/WaveColumns.h"

namespace mirrane {
namespace {

constexpr int kRuler = 10;  // y in the viewport
constexpr int kTrack1 = 50;
constexpr int kTrack2 = 100;

/// A timeline of 64 s at zoom 2, [0, 501) pixels, in a viewport of 640, with the mouse over it.
class Timeline : public doubles::Editing {
public:
    explicit Timeline(const std::string& slides = "0-64000") : Editing(slides) {
        state.waveViews.Face(&view);
        form.face.changed = [this] { view.Refresh(); };
        form.face.popUpTrackMenu = [this](const TrackMenu& menu) { view.PopUpTrackMenu(menu); };
        view.resize(640 + 153, 150);
        view.show();
        QApplication::processEvents();
        Show(1);
    }

    void Mouse(QEvent::Type type, int x, int y, Qt::MouseButton button = Qt::LeftButton) {
        const QPointF at(x, y);
        const bool isMove = type == QEvent::MouseMove;
        const bool isUp = type == QEvent::MouseButtonRelease;
        QMouseEvent event(type, at, canvas->mapToGlobal(at), isMove ? Qt::NoButton : button,
                          isUp ? Qt::NoButton : Qt::MouseButtons(button), Qt::NoModifier);
        QApplication::sendEvent(canvas, &event);
    }
    void Click(int x, int y, Qt::MouseButton button = Qt::LeftButton) {
        Mouse(QEvent::MouseButtonPress, x, y, button);
        Mouse(QEvent::MouseButtonRelease, x, y, button);
    }
    void Wheel(int angle, Qt::KeyboardModifiers keys) {
        const QPointF at(100, kTrack1);
        QWheelEvent event(at, canvas->mapToGlobal(at), {}, {0, angle}, Qt::NoButton, keys, Qt::NoScrollPhase, false);
        QApplication::sendEvent(canvas, &event);
    }
    void Escape() {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QApplication::sendEvent(canvas, &event);
    }
    /// "mnuSplit- mnuRemove mnuSetVol": what the open menu shows, "-" behind what cannot be chosen.
    [[nodiscard]] std::string Menu() const {
        const auto* menu = view.findChild<QMenu*>("mnuTrackEdit");
        std::string text;
        if (!menu->isVisible()) return text;
        for (const QAction* action : menu->actions())
            if (action->isVisible()) text += action->objectName().toStdString() + (action->isEnabled() ? " " : "- ");
        return text;
    }
    [[nodiscard]] QColor PixelAt(int x, int y) { return canvas->grab().toImage().pixelColor(x, y); }

    TimelineView view{ctx, {.importAudio = [] {}, .recordAudio = {}}, [this](const char* key) {
                          return QString::fromStdString(GetResString(ctx.world(), "frmMixEditor", key, ""));
                      }};
    QWidget* canvas = view.findChild<QWidget*>("picTrackGroup");
};

TEST(TimelineView, GivesAPressToWhatItHitUntilItIsReleased) {
    const struct {
        const char* name;
        int fromX, fromY, toX, toY;
        const char* track;
        const char* sought;
    } cases[] = {
        {"a segment moves, also when the mouse has left it", 10, kTrack1, 110, 900, "1#2:12800-76800<0", "Seek:0 "},
        {"a segment comes along under the ruler", 10, kTrack1, 110, kRuler, "1#2:12800-76800<0", "Seek:0 "},
        {"a press on the ruler seeks to where it ends", 10, kRuler, 110, kTrack1, "1#2:0-64000<0", "Seek:14080 "},
        {"the cursor line is part of the ruler", 0, kTrack1, 110, kTrack1, "1#2:0-64000<0", "Seek:14080 "},
        {"an empty track drags nothing", 300, kTrack2, 400, kTrack1, "1#2:0-64000<0", ""},
        {"the line between the tracks is nobody's", 300, 72, 400, kTrack1, "1#2:0-64000<0", ""},
    };
    for (const auto& test : cases) {
        Timeline on;
        on.Mouse(QEvent::MouseButtonPress, test.fromX, test.fromY);
        on.Mouse(QEvent::MouseMove, test.toX, test.toY);
        on.Mouse(QEvent::MouseButtonRelease, test.toX, test.toY);
        EXPECT_EQ(on.Track(0), test.track) << test.name;
        EXPECT_EQ(on.transport.told, test.sought) << test.name;
        on.Mouse(QEvent::MouseMove, 300, kTrack1);
        EXPECT_EQ(on.Track(0), test.track) << test.name << ", and goes on";
    }
}

TEST(TimelineView, PutsADragBackThatIsGivenUp) {
    const std::function<void(Timeline&)> ways[] = {[](Timeline& on) { on.Escape(); },
                                                   [](Timeline& on) { on.canvas->hide(); },
                                                   [](Timeline& on) { const FormHold hold(on.form); },
                                                   [](Timeline& on) {  // a dialog comes up
                                                       QEvent blocked(QEvent::WindowBlocked);
                                                       QApplication::sendEvent(&on.view, &blocked);
                                                   },
                                                   [](Timeline& on) {  // let go where nobody saw it
                                                       on.Mouse(QEvent::MouseMove, 200, kTrack1, Qt::NoButton);
                                                   }};
    for (const auto& giveUp : ways) {
        for (const int y : {kTrack1, kRuler}) {
            Timeline on;
            on.Mouse(QEvent::MouseButtonPress, 10, y);
            on.Mouse(QEvent::MouseMove, 110, y);
            giveUp(on);
            on.Mouse(QEvent::MouseButtonRelease, 110, y);
            EXPECT_EQ(on.Track(0) + on.transport.told, "1#2:0-64000<0");
            EXPECT_TRUE(on.ctx.isIdle() && !on.form.mRulerDragging && !on.form.picGrayLine);
        }
    }
}

TEST(TimelineView, OffersTheMenuOfWhatWasClicked) {
    const struct {
        int x, y;
        const char* menu;
    } cases[] = {{300, kTrack1, "mnuSplit mnuRemove mnuSep1 mnuSetVol "},
                 {156, kTrack1, "mnuSplit mnuRemove mnuSep1 mnuSetVol "},  // on the cursor line
                 {300, kRuler, "mnuSplit mnuRemove "},
                 {300, kTrack2, ""}};
    for (const auto& [x, y, menu] : cases) {
        Timeline on;
        on.transport.position = 19968;
        modLayout::PlaceCursor(on.ctx, 19968);
        on.Click(x, y, Qt::RightButton);
        EXPECT_EQ(on.Menu(), menu) << x << "," << y;
        if (on.Menu().empty()) continue;
        on.view.findChild<QAction*>("mnuSplit")->trigger();
        EXPECT_EQ(on.Track(0), "1#4:0-19968<0 1#6:19968-64000<19968");
    }
}

TEST(TimelineView, HitsAndPaintsTheSegmentThatWasAddedLast) {
    Timeline on("0-64000 64000-128000");
    // Laid over each other, which the editor leaves to a few ms.
    Put(on.state, 1, "1#9:0-32000<0@2 1#7:0-32000<0@2 2#5:64000-96000<0@2");
    for (CWaveSeg& seg : on.state.gWaveTrack[1].items) {
        seg.Place({0, 250});
        seg.Visible(seg.slideIndex == 1);
    }
    on.Click(100, kTrack2);
    EXPECT_TRUE(on.state.gWaveTrack[1].items.byKey(7).selected());
    const QColor selected = on.PixelAt(100, kTrack2 + 10);
    on.Click(300, kTrack2);
    EXPECT_FALSE(on.state.gWaveTrack[1].items.byKey(7).selected());
    EXPECT_NE(on.PixelAt(100, kTrack2 + 10), selected);
}

TEST(TimelineView, FollowsTheWidthAndTheScrollBar) {
    Timeline on;
    on.Wheel(120, Qt::ControlModifier);
    EXPECT_EQ(modLayout::Zoom(on.ctx), 1);
    on.Wheel(120, Qt::ControlModifier);  // as close as can be: no box says so
    EXPECT_EQ(on.Boxes(), "");
    on.view.resize(153 + 601, 150);
    QApplication::processEvents();
    EXPECT_EQ(on.form.viewportWidth, 601);
    auto* bar = on.view.findChild<QAbstractSlider*>("hScrWave");
    EXPECT_EQ(std::pair(bar->maximum(), bar->isEnabled()), std::pair(400, true));
    bar->setValue(100);
    EXPECT_EQ(on.form.hScrWave.Value, 100);
    on.Click(50, kRuler);  // pixel 150 of the canvas
    EXPECT_EQ(on.transport.told, "Seek:9600 ");
    EXPECT_EQ(on.PixelAt(50, kTrack2).red(), 255);
    on.Wheel(-120, Qt::NoModifier);
    EXPECT_EQ(bar->value(), 150);
    for (const auto& [key, value] : {std::pair(Qt::Key_Home, 0), std::pair(Qt::Key_End, 400)}) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(on.canvas, &event);
        EXPECT_EQ(bar->value(), value);
    }
}

TEST(TimelineView, IsInertWhileTheWindowIsHeld) {
    Timeline on;
    const auto enabled = [&on](const char* name) { return on.view.findChild<QWidget*>(name)->isEnabled(); };
    EXPECT_TRUE(enabled("cmdVolUp") && enabled("cmdZoomIn") && !enabled("cmdZoomOut"));
    const FormHold hold(on.form);
    for (const char* name : {"cmdVolUp", "cmdZoomIn", "picTrackGroup", "imgTrackPanel0"})
        EXPECT_FALSE(enabled(name)) << name;
    EXPECT_EQ(on.view.findChild<QWidget*>("cmdRecAudio"), nullptr);
}

TEST(TimelineView, TellsAReaderItsSegments) {
    Timeline on("0-64000 64000-128000");
    on.Show(2);
    QAccessibleInterface* canvas = QAccessible::queryAccessibleInterface(on.canvas);
    ASSERT_EQ(canvas->childCount(), 1);
    QAccessibleInterface* seg = canvas->child(0);
    EXPECT_EQ(seg->text(QAccessible::Name), "Track 1, 0:00:00.0 to 0:01:04.0, 100 %, selected");
    EXPECT_EQ(canvas->indexOfChild(seg), 0);
    on.Show(1);
    EXPECT_FALSE(seg->isValid());
    EXPECT_EQ(canvas->child(0)->text(QAccessible::Name), "Track 1, 0:00:00.0 to 0:01:04.0, 100 %, selected");
}

TEST(WaveColumns, ReducesSamplesToPixelsByTheLoudest) {
    const struct {
        std::vector<std::int16_t> samples;
        int width, percent;
        std::vector<int> levels;  // a negative one is clipped
    } cases[] = {{{1, 5, 2, 9, 3}, 2, 100, {5, 9}},
                 {{4, 8}, 4, 100, {4, 4, 8, 8}},
                 {{7}, 2, 100, {0, 0}},
                 {{20000, 100}, 2, 200, {-kLoudest, 200}},
                 {{400, 100}, 2, 0, {0, 0}}};
    for (const auto& test : cases) {
        const CWaveViews views;
        const CWaveSeg seg(views, {.samples = {test.samples}, .volPercent = test.percent}, {0, test.width});
        for (int x = 0; x < test.width; ++x) {
            const WaveColumn column = WaveColumnOf(seg, x);
            EXPECT_EQ(column.isClipped ? -column.level : column.level, test.levels.at(static_cast<std::size_t>(x)))
                << x;
        }
    }
}

}  // namespace
}  // namespace mirrane
