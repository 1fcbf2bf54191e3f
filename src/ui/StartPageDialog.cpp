// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/StartPageDialog.h"

#include <QDragEnterEvent>
#include <QFile>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QTimer>
#include <QVBoxLayout>
#include <string>
#include <utility>

#include "ui/FileDialog.h"
#include "ui/Icons.h"
#include "ui/LinkLabel.h"
#include "ui/ManualLink.h"
#include "ui/ProjectRow.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmNewProject";
constexpr QSize kFirstSize{860, 590};
constexpr int kSpace = 24;  ///< around the page and between its parts
constexpr int kApplicationIcon = 56;
constexpr int kButtonIcon = 28;
constexpr int kButtonHeight = 56;
constexpr int kRowsBelowEachOther = 3;  ///< which a small window shows
constexpr std::chrono::milliseconds kLayoutDelay{50};

/// In letters of another size. @param factor of the usual one
template <typename Widget>
Widget* InSize(Widget* widget, double factor, bool isBold) {
    QFont font = widget->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setBold(isBold);
    widget->setFont(font);
    return widget;
}

/// A text with the letter underlined that presses its control; a letter that is none of the text's is put behind it.
QString WithMnemonic(QString text, const QString& letter) {
    const qsizetype at = text.indexOf(letter, 0, Qt::CaseInsensitive);
    return at >= 0 ? text.insert(at, '&') : text + "(&" + letter + ")";
}

/// The project that is dragged; nothing when it is none, or more than one thing.
std::optional<std::filesystem::path> DraggedProject(const QMimeData& data) {
    const QList<QUrl> urls = data.urls();
    if (urls.size() != 1 || !urls.front().isLocalFile()) return std::nullopt;
    return ProjectIn(QFile::encodeName(urls.front().toLocalFile()).toStdString());
}

}  // namespace

class StartPageDialog::Impl {
public:
    Impl(StartPageDialog& window, StartPage& rules, World& world);
    ~Impl() { rules_.face = {}; }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void ReloadIcons();
    void ShowDragging(bool isProject);
    void Drop(const std::filesystem::path& dropped);
    [[nodiscard]] bool isOpening() const { return rules_.isOpening(); }
    void OpenManualPage() { OpenManual(world_.host, ManualPart::Whole); }

private:
    QWidget* MakeHead();
    QLayout* MakeOpenColumn();
    QLayout* MakeRecentColumn();
    void AddManual(QVBoxLayout& column);
    void AddLink(QVBoxLayout& column, const char* name, ManualPart part);
    QScrollArea* MakeList();
    void Wire();
    void FillList();
    void setEnabled(bool on);

    /// Runs something once the event that asks for it has been dealt with.
    void Later(std::function<void()> deed) {
        QMetaObject::invokeMethod(&window_, std::move(deed), Qt::QueuedConnection);
    }
    [[nodiscard]] QString Word(const std::string& key) const {
        return QString::fromStdString(GetResString(world_, kForm, key));
    }
    [[nodiscard]] QString Caption(const std::string& key) const { return WithMnemonic(Word(key), Word(key + "Key")); }

    StartPageDialog& window_;
    StartPage& rules_;
    World& world_;
    Icons icons_;
    QWidget* page_ = new QWidget;  ///< all there is
    QPushButton* lOpenProj_ = nullptr;
    QLabel* lDrop_ = nullptr;
    QWidget* rows_ = nullptr;
    QPointer<QWidget> focus_;  ///< had it when the page was disabled
};

StartPageDialog::Impl::Impl(StartPageDialog& window, StartPage& rules, World& world)
    : window_(window), rules_(rules), world_(world), icons_(world.host.ProgramFolder()) {
    window_.setWindowTitle(Word(kForm));
    window_.setWindowIcon(icons_.Application());
    auto* const around = new QVBoxLayout(&window_);
    around->setContentsMargins(0, 0, 0, 0);
    around->addWidget(page_);
    auto* const all = new QVBoxLayout(page_);
    all->setContentsMargins(kSpace, kSpace, kSpace, kSpace);
    all->setSpacing(kSpace);
    all->addWidget(MakeHead());
    auto* const columns = new QHBoxLayout;
    columns->setSpacing(kSpace);
    columns->addLayout(MakeOpenColumn());
    columns->addLayout(MakeRecentColumn(), 1);
    all->addLayout(columns, 1);
    ReloadIcons();
    Wire();
}

QWidget* StartPageDialog::Impl::MakeHead() {
    auto* const head = new QWidget;
    auto* const row = new QHBoxLayout(head);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(kSpace * 2 / 3);
    auto* const picture = new QLabel;
    picture->setPixmap(
        icons_.Application().pixmap(QSize(kApplicationIcon, kApplicationIcon), window_.devicePixelRatio()));
    row->addWidget(picture);
    auto* const column = new QVBoxLayout;
    column->setSpacing(2);
    auto* const imgTitle = InSize(new QLabel(Word(kForm)), 1.8, true);
    imgTitle->setObjectName("imgTitle");
    column->addStretch();
    column->addWidget(imgTitle);
    column->addWidget(new QLabel(Word("lPurpose")));
    column->addStretch();
    row->addLayout(column, 1);
    return head;
}

QLayout* StartPageDialog::Impl::MakeOpenColumn() {
    auto* const column = new QVBoxLayout;
    column->setSpacing(kSpace / 3);
    lOpenProj_ = InSize(new QPushButton(Caption("lOpenProj")), 1.15, true);
    lOpenProj_->setObjectName("lOpenProj");
    lOpenProj_->setToolTip(Word("imgOpenBtnTip"));
    lOpenProj_->setIconSize({kButtonIcon, kButtonIcon});
    lOpenProj_->setMinimumSize(lOpenProj_->sizeHint().width() + kSpace, kButtonHeight);
    lOpenProj_->setDefault(true);
    column->addWidget(lOpenProj_);
    lDrop_ = new QLabel(Word("lDrop"));
    lDrop_->setObjectName("lDrop");
    lDrop_->setAlignment(Qt::AlignCenter);
    lDrop_->setMargin(4);
    column->addWidget(lDrop_);
    AddManual(*column);
    column->addStretch();
    return column;
}

/// Nothing of it where there is no manual.
void StartPageDialog::Impl::AddManual(QVBoxLayout& column) {
    if (!FindManual(world_.host, ManualPart::Whole) && !FindManual(world_.host, ManualPart::Tutorial)) return;
    column.addSpacing(kSpace);
    auto* const lGetStarted = InSize(new QLabel(Word("lGetStarted")), 1.15, true);
    lGetStarted->setObjectName("lGetStarted");
    column.addWidget(lGetStarted);
    AddLink(column, "lMan", ManualPart::Whole);
    AddLink(column, "quickStart", ManualPart::QuickStart);
    AddLink(column, "onlineTutor", ManualPart::Tutorial);
}

void StartPageDialog::Impl::AddLink(QVBoxLayout& column, const char* name, ManualPart part) {
    const QUrl address = ManualAddress(world_.host, part);
    if (address.isEmpty()) return;
    auto* const link = new LinkLabel(Caption(name), address);
    link->setObjectName(name);
    link->setToolTip(Word(std::string(name) + "Tip"));
    column.addWidget(link, 0, Qt::AlignLeft);
}

QLayout* StartPageDialog::Impl::MakeRecentColumn() {
    auto* const column = new QVBoxLayout;
    column->setSpacing(kSpace / 3);
    auto* const lRecentProjects = InSize(new QLabel(Caption("lRecentProjects")), 1.15, true);
    lRecentProjects->setObjectName("lRecentProjects");
    column->addWidget(lRecentProjects);
    column->addWidget(MakeList(), 1);
    return column;
}

QScrollArea* StartPageDialog::Impl::MakeList() {
    auto* const area = new QScrollArea;
    area->setObjectName("recentList");
    area->setAccessibleName(Word("lRecentProjects"));
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    area->setMinimumHeight(window_.fontMetrics().height() * 3 * kRowsBelowEachOther);
    rows_ = new QWidget;
    rows_->setBackgroundRole(QPalette::Base);
    auto* const column = new QVBoxLayout(rows_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    area->setWidget(rows_);
    return area;
}

void StartPageDialog::Impl::Wire() {
    rules_.face = {
        .choose = [this](const std::string& title, const std::string& filter,
                         const std::filesystem::path& start) { return ChooseFile(&window_, title, filter, start); },
        .setEnabled = [this](bool on) { setEnabled(on); },
        .listChanged = [this] { FillList(); },
        .unload = [this] { window_.accept(); }};
    connect(
        lOpenProj_, &QPushButton::clicked, &window_, [this] { rules_.lOpenProj_Click(); }, Qt::QueuedConnection);
    // Looking into the projects takes a moment, in which the page should be there.
    QTimer::singleShot(kLayoutDelay, &window_, [this] { FillList(); });
}

void StartPageDialog::Impl::FillList() {
    qDeleteAll(rows_->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
    QLayout& list = *rows_->layout();
    while (QLayoutItem* item = list.takeAt(0)) delete item;
    for (const RecentRow& row : rules_.lProj()) {
        auto* const shown = new ProjectRow(row, Word("currentProj"));
        connect(
            shown, &ProjectRow::clicked, &window_, [this, number = row.number] { rules_.lProj_Click(number); },
            Qt::QueuedConnection);
        list.addWidget(shown);
        shown->show();  // or the first could not get the focus yet
    }
    const bool isEmpty = list.count() == 0;
    if (isEmpty) {
        auto* const nothing = new QLabel(Word("EmptyProjList"));
        nothing->setObjectName("EmptyProjList");
        nothing->setAlignment(Qt::AlignCenter);
        list.addWidget(nothing);
    } else {
        static_cast<QVBoxLayout&>(list).addStretch();
    }
    auto* const first = isEmpty ? static_cast<QWidget*>(lOpenProj_) : rows_->findChild<QWidget*>("lProj(1)");
    window_.findChild<QLabel*>("lRecentProjects")->setBuddy(first);
    if (!isOpening()) first->setFocus();
}

/// Not the window itself: that would disable the boxes of an opening as well.
void StartPageDialog::Impl::setEnabled(bool on) {
    if (!on) focus_ = window_.focusWidget();
    page_->setEnabled(on);
    window_.setAcceptDrops(on);
    if (on && focus_ != nullptr) focus_->setFocus();
}

void StartPageDialog::Impl::ReloadIcons() { lOpenProj_->setIcon(icons_.Named("open", window_.palette())); }

void StartPageDialog::Impl::ShowDragging(bool isProject) {
    lDrop_->setFrameStyle(isProject ? QFrame::Box | QFrame::Plain : QFrame::NoFrame);
    QFont font = lDrop_->font();
    font.setBold(isProject);
    lDrop_->setFont(font);
}

void StartPageDialog::Impl::Drop(const std::filesystem::path& dropped) {
    Later([this, dropped] { rules_.Drop(dropped); });
}

// -------------------------------------------------------------------------------------------------- StartPageDialog

StartPageDialog::StartPageDialog(StartPage& rules, World& world)
    : QDialog(nullptr, Qt::Window), impl_(std::make_unique<Impl>(*this, rules, world)) {
    setObjectName(kForm);
    setAcceptDrops(true);
    const QSize room = screen()->availableSize() - QSize(kSpace, 2 * kSpace);  // beside the window's own frame
    resize(kFirstSize.boundedTo(room));
}

StartPageDialog::~StartPageDialog() = default;

void StartPageDialog::reject() {
    if (!impl_->isOpening()) QDialog::reject();
}

void StartPageDialog::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (impl_ && (event->type() == QEvent::PaletteChange || event->type() == QEvent::ThemeChange)) impl_->ReloadIcons();
}

void StartPageDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1 && event->modifiers() == Qt::NoModifier)
        impl_->OpenManualPage();
    else
        QDialog::keyPressEvent(event);
}

void StartPageDialog::dragEnterEvent(QDragEnterEvent* event) {
    if (!DraggedProject(*event->mimeData())) return;
    event->acceptProposedAction();
    impl_->ShowDragging(true);
}

void StartPageDialog::dragLeaveEvent(QDragLeaveEvent* /*event*/) { impl_->ShowDragging(false); }

void StartPageDialog::dropEvent(QDropEvent* event) {
    impl_->ShowDragging(false);
    const auto project = DraggedProject(*event->mimeData());
    if (!project) return;
    event->acceptProposedAction();
    impl_->Drop(*project);
}

}  // namespace mirrane
