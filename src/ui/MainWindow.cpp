// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainWindow.h"

#include <QApplication>
#include <QByteArray>
#include <QCloseEvent>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QSplitter>
#include <QTextEdit>
#include <QTimer>
#include <QVBoxLayout>
#include <array>
#include <string>
#include <utility>

#include "editing/Commands.h"
#include "media/AudioImport.h"
#include "shell/Progress.h"
#include "ui/Dialogs.h"
#include "ui/EditorToolBar.h"
#include "ui/FileDialog.h"
#include "ui/Icons.h"
#include "ui/ManualLink.h"
#include "ui/RecAudioDialog.h"
#include "ui/SlideListWidget.h"
#include "ui/SlidePane.h"
#include "ui/TimelineView.h"
#include "ui/TransportBar.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmMixEditor";
constexpr char kSection[] = "editor window";
constexpr QSize kFirstSize{1280, 800};
constexpr int kFirstListWidth = 320;
constexpr std::chrono::milliseconds kLayoutDelay{50};
constexpr std::chrono::milliseconds kFrameInterval{100};
constexpr std::chrono::milliseconds kTouchInterval{2000};

enum class Command { None, Play, Save, Undo, Redo, Remove, Manual };

Command CommandOf(const QKeyEvent& key) {
    const bool isPlain = key.modifiers() == Qt::NoModifier || key.modifiers() == Qt::KeypadModifier;
    const bool isControl = key.modifiers() == Qt::ControlModifier;
    switch (key.key()) {
        case Qt::Key_Space:
            return isPlain ? Command::Play : Command::None;
        case Qt::Key_Delete:
            return isPlain ? Command::Remove : Command::None;
        case Qt::Key_F1:
            return isPlain ? Command::Manual : Command::None;
        case Qt::Key_S:
            return isControl ? Command::Save : Command::None;
        case Qt::Key_Z:
            return isControl ? Command::Undo : Command::None;
        case Qt::Key_Y:
            return isControl ? Command::Redo : Command::None;
        default:
            return Command::None;
    }
}

/// A text that can be typed into; one that is only read, like a page, has no use for the program's keys.
bool IsTextField(const QWidget* widget) {
    const auto* text = qobject_cast<const QTextEdit*>(widget);
    return qobject_cast<const QLineEdit*>(widget) != nullptr || (text != nullptr && !text->isReadOnly()) ||
           qobject_cast<const QPlainTextEdit*>(widget) != nullptr;
}

QString NameOfLecture(const EditorState& state) {
    const QString title = QString::fromStdString(state.gProject.title).simplified();
    const bool isLoaded = state.gGrid.Rows() > 0;  // else the title is that of any document
    return title.isEmpty() || !isLoaded ? QFile::decodeName(state.gProjectFolder.filename().c_str()) : title;
}

}  // namespace

class MainWindow::Impl {
public:
    Impl(MainWindow& window, WindowParts parts);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void Open();
    void Unload(QCloseEvent& event);
    void ReloadIcons();
    /// @returns whether the key was one of the window's
    bool PressKey(const QKeyEvent& key);

    Editor& editor() { return editor_; }
    [[nodiscard]] std::string AllFiles() const { return Word(kForm, "allFiles").toStdString(); }

private:
    EditorPorts Ports();
    void Wire();
    void BuildToolBar();
    void BuildPanes();
    void StartTimers();
    void Every(std::chrono::milliseconds interval, std::function<void()> tick);

    void OnChanged();
    void Refresh();
    void RefreshToolBar();
    void FollowSetPos();
    void setFormEnabled(bool on);
    void KeepFocus(const std::function<void()>& change);

    void RestoreLayout();
    void KeepLayout();
    [[nodiscard]] QByteArray Kept(const char* key) const;
    void Keep(const char* key, const QByteArray& value);

    [[nodiscard]] QString Word(const char* form, const char* key) const {
        return QString::fromStdString(GetResString(parts_.state.world, form, key)).replace("\r\n", "\n");
    }
    [[nodiscard]] IHost& Host() const { return parts_.state.world.host; }

    MainWindow& window_;
    WindowParts parts_;
    Icons icons_;
    ProgressWindow frmProgress_;
    ProgressWindow frmCreateThumb_;
    RecAudioWindow frmRecAudio_;
    Editor editor_;
    MainForm& form_;
    EditorToolBar* toolBar_ = nullptr;
    QSplitter* leftRight_ = nullptr;
    SlideListWidget* list_ = nullptr;
    SlidePane* slide_ = nullptr;
    TransportBar* transport_ = nullptr;
    TimelineView* timeline_ = nullptr;
    std::unique_ptr<JobDialog> progressDialog_;
    std::unique_ptr<JobDialog> thumbDialog_;
    QPointer<SetPosDialog> setPos_;
    QPointer<QWidget> focusLost_;  ///< had the focus until it was disabled
    bool isRefreshWanted_ = false;
    bool isFormEnabled_ = true;
};

// ----------------------------------------------------------------------------------------------------------- Coming up

MainWindow::Impl::Impl(MainWindow& window, WindowParts parts)
    : window_(window),
      parts_(std::move(parts)),
      icons_(parts_.state.world.host.ProgramFolder()),
      frmRecAudio_([this](const char* form, const char* key) { return Word(form, key); }, window),
      editor_(parts_.state, parts_.engine, parts_.player, parts_.check, Ports()),
      form_(editor_.form) {
    window_.setObjectName(kForm);
    window_.setWindowIcon(icons_.Application());
    BuildToolBar();
    BuildPanes();
    progressDialog_ = std::make_unique<JobDialog>(frmProgress_, "frmProgress", &window_);
    thumbDialog_ =
        std::make_unique<JobDialog>(frmCreateThumb_, "frmCreateThumb", &window_, Word("frmCreateThumb", "lThumb"));
    Wire();
}

MainWindow::Impl::~Impl() {
    form_.face = {};
    parts_.player.OnPicture({});
    parts_.player.OnCamera({});
    parts_.state.waveViews.Face(nullptr);
    parts_.user.SetWindow(nullptr);
    // They look at what goes with this, and the window's own children go later.
    delete setPos_;
    delete window_.takeCentralWidget();
}

EditorPorts MainWindow::Impl::Ports() {
    return {.frmProgress = frmProgress_,
            .frmCreateThumb = frmCreateThumb_,
            .openMediaFile = window_,
            .capture = parts_.capture,
            .frmRecAudio = frmRecAudio_,
            .post =
                [this](std::function<void()> later) {
                    QMetaObject::invokeMethod(&window_, std::move(later), Qt::QueuedConnection);
                },
            .exitNow =
                [this] {
                    KeepLayout();
                    parts_.exitNow();
                },
            .closed =
                [this] {
                    KeepLayout();
                    window_.hide();
                    parts_.closed();
                }};
}

void MainWindow::Impl::Wire() {
    form_.face.changed = [this] { OnChanged(); };
    form_.face.thumbnailsChanged = [this] { list_->ReloadThumbs(); };
    list_->OfferThumbnail(Word(kForm, "mnuThumbnail"), editor_.slideView);
    form_.face.popUpTrackMenu = [this](const TrackMenu& menu) { timeline_->PopUpTrackMenu(menu); };
    form_.face.showSetVol = [this] {
        ShowSetVol(
            parts_.state, [this](const char* form, const char* key) { return Word(form, key); }, &window_);
    };
    form_.face.showMsgLink = [this](const std::string& message) {
        ShowMsgLink(
            QString::fromStdString(message), ManualAddress(Host(), ManualPart::Whole),
            [this](const char* form, const char* key) { return Word(form, key); }, &window_);
    };
    parts_.state.waveViews.Face(timeline_);
    parts_.player.OnPicture([this](const qv::ShownPicture& picture) { slide_->Picture().Show(picture); });
    parts_.player.OnCamera([this](const qv::ShownPicture& picture) { slide_->Picture().ShowCamera(picture); });
    parts_.user.SetWindow(&window_);
}

void MainWindow::Impl::BuildToolBar() {
    const std::function<void()> openManual = [this] { OpenManual(Host(), ManualPart::Whole); };
    toolBar_ = new EditorToolBar(
        editor_, icons_, [this](const char* key) { return Word(kForm, key); },
        FindManual(Host(), ManualPart::Whole) ? openManual : nullptr);
    window_.addToolBar(toolBar_);
}

void MainWindow::Impl::BuildPanes() {
    const auto words = [this](const char* key) { return Word(kForm, key); };
    list_ = new SlideListWidget(editor_.edit);
    list_->setAccessibleName(words("ListView"));
    frmRecAudio_.StandOn(*list_);
    slide_ = new SlidePane(editor_, [this](const char* form, const char* key) { return Word(form, key); });
    transport_ = new TransportBar(editor_.edit, editor_.transport, icons_, words);
    timeline_ = new TimelineView(editor_.edit,
                                 {.importAudio = [this] { modAudioImport::cmdImportAudio_Click(editor_.media); },
                                  .recordAudio = [this] { editor_.recorder.cmdRecAudio_Click(); }},
                                 words);
    timeline_->ShowIcons(icons_);

    auto* player = new QWidget;
    auto* column = new QVBoxLayout(player);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(slide_, 1);
    column->addWidget(transport_);
    leftRight_ = new QSplitter(Qt::Horizontal);
    leftRight_->addWidget(list_);
    leftRight_->addWidget(player);
    leftRight_->setChildrenCollapsible(false);
    leftRight_->setStretchFactor(1, 1);
    leftRight_->setSizes({kFirstListWidth, kFirstSize.width() - kFirstListWidth});
    auto* all = new QWidget;
    auto* rows = new QVBoxLayout(all);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(leftRight_, 1);
    rows->addWidget(timeline_);
    window_.setCentralWidget(all);
}

void MainWindow::Impl::Open() {
    RestoreLayout();
    editor_.Form_Load();
    Refresh();
    window_.show();
    list_->setFocus();
    qApp->installEventFilter(&window_);
    StartTimers();
}

void MainWindow::Impl::StartTimers() {
    QTimer::singleShot(kLayoutDelay, &window_, [this] { editor_.tmrLayout_Timer(); });
    Every(kFrameInterval, [this] {
        // Nobody wants another slide behind a question; a take wants its picture to stop where the slide ends.
        const QWidget* modal = QApplication::activeModalWidget();
        if (modal == nullptr || dynamic_cast<const RecAudioDialog*>(modal) != nullptr)
            editor_.transport.TmrFrame_Timer();
    });
    Every(kFrameInterval, [this] { editor_.slideView.tmrThumbnail_Timer(); });
    Every(kTouchInterval, [this] { editor_.tmrTouchReg_Timer(); });
}

/// A tick that comes while the one before it still runs is left out.
void MainWindow::Impl::Every(std::chrono::milliseconds interval, std::function<void()> tick) {
    auto* timer = new QTimer(&window_);
    auto isRunning = std::make_shared<bool>(false);
    connect(timer, &QTimer::timeout, &window_, [tick = std::move(tick), isRunning] {
        if (std::exchange(*isRunning, true)) return;
        tick();
        *isRunning = false;
    });
    timer->start(interval);
}

// ------------------------------------------------------------------------------------------------------------ Showing

/// Who is kept out is told at once; all the rest once the logic has returned.
void MainWindow::Impl::OnChanged() {
    setFormEnabled(form_.IsFormEnabled());
    if (std::exchange(isRefreshWanted_, true)) return;
    QMetaObject::invokeMethod(
        &window_, [this] { Refresh(); }, Qt::QueuedConnection);
}

void MainWindow::Impl::Refresh() {
    isRefreshWanted_ = false;
    KeepFocus([this] {
        RefreshToolBar();
        transport_->Refresh();
        FollowEnabled(*list_, form_, Control::ListView);
    });
    list_->Refresh();
    slide_->Refresh();
    timeline_->Refresh();
    FollowSetPos();
}

void MainWindow::Impl::RefreshToolBar() {
    const bool isUnsaved = parts_.state.gHistory.CanUndo();
    toolBar_->Refresh(NameOfLecture(parts_.state) + (isUnsaved ? " *" : ""));
    window_.setWindowTitle(QString::fromStdString(form_.caption) + "[*]");
    window_.setWindowModified(isUnsaved);
}

void MainWindow::Impl::FollowSetPos() {
    if (form_.isSetPosOpen && setPos_ == nullptr) {
        setPos_ = new SetPosDialog(
            editor_.edit, [this](const char* form, const char* key) { return Word(form, key); }, &window_);
        setPos_->show();
    } else if (!form_.isSetPosOpen && setPos_ != nullptr) {
        setPos_->hide();
        setPos_->deleteLater();
        setPos_ = nullptr;
    }
}

/// Not the window itself: that would disable its dialogs as well.
void MainWindow::Impl::setFormEnabled(bool on) {
    if (std::exchange(isFormEnabled_, on) == on) return;
    while (!on && QApplication::activePopupWidget() != nullptr && QApplication::activePopupWidget()->close()) continue;
    KeepFocus([this, on] {
        toolBar_->setEnabled(on);
        window_.centralWidget()->setEnabled(on);
    });
    if (on) list_->ReloadThumbs();
}

/// Whoever loses the focus by being disabled gets it back, unless the user has moved on.
void MainWindow::Impl::KeepFocus(const std::function<void()>& change) {
    const QPointer<QWidget> before = window_.focusWidget();
    change();
    if (before != nullptr && !before->isEnabled()) focusLost_ = before;
    if (focusLost_ == nullptr || !focusLost_->isEnabled()) return;
    std::exchange(focusLost_, nullptr)->setFocus();
}

void MainWindow::Impl::ReloadIcons() {
    toolBar_->ReloadIcons();
    transport_->ReloadIcons();
}

// --------------------------------------------------------------------------------------------------------------- Keys

bool MainWindow::Impl::PressKey(const QKeyEvent& key) {
    const Command command = CommandOf(key);
    const QWidget* focus = window_.focusWidget();
    if (slide_->TakesKey(key) || command == Command::None || IsTextField(focus)) return false;
    // A button that was reached by the keyboard is pressed by it.
    if (command == Command::Play && qobject_cast<const QAbstractButton*>(focus) != nullptr) return false;
    if (key.isAutoRepeat() && command != Command::Undo && command != Command::Redo) return true;
    if (!form_.IsFormEnabled()) return true;
    switch (command) {
        case Command::Play:
            editor_.transport.cmdPlay_Click();
            break;
        case Command::Save:
            editor_.Save_Click();
            break;
        case Command::Undo:
            editor_.Undo_Click();
            break;
        case Command::Redo:
            editor_.Redo_Click();
            break;
        case Command::Remove:
            modCommands::mnuRemove_Click(editor_.edit);
            break;
        case Command::Manual:
            OpenManual(Host(), ManualPart::Whole);
            break;
        case Command::None:
            break;
    }
    return true;
}

// -------------------------------------------------------------------------------------------------------------- Going

void MainWindow::Impl::Unload(QCloseEvent& event) {
    const bool isAnswered = QApplication::activeModalWidget() == nullptr;
    event.setAccepted(isAnswered && editor_.Form_Unload());
}

void MainWindow::Impl::RestoreLayout() {
    window_.resize(kFirstSize);
    window_.restoreGeometry(Kept("geometry"));
    leftRight_->restoreState(Kept("slides"));
}

void MainWindow::Impl::KeepLayout() {
    Keep("geometry", window_.saveGeometry());
    Keep("slides", leftRight_->saveState());
}

QByteArray MainWindow::Impl::Kept(const char* key) const {
    return QByteArray::fromBase64(
        QByteArray::fromStdString(parts_.state.world.settings.Get(kSection, key).value_or("")));
}

void MainWindow::Impl::Keep(const char* key, const QByteArray& value) {
    parts_.state.world.settings.Set(kSection, key, value.toBase64().toStdString());
}

// ---------------------------------------------------------------------------------------------------------- MainWindow

MainWindow::MainWindow(WindowParts parts) : impl_(std::make_unique<Impl>(*this, std::move(parts))) {}

MainWindow::~MainWindow() = default;

void MainWindow::Open() { impl_->Open(); }

Editor& MainWindow::TheEditor() { return impl_->editor(); }

void MainWindow::closeEvent(QCloseEvent* event) { impl_->Unload(*event); }

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (impl_ && (event->type() == QEvent::PaletteChange || event->type() == QEvent::ThemeChange)) impl_->ReloadIcons();
}

/// Sees all events of the application; only keys of this window and what is in it are its own.
bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return false;
    const auto* widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || widget->window() != this) return false;
    return impl_->PressKey(*static_cast<QKeyEvent*>(event));
}

std::optional<std::filesystem::path> MainWindow::Choose(const std::string& title, const std::string& filter,
                                                        const std::filesystem::path& startFolder) {
    // What can be read is more than what has a name in the filter.
    return ChooseFile(this, title, filter + "|" + impl_->AllFiles() + "|*", startFolder);
}

}  // namespace mirrane
