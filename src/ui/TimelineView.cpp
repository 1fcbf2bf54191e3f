// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TimelineView.h"

#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <array>
#include <utility>
#include <vector>

#include "editing/Commands.h"
#include "editing/Layout.h"
#include "editing/Selection.h"
#include "ui/TimelineAccess.h"
#include "ui/TimelineButtons.h"
#include "ui/TimelineCanvas.h"

namespace mirrane {

using namespace timelineGeometry;

namespace {

constexpr int kStripWidth = 150;
constexpr int kStripHeight = 25;
constexpr int kViewportLeft = kStripWidth + 2;
constexpr int kViewportTop = 1;
constexpr int kLeastViewport = 200;

/// Where the buttons of a strip stand: neighbours share one pixel of border, and the last one takes what is left.
std::vector<QRect> PlacesOfButtons(int count) {
    const int width = RoundHalfEven(kStripWidth / static_cast<double>(count)) + 1;
    std::vector<QRect> places;
    for (int left = 0; count > 0; left += width - 1, --count)
        places.emplace_back(left, 0, count == 1 ? kStripWidth + 2 - left : width, kStripHeight + 1);
    return places;
}

}  // namespace

class TimelineView::Impl {
public:
    Impl(TimelineView& view, EditContext& ctx, Actions actions, TimelineWords words);

    void ShowIcons(const Icons& icons);
    void Refresh();
    void LayOut();
    void PopUp(const TrackMenu& offered, const QPoint& at);

    TimelineCanvas canvas;

private:
    using Click = std::function<void()>;
    struct Entry {
        Control control;
        StripButton* button;
    };

    void MakeButtons();
    void AddButton(Control control, const char* key, Click click);
    void MakePanel(int track, const char* key);
    QAction* AddCommand(const char* key, void (*command)(EditContext&));
    void RefreshBar();

    EditContext& ctx_;
    TimelineView& view_;
    Actions actions_;
    TimelineWords words_;
    QWidget strip_;
    std::vector<Entry> buttons_;
    std::array<TrackPanel, 2> panels_;
    QScrollBar bar_;
    QMenu menu_;
    TimelineNews news_{canvas};
    QAction* split_ = nullptr;
    QAction* remove_ = nullptr;
    QAction* separator_ = nullptr;
    QAction* setVol_ = nullptr;
};

TimelineView::Impl::Impl(TimelineView& view, EditContext& ctx, Actions actions, TimelineWords words)
    : canvas(ctx, words,
             {.resized = [this](int width) { modLayout::SetViewportWidth(ctx_, width); },
              .menu =
                  [this](const QPoint& at) {
                      if (ctx_.isIdle() && ctx_.hasTimeline()) PopUp(modCommands::MenuNow(ctx_, true), at);
                  }},
             &view),
      ctx_(ctx),
      view_(view),
      actions_(std::move(actions)),
      words_(std::move(words)),
      strip_(&view),
      panels_{TrackPanel(&view), TrackPanel(&view)},
      bar_(Qt::Horizontal, &view),
      menu_(&view) {
    strip_.setObjectName("picWaveCtrl");
    MakeButtons();
    MakePanel(0, "lTrack1");
    MakePanel(1, "lTrack2");
    canvas.setAccessibleName(words_("timelineName"));
    bar_.setObjectName("hScrWave");
    bar_.setAccessibleName(words_("hScrWave"));
    bar_.setFocusPolicy(Qt::TabFocus);
    connect(&bar_, &QScrollBar::valueChanged, &view, [this](int value) { modLayout::Scroll(ctx_, value); });

    menu_.setObjectName("mnuTrackEdit");
    menu_.setAccessibleName(words_("mnuTrackEdit"));
    menu_.setToolTipsVisible(true);
    split_ = AddCommand("mnuSplit", modCommands::mnuSplit_Click);
    remove_ = AddCommand("mnuRemove", modCommands::mnuRemove_Click);
    remove_->setShortcut(QKeySequence(Qt::Key_Delete));
    remove_->setShortcutVisibleInContextMenu(true);
    separator_ = menu_.addSeparator();
    separator_->setObjectName("mnuSep1");
    setVol_ = AddCommand("mnuSetVol", modCommands::mnuSetVol_Click);
    for (QWidget* before = buttons_.back().button;
         QWidget * each : {static_cast<QWidget*>(&panels_[0]), static_cast<QWidget*>(&panels_[1]),
                           static_cast<QWidget*>(&canvas), static_cast<QWidget*>(&bar_)})
        QWidget::setTabOrder(std::exchange(before, each), each);
}

void TimelineView::Impl::MakeButtons() {
    AddButton(Control::cmdImportAudio, "tipImportAudio", [this] { actions_.importAudio(); });
    if (actions_.recordAudio) AddButton(Control::cmdRecAudio, "tipRecAudio", [this] { actions_.recordAudio(); });
    AddButton(Control::cmdVolUp, "tipVolUp", [this] { modCommands::cmdVolUp_Click(ctx_); });
    AddButton(Control::cmdVolDown, "tipVolDown", [this] { modCommands::cmdVolDown_Click(ctx_); });
    AddButton(Control::cmdZoomIn, "tipZoomIn", [this] { modLayout::cmdZoomIn_Click(ctx_); });
    AddButton(Control::cmdZoomOut, "tipZoomOut", [this] { modLayout::cmdZoomOut_Click(ctx_); });
    const std::vector<QRect> places = PlacesOfButtons(static_cast<int>(buttons_.size()));
    for (std::size_t i = 0; i < places.size(); ++i) buttons_[i].button->setGeometry(places[i]);
}

void TimelineView::Impl::AddButton(Control control, const char* key, Click click) {
    auto* button = new StripButton(&strip_);
    button->setObjectName(NameOf(control));
    button->setAccessibleName(words_(key));
    button->setToolTip(words_(key));
    connect(button, &StripButton::clicked, &view_, std::move(click));
    buttons_.push_back({control, button});
}

void TimelineView::Impl::MakePanel(int track, const char* key) {
    TrackPanel& panel = panels_.at(static_cast<std::size_t>(track));
    panel.setObjectName("imgTrackPanel" + QString::number(track));
    panel.setText(words_(key));
    panel.setAccessibleName(words_(key));
    panel.setToolTip(words_("imgTrackPanelTip"));
    connect(&panel, &TrackPanel::clicked, &view_, [this, track] { modSelection::imgTrackPanel_Click(ctx_, track); });
}

QAction* TimelineView::Impl::AddCommand(const char* key, void (*command)(EditContext&)) {
    QAction* action = menu_.addAction(words_(key));
    action->setObjectName(key);
    action->setToolTip(words_((std::string(key) + "Tip").c_str()));
    connect(action, &QAction::triggered, &view_, [this, command] { command(ctx_); });
    return action;
}

void TimelineView::Impl::ShowIcons(const Icons& icons) {
    for (const Entry& entry : buttons_)
        entry.button->ShowPicture(
            [&icons, control = entry.control](const QPalette& palette) { return icons.Of(control, palette); });
}

void TimelineView::Impl::Refresh() {
    const bool isFree = ctx_.form.IsFormEnabled();
    for (const Entry& entry : buttons_) entry.button->setEnabled(isFree && ctx_.form.IsEnabled(entry.control));
    for (std::size_t track = 0; track < panels_.size(); ++track) {
        panels_[track].setEnabled(isFree && ctx_.form.IsEnabled(Control::imgTrackPanel));
        panels_[track].setChecked(ctx_.state.gWaveTrack[track].trackSelected);
    }
    canvas.setEnabled(isFree);
    RefreshBar();
    canvas.update();
    news_.Tell();
}

void TimelineView::Impl::RefreshBar() {
    const ScrollBar& bar = ctx_.form.hScrWave;
    const QSignalBlocker quiet(bar_);
    bar_.setRange(0, bar.Enabled ? bar.Max : 0);
    bar_.setPageStep(bar.LargeChange);
    bar_.setSingleStep(bar.SmallChange);
    bar_.setValue(bar.Value);
    bar_.setEnabled(bar.Enabled && ctx_.form.IsFormEnabled());
}

void TimelineView::Impl::LayOut() {
    const int viewport = view_.width() - kViewportLeft - 1;
    strip_.setGeometry(0, 0, kStripWidth + 2, kStripHeight + 1);
    for (std::size_t track = 0; track < panels_.size(); ++track)
        panels_[track].setGeometry(1, kViewportTop + TrackTop(static_cast<int>(track)), kStripWidth, kTrackHeight);
    canvas.setGeometry(kViewportLeft, kViewportTop, viewport, kHeight);
    bar_.setGeometry(kViewportLeft - 1, kViewportTop + kHeight + 1, viewport + 2, bar_.sizeHint().height());
}

void TimelineView::Impl::PopUp(const TrackMenu& offered, const QPoint& at) {
    split_->setEnabled(offered.canSplit);
    remove_->setEnabled(offered.canRemove);
    separator_->setVisible(offered.hasSetVol);
    setVol_->setVisible(offered.hasSetVol);
    menu_.popup(at);
}

TimelineView::TimelineView(EditContext& ctx, Actions actions, const std::function<QString(const char* key)>& words,
                           QWidget* parent)
    : QWidget(parent) {
    OfferSegsToReaders();  // ahead of the canvas: a reader keeps the first thing that it is told of a widget
    impl_ = std::make_unique<Impl>(*this, ctx, std::move(actions), words);
    setObjectName("timeline");
    const int barHeight = findChild<QScrollBar*>()->sizeHint().height();
    setFixedHeight(kViewportTop + kHeight + 1 + barHeight);
    setMinimumWidth(kViewportLeft + kLeastViewport + 1);
    Refresh();
}

TimelineView::~TimelineView() = default;

void TimelineView::ShowIcons(const Icons& icons) { impl_->ShowIcons(icons); }

void TimelineView::Refresh() { impl_->Refresh(); }

void TimelineView::PopUpTrackMenu(const TrackMenu& menu) { impl_->PopUp(menu, QCursor::pos()); }

void TimelineView::Load(std::int32_t segIndex) { impl_->canvas.Add(segIndex); }

void TimelineView::Unload(std::int32_t segIndex) { impl_->canvas.Remove(segIndex); }

void TimelineView::Refresh(const CWaveSeg& /*seg*/) { impl_->canvas.update(); }

void TimelineView::Place(const CWaveSeg& /*seg*/) { impl_->canvas.update(); }

// They are painted last.
void TimelineView::RaiseLines(std::int32_t /*trackIndex*/) {}

void TimelineView::resizeEvent(QResizeEvent* /*event*/) { impl_->LayOut(); }

void TimelineView::paintEvent(QPaintEvent* /*event*/) {
    // The lines between the parts, which cover the rest.
    QPainter(this).fillRect(0, 0, width(), kViewportTop + kHeight + 1, ColoursFor(palette()).frame);
}

}  // namespace mirrane
