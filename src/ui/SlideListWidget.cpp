// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SlideListWidget.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <algorithm>
#include <string>
#include <utility>

#include "base/Disk.h"
#include "playback/SlideListView.h"
#include "store/IndexItem.h"
#include "store/ThumbList.h"

namespace mirrane {

namespace {

constexpr QSize kThumb{112, 63};
constexpr int kMargin = 6;
constexpr int kTextLines = 3;  ///< two of the title, one of the length
constexpr int kLeastWidth = 180;

enum Role { kLength = Qt::UserRole, kThumbFile };

enum Column { kTitleColumn = 1, kLengthColumn = 2 };

/// Halfway between two colours.
QColor Mixed(const QColor& one, const QColor& other) {
    return QColor::fromRgb((one.red() + other.red()) / 2, (one.green() + other.green()) / 2,
                           (one.blue() + other.blue()) / 2);
}

/// A slide as a card: picture left, number and title beside it, the length below.
class SlideDelegate final : public QStyledItemDelegate {
public:
    /// @param thumbs outlives this
    SlideDelegate(Thumbs& thumbs, QObject* parent) : QStyledItemDelegate(parent), thumbs_(thumbs) {}

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const override {
        const int text = kTextLines * option.fontMetrics.lineSpacing();
        return {kLeastWidth, std::max(kThumb.height(), text) + 2 * kMargin};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const bool isSelected = option.state.testFlag(QStyle::State_Selected);
        const QPalette& colours = option.palette;
        const QColor ground = colours.color(isSelected ? QPalette::Highlight : QPalette::Base);
        const QColor ink = colours.color(isSelected ? QPalette::HighlightedText : QPalette::Text);
        painter->save();
        painter->fillRect(option.rect, ground);
        const QRect inside = option.rect.adjusted(kMargin, kMargin, -kMargin, -kMargin);
        PaintThumb(*painter, QRect(inside.topLeft(), kThumb), index, Mixed(ground, ink));
        PaintTexts(*painter, inside.adjusted(kThumb.width() + 2 * kMargin, 0, 0, 0), index, ink,
                   isSelected ? ink : Mixed(ink, Mixed(ink, ground)));
        if (option.state.testFlag(QStyle::State_HasFocus)) {
            painter->setPen(QPen(ink, 1, Qt::DotLine));
            painter->drawRect(QRectF(option.rect).adjusted(1.5, 1.5, -1.5, -1.5));
        }
        painter->restore();
    }

private:
    void PaintThumb(QPainter& painter, const QRect& place, const QModelIndex& index, const QColor& frame) const {
        const QImage image = thumbs_.Of(index.data(kThumbFile).toString());
        QRect shown = place;
        if (!image.isNull()) {
            shown.setSize(image.size().scaled(place.size(), Qt::KeepAspectRatio));
            shown.moveCenter(place.center());
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(shown, image);
        }
        painter.setPen(frame);
        painter.drawRect(QRectF(shown).adjusted(0.5, 0.5, -0.5, -0.5));
    }

    static void PaintTexts(QPainter& painter, QRect place, const QModelIndex& index, const QColor& ink,
                           const QColor& faint) {
        const QFontMetrics& metrics = painter.fontMetrics();
        const QString length = index.data(kLength).toString();
        const QString title = QString::number(index.row() + 1) + "  " + index.data(Qt::DisplayRole).toString();
        QRect upper = place;
        upper.setHeight((kTextLines - 1) * metrics.lineSpacing());
        // As much of the title as two lines take; the tool tip has all of it.
        const QString shown =
            metrics.elidedText(title, Qt::ElideRight, upper.width() * 2 - metrics.averageCharWidth() * 8);
        painter.setPen(ink);
        painter.drawText(upper, Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, shown);
        painter.setPen(faint);
        painter.drawText(place, Qt::AlignLeft | Qt::AlignBottom, length);
    }

    Thumbs& thumbs_;
};

}  // namespace

SlideListWidget::SlideListWidget(EditContext& ctx, QWidget* parent)
    : QListWidget(parent), ctx_(ctx), thumbs_([this] { viewport()->update(); }) {
    setObjectName(NameOf(Control::ListView));
    setSelectionMode(ExtendedSelection);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMinimumWidth(kLeastWidth);
    setItemDelegate(new SlideDelegate(thumbs_, this));
    GridTable& table = ctx_.state.ListView;
    table.Watch([this] {
        isStale_ = true;
        ctx_.form.Changed();
    });
    table.OnSetFocus([this] { setFocus(); });
    // A slide's first showing may take a while and lets events run, which nothing should do inside of a press.
    connect(this, &QListWidget::itemSelectionChanged, this, [this] {
        if (std::exchange(isTakeWanted_, true)) return;
        QMetaObject::invokeMethod(
            this, [this] { TakeSelection(); }, Qt::QueuedConnection);
    });
    connect(this, &QListWidget::itemClicked, this, [this] { modSlideListView::ListView_ItemClick(ctx_); });
}

SlideListWidget::~SlideListWidget() {
    ctx_.state.ListView.Watch({});
    ctx_.state.ListView.OnSetFocus({});
}

void SlideListWidget::Refresh() {
    const QSignalBlocker blocker(this);
    // The window is refreshed ten times a second while it plays.
    if (std::exchange(isStale_, false)) FillRows();
    if (!isTakeWanted_) ShowSelection();
}

void SlideListWidget::FillRows() {
    const GridTable& table = ctx_.state.ListView;
    while (count() > table.Rows()) delete takeItem(count() - 1);
    while (count() < table.Rows()) addItem(new QListWidgetItem);
    for (int row = 1; row <= table.Rows(); ++row) {
        QListWidgetItem& shown = *item(row - 1);
        const QString title = QString::fromStdString(table.Cell(row, kTitleColumn));
        const QString length = QString::fromStdString(table.Cell(row, kLengthColumn));
        const QString file = QFile::decodeName(ThumbOf(row).c_str());
        if (shown.text() == title && shown.data(kLength) == length && shown.data(kThumbFile) == file) continue;
        shown.setText(title);
        shown.setToolTip(title);
        shown.setData(kLength, length);
        const QString told = length.isEmpty() ? QString() : ", " + length;
        shown.setData(Qt::AccessibleTextRole, QString::number(row) + ". " + title + told);
        shown.setData(kThumbFile, file);
    }
}

void SlideListWidget::ReloadThumbs() {
    thumbs_.ReadAnew();
    viewport()->update();
}

void SlideListWidget::OfferThumbnail(const QString& mnuThumbnail, SlideView& slideView) {
    slideView_ = &slideView;
    mnuThumbnail_ = new QAction(mnuThumbnail, this);
    mnuThumbnail_->setObjectName("mnuThumbnail");
    connect(mnuThumbnail_, &QAction::triggered, this, [this] {
        if (ctx_.isIdle()) slideView_->CaptureWebThumbnail(Force::Yes);
    });
}

void SlideListWidget::contextMenuEvent(QContextMenuEvent* event) {
    const bool isKeyboard = event->reason() == QContextMenuEvent::Keyboard;
    const int row = 1 + (isKeyboard ? currentRow() : indexAt(event->pos()).row());
    if (mnuThumbnail_ == nullptr || row == 0 || ctx_.state.gGrid.GetUrl(row).empty()) return;
    mnuThumbnail_->setEnabled(row == ctx_.curSlide() && slideView_->canCapture() && ctx_.isIdle());
    const QPoint middle = viewport()->mapToGlobal(visualItemRect(item(row - 1)).center());
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(mnuThumbnail_);
    menu->popup(isKeyboard ? middle : event->globalPos());
}

std::filesystem::path SlideListWidget::ThumbOf(int row) const {
    const EditorState& state = ctx_.state;
    const std::string pos = state.gGrid.GetPos(row);
    const std::string url = state.gGrid.GetUrl(row);
    if (!IsOffTimeline(pos, url)) return ThumbnailOf(state.gProjectFolder, IntegerPrefix(pos));
    return InFolder(InFolder(state.gProjectFolder, "thumbnails"), url.substr(0, url.find('/')) + ".jpg");
}

void SlideListWidget::ShowSelection() {
    const GridTable& table = ctx_.state.ListView;
    for (int row = 1; row <= table.Rows(); ++row)
        if (item(row - 1)->isSelected() != table.IsMarked(row)) item(row - 1)->setSelected(table.IsMarked(row));
    const int current = table.CurrentRow();
    if (current == 0 || std::exchange(shown_, current) == current) return;
    setCurrentRow(current - 1, QItemSelectionModel::NoUpdate);
    scrollToItem(item(current - 1));
}

void SlideListWidget::TakeSelection() {
    isTakeWanted_ = false;
    if (ctx_.isIdle() && ctx_.form.IsFormEnabled() && ctx_.form.IsEnabled(Control::ListView)) {
        GridTable& table = ctx_.state.ListView;
        for (int row = 1; row <= std::min(table.Rows(), count()); ++row) table.Mark(row, item(row - 1)->isSelected());
        modSlideListView::ListView_SelectionChange(ctx_);
    }
    shown_ = 0;
    ctx_.form.Changed();
}

void SlideListWidget::keyPressEvent(QKeyEvent* event) {
    if (!modSlideListView::ListView_KeyDown(ctx_)) return;
    if (event->matches(QKeySequence::SelectAll))
        modSlideListView::ListView_SelectAll(ctx_);
    else
        QListWidget::keyPressEvent(event);
}

}  // namespace mirrane
