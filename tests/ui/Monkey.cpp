// SPDX-License-Identifier: GPL-3.0-or-later
#include "Monkey.h"

#include <unistd.h>

#include <QAbstractButton>
#include <QFileDialog>
#include <QLoggingCategory>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QToolTip>
#include <array>
#include <atomic>
#include <csignal>
#include <deque>
#include <iostream>
#include <mutex>
#include <random>
#include <thread>

#include "MonkeyChecks.h"
#include "support/Basics.h"
#include "ui/TimelineCanvas.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace monkey {

using mirrane::CWaveSeg;
using mirrane::WindowOnProject;
using std::filesystem::path;
using namespace std::chrono_literals;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr auto kPatience = 60s;  ///< with whatever keeps the editor from resting
#else
constexpr auto kPatience = 15s;
#endif
constexpr auto kHang = 20s;  ///< without a turn of the event loop

/// What was done last, to be told when the process dies.
class Diary {
public:
    void Note(const std::string& deed) {
        const std::lock_guard lock(mutex_);
        lines_.at(next_++ % lines_.size()) = deed + '\n';
    }
    /// The oldest first.
    std::string Told() const {
        std::string told;
        for (std::size_t i = 0; i < lines_.size(); ++i) told += lines_.at((next_ + i) % lines_.size());
        return told + "(" + std::to_string(next_) + " deeds, seed " + std::to_string(seed) + ")\n";
    }
    [[nodiscard]] std::size_t Count() const { return next_; }

    unsigned seed = 0;

private:
    std::mutex mutex_;
    std::array<std::string, 200> lines_;
    std::size_t next_ = 0;
};

Diary& TheDiary() {
    static Diary diary;
    return diary;
}

void TellDiary() {
    const std::string told = TheDiary().Told();
    (void)!write(STDERR_FILENO, told.data(), told.size());
}

void TellDiaryAtDeath() {
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(TellDiary);
#else
    std::signal(SIGSEGV, [](int signal) {
        std::signal(signal, SIG_DFL);
        TellDiary();
    });
#endif
}

[[noreturn]] void Die(const std::string& why) {
    std::cerr << "The editor " << why << ".\n";
    TellDiary();
    std::signal(SIGABRT, SIG_DFL);
    std::abort();
}

/// Ends the process when the event loop does not turn any more.
class Watchdog {
public:
    Watchdog() : thread_([this] { Watch(); }) {}
    ~Watchdog() {
        isOver_ = true;
        thread_.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void Turn() { ++turns_; }

private:
    void Watch() {
        auto last = std::chrono::steady_clock::now();
        for (std::uint64_t seen = 0; !isOver_; std::this_thread::sleep_for(50ms)) {
            const auto now = std::chrono::steady_clock::now();
            if (const std::uint64_t turns = turns_; turns != seen) {
                seen = turns;
                last = now;
            }
            if (now - last > kHang) Die("hangs");
        }
    }

    std::atomic<std::uint64_t> turns_ = 0;
    std::atomic<bool> isOver_ = false;
    std::thread thread_;
};

class Monkey {
public:
    explicit Monkey(const Wish& wish) : wish_(wish), random_(wish.seed) { Open(); }
    std::string Run();

private:
    struct Deed {
        int weight;
        void (Monkey::*act)();
    };

    // The rounds.
    void Open();
    void Burst();
    std::string Rest();
    std::string Round(int round);
    void Step();
    void CalmDown();
    static const std::vector<Deed>& Deeds();

    // The deeds.
    void Click();
    void ClickTwice();
    void Press();
    void MoveMouse();
    void Release();
    void PressButton();
    void UseCanvas();
    void PlanCut();
    void PlanDrag();
    bool FollowPlan();
    void TypeKey();
    void TypeNumber();
    void TurnWheel();
    void MoveFocus();
    void ChangeWindow();
    void ChangeLook();
    void Close();
    void Terminate();
    void AnswerDialog(const QWidget& dialog);
    void AnswerFileDialog(QFileDialog& dialog);

    int Within(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
    bool Chance(int percent) { return Within(1, 100) <= percent; }
    template <typename List>
    auto& OneOf(const List& list) {
        return list[static_cast<std::size_t>(Within(0, static_cast<int>(std::size(list)) - 1))];
    }
    QWidget& SomeWindow();
    QWidget& SomeWidget(QWidget& window);
    QPoint SomePoint(const QWidget& widget);
    QPoint SomePointOfTimeline(const mirrane::TimelineCanvas& canvas);
    Qt::MouseButton SomeButton();
    void PressAt(QWidget& widget, QPoint at, Qt::MouseButton button);
    void ClickOn(QWidget& widget, QPoint at, Qt::MouseButton button, int times);
    void SendKey(int key, Qt::KeyboardModifiers modifiers, const QString& text, int times);
    void Note(const std::string& deed) { TheDiary().Note(std::to_string(depth_) + "  " + deed); }
    static std::string Named(const QWidget& widget) {
        const QString name = widget.objectName().isEmpty() ? widget.metaObject()->className() : widget.objectName();
        return (widget.window()->objectName() + "/" + name).toStdString();
    }

    Wish wish_;
    std::mt19937 random_;
    std::unique_ptr<WindowOnProject> on_;
    Watchdog watchdog_;
    QObject steps_;  ///< whom the next step waits for
    std::size_t until_ = 0;
    bool isCalm_ = true;
    int depth_ = 0;  ///< of deeds within deeds
    std::chrono::steady_clock::time_point calmSince_;
    QPointer<QWidget> held_;                  ///< where a button of the mouse is down
    std::deque<std::function<void()>> plan_;  ///< what is done next, unless something else comes to mind
    Qt::MouseButton heldButton_ = Qt::NoButton;
    QPoint mouse_;  ///< in its window
};

// ---------------------------------------------------------------------------------------------------------- The rounds

void Monkey::Open() {
    on_.reset();
    on_ = std::make_unique<WindowOnProject>(wish_.project, wish_.scratch);
}

std::string Monkey::Run() {
    const auto end = std::chrono::steady_clock::now() + wish_.time;
    Step();
    std::string fault;
    int round = 0;
    while (fault.empty() && std::chrono::steady_clock::now() < end) {
        Burst();
        fault = Rest();
        if (fault.empty()) fault = Round(++round);
    }
    if (fault.empty() && on_->state.gHistory.CanUndo()) {
        on_->window->TheEditor().Save_Click();
        fault = Rest();
        if (fault.empty() && on_->state.gHistory.CanUndo()) fault = "it cannot be saved";
    }
    if (fault.empty()) fault = Unopenable(wish_.project);
    std::cout << "seed " << wish_.seed << ": " << TheDiary().Count() << " deeds, " << round << " rounds\n";
    return fault.empty() ? fault : fault + " after\n" + TheDiary().Told();
}

void Monkey::Burst() {
    until_ = TheDiary().Count() + 300;
    isCalm_ = false;
    while (!isCalm_) on_->user.Sleep(5ms);
}

/// Whatever is open is closed, and whoever works comes to an end.
std::string Monkey::Rest() {
    std::string unrest;
    do {
        on_->user.Sleep(20ms);
        mirrane::Editor& editor = on_->window->TheEditor();
        if (editor.transport.IsPlaying()) editor.transport.cmdPlay_Click();
        unrest = on_->ends.empty() ? Unrest(*on_) : std::string();
    } while (!unrest.empty() && std::chrono::steady_clock::now() - calmSince_ < kPatience);
    on_->user.Sleep(20ms);
    return unrest.empty() ? unrest : "it does not come to rest: " + unrest;
}

std::string Monkey::Round(int round) {
    if (!on_->ends.empty()) {
        Note("made anew: " + on_->ends);
        const std::string fault = Unopenable(wish_.project);
        if (!fault.empty()) return fault;
        plan_.clear();
        Open();
    }
    std::string fault = Unsound(*on_);
    if (fault.empty() && round % 3 == 0) fault = Unplayable(*on_);
    if (fault.empty() && round % 4 == 0) fault = Unrepeatable(*on_);
    return fault;
}

/// The next step is on its way before this one is taken, since this one may wait for an answer.
void Monkey::Step() {
    QTimer::singleShot(Within(0, 3), &steps_, [this] { Step(); });
    watchdog_.Turn();
    if (on_ == nullptr) return;
    if (isCalm_) return CalmDown();
    if (TheDiary().Count() >= until_ || !on_->ends.empty()) {
        isCalm_ = true;
        calmSince_ = std::chrono::steady_clock::now();
        return;
    }
    if (on_->state.gIsSeeking && Chance(60)) return;
    ++depth_;
    if (auto* files = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
        AnswerFileDialog(*files);
    } else if (QApplication::activeModalWidget() != nullptr && Chance(30)) {
        AnswerDialog(*QApplication::activeModalWidget());
    } else if (Chance(70) && FollowPlan()) {
    } else if (held_ != nullptr && Chance(70)) {
        Chance(80) ? MoveMouse() : Release();
    } else {
        std::vector<int> weights;
        for (const Deed& deed : Deeds()) weights.push_back(deed.weight);
        (this->*Deeds()[std::discrete_distribution<std::size_t>(weights.begin(), weights.end())(random_)].act)();
    }
    --depth_;
}

const std::vector<Monkey::Deed>& Monkey::Deeds() {
    static const std::vector<Deed> deeds = {
        {200, &Monkey::Click},     {30, &Monkey::ClickTwice},   {60, &Monkey::Press},      {60, &Monkey::MoveMouse},
        {60, &Monkey::Release},    {250, &Monkey::PressButton}, {400, &Monkey::UseCanvas}, {200, &Monkey::TypeKey},
        {60, &Monkey::TypeNumber}, {60, &Monkey::TurnWheel},    {40, &Monkey::MoveFocus},  {15, &Monkey::ChangeWindow},
        {80, &Monkey::PlanCut},    {80, &Monkey::PlanDrag},     {4, &Monkey::ChangeLook},  {1, &Monkey::Close},
        {1, &Monkey::Terminate},
    };
    return deeds;
}

void Monkey::CalmDown() {
    if (std::chrono::steady_clock::now() - calmSince_ > 2 * kPatience && depth_ > 0)
        Die("does not come back to its event loop, " + std::to_string(depth_) + " deep");
    if (held_ != nullptr) return Release();
    if (QWidget* popup = QApplication::activePopupWidget()) {
        popup->close();
    } else if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
        for (const auto button : {QMessageBox::Cancel, QMessageBox::No, QMessageBox::Ok})
            if (box->button(button) != nullptr) return box->button(button)->click();
    } else if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
        dialog->reject();
    } else if (on_->ends.empty() && (!on_->window->isVisible() || on_->window->width() != 1000)) {
        on_->window->showNormal();
        on_->window->resize(1000, 700);
    }
}

// ----------------------------------------------------------------------------------------------------------- The deeds

QWidget& Monkey::SomeWindow() {
    if (QApplication::activePopupWidget() != nullptr && Chance(80)) return *QApplication::activePopupWidget();
    if (QApplication::activeModalWidget() != nullptr && Chance(80)) return *QApplication::activeModalWidget();
    auto* position = on_->window->findChild<QDialog*>("frmMixSetPos");
    return position != nullptr && Chance(40) ? static_cast<QWidget&>(*position) : *on_->window;
}

QWidget& Monkey::SomeWidget(QWidget& window) {
    std::vector<QWidget*> seen{&window};
    for (QWidget* widget : window.findChildren<QWidget*>())
        if (widget->isVisible() && widget->window() == &window) seen.push_back(widget);
    return *OneOf(seen);
}

QPoint Monkey::SomePoint(const QWidget& widget) {
    return {Within(0, std::max(widget.width() - 1, 0)), Within(0, std::max(widget.height() - 1, 0))};
}

/// Mostly on or beside an edge.
QPoint Monkey::SomePointOfTimeline(const mirrane::TimelineCanvas& canvas) {
    const mirrane::MainForm& form = on_->window->TheEditor().form;
    QPoint at = SomePoint(canvas);
    if (Chance(40)) return at;
    std::vector<int> edges{form.picLine};
    for (const CWaveSeg* seg : canvas.ShownSegs()) edges.insert(edges.end(), {seg->Left(), seg->Left() + seg->Width()});
    at.setX(std::clamp(OneOf(edges) - form.hScrWave.Value + Within(-2, 2), 0, std::max(canvas.width() - 1, 0)));
    return at;
}

Qt::MouseButton Monkey::SomeButton() {
    return Chance(75) ? Qt::LeftButton : Chance(70) ? Qt::RightButton : Qt::MiddleButton;
}

void Monkey::PressAt(QWidget& widget, QPoint at, Qt::MouseButton button) {
    QWidget* window = widget.window();
    if (held_ != nullptr || !window->isVisible() || window->windowHandle() == nullptr) return;
    held_ = window;
    heldButton_ = button;
    mouse_ = widget.mapTo(window, at);
    QTest::mousePress(window->windowHandle(), button, {}, mouse_);
}

void Monkey::ClickOn(QWidget& widget, QPoint at, Qt::MouseButton button, int times) {
    const QPointer<QWidget> target = &widget;
    Note("click " + Named(widget) + " " + std::to_string(at.x()) + "," + std::to_string(at.y()) + " button " +
         std::to_string(button) + " x" + std::to_string(times));
    for (; times > 0 && target != nullptr; --times) {
        PressAt(*target, at, button);
        Release();
    }
}

void Monkey::Click() {
    QWidget& widget = SomeWidget(SomeWindow());
    ClickOn(widget, SomePoint(widget), SomeButton(), Chance(5) ? 10 : 1);
}

void Monkey::ClickTwice() {
    QWidget& widget = SomeWidget(SomeWindow());
    if (held_ != nullptr || !widget.window()->isVisible()) return;
    Note("double click " + Named(widget));
    QTest::mouseDClick(widget.window()->windowHandle(), SomeButton(), {},
                       widget.mapTo(widget.window(), SomePoint(widget)));
}

void Monkey::Press() {
    QWidget& widget = SomeWidget(SomeWindow());
    Note("press " + Named(widget));
    PressAt(widget, SomePoint(widget), SomeButton());
}

void Monkey::MoveMouse() {
    QWidget& window = held_ != nullptr ? *held_ : SomeWindow();
    if (!window.isVisible() || window.windowHandle() == nullptr) return;
    mouse_ = held_ != nullptr && Chance(70) ? mouse_ + QPoint(Within(-30, 30), Within(-5, 5)) : SomePoint(window);
    Note("move " + std::to_string(mouse_.x()) + "," + std::to_string(mouse_.y()));
    QTest::mouseMove(window.windowHandle(), mouse_);
}

void Monkey::Release() {
    if (held_ == nullptr) return;
    QWidget* const window = std::exchange(held_, nullptr);
    QWindow* const target = window->windowHandle() != nullptr ? window->windowHandle() : on_->window->windowHandle();
    QTest::mouseRelease(target, heldButton_, {}, mouse_);
}

void Monkey::PressButton() {
    constexpr std::array kNames = {"Save",      "Undo",           "Redo",           "cmdImportAudio", "cmdPlay",
                                   "cmdPlay",   "cmdStop",        "cmdPrev",        "cmdNext",        "lPlayInfo",
                                   "chkAuto",   "cmdVolUp",       "cmdVolDown",     "cmdZoomIn",      "cmdZoomOut",
                                   "cmdZoomIn", "cmdImportAudio", "imgTrackPanel0", "imgTrackPanel1", "ProgCtrl"};
    const char* name = OneOf(kNames);
    auto& button = *on_->window->findChild<QWidget*>(name);
    if (wish_.sound.empty() && std::string_view(name) == "cmdImportAudio") return;
    ClickOn(button, SomePoint(button), Qt::LeftButton, Chance(5) ? 10 : 1);
}

void Monkey::UseCanvas() {
    if (QMenu* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget()); menu != nullptr && Chance(85)) {
        const QAction& entry = *OneOf(menu->actions());
        Note("choose " + entry.objectName().toStdString());
        return ClickOn(*menu, menu->actionGeometry(const_cast<QAction*>(&entry)).center(), Qt::LeftButton, 1);
    }
    auto& canvas = *on_->window->findChild<mirrane::TimelineCanvas*>("picTrackGroup");
    const QPoint at = SomePointOfTimeline(canvas);
    if (Chance(40)) return ClickOn(canvas, at, SomeButton(), Chance(5) ? 2 : 1);
    if (Chance(50)) return ClickOn(canvas, at, Qt::RightButton, 1);
    Note("press timeline " + std::to_string(at.x()) + "," + std::to_string(at.y()));
    PressAt(canvas, at, SomeButton());
}

/// Goes to a place of the ruler, and cuts, removes or otherwise treats what lies under it.
void Monkey::PlanCut() {
    auto* canvas = on_->window->findChild<mirrane::TimelineCanvas*>("picTrackGroup");
    const std::vector<const CWaveSeg*> segs = canvas->ShownSegs();
    if (segs.empty() || !plan_.empty()) return;
    const QRect seg = canvas->PlaceOfSeg(*OneOf(segs)).intersected(canvas->rect());
    const int x = Within(seg.left(), std::max(seg.right(), seg.left()));
    const int y = seg.center().y();
    Release();
    plan_ = {[this, canvas, x] {
                 ClickOn(*canvas, {x, 5}, Qt::LeftButton, 1);
             },
             [this, canvas, x, y] {
                 ClickOn(*canvas, {x + Within(-9, 9), y}, Qt::RightButton, 1);
             },
             [this] {
                 auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
                 if (menu == nullptr) return;
                 QAction* entry = menu->actions().at(Chance(70) ? 0 : 1);
                 ClickOn(*menu, menu->actionGeometry(entry).center(), Qt::LeftButton, 1);
             }};
}

void Monkey::PlanDrag() {
    auto* canvas = on_->window->findChild<mirrane::TimelineCanvas*>("picTrackGroup");
    if (!plan_.empty()) return;
    Release();
    plan_ = {[this, canvas] {
        const std::vector<const CWaveSeg*> segs = canvas->ShownSegs();
        if (segs.empty()) return;
        Note("drag");
        PressAt(*canvas, canvas->PlaceOfSeg(*OneOf(segs)).center(), Qt::LeftButton);
    }};
    for (int moves = Within(0, 3); moves > 0; --moves)
        plan_.emplace_back([this] {
            mouse_ += QPoint(Within(-200, 200), 0);
            if (held_ != nullptr) QTest::mouseMove(held_->windowHandle(), mouse_);
        });
    plan_.emplace_back([this] { Release(); });
}

/// @returns false when there is nothing to do next, or the editor would not hear of it now
bool Monkey::FollowPlan() {
    const mirrane::EditContext& edit = on_->window->TheEditor().edit;
    const bool isBlocked = edit.state.gIsBusy() || QApplication::activeModalWidget() != nullptr;
    if (plan_.empty() || isBlocked) return false;
    const std::function<void()> next = std::move(plan_.front());
    plan_.pop_front();
    next();
    return true;
}

void Monkey::SendKey(int key, Qt::KeyboardModifiers modifiers, const QString& text, int times) {
    if (QGuiApplication::focusWindow() == nullptr) SomeWindow().activateWindow();
    for (int i = 0; i < times; ++i)
        for (const bool isDown : {true, false})
            if (QPointer<QWindow> window = QGuiApplication::focusWindow(); window != nullptr)
                QTest::simulateEvent(window.data(), isDown, key, modifiers, text, i > 0);
}

void Monkey::TypeKey() {
    constexpr std::array kKeys = {Qt::Key_Space,  Qt::Key_Delete, Qt::Key_S,     Qt::Key_Z,    Qt::Key_Y,
                                  Qt::Key_Menu,   Qt::Key_Tab,    Qt::Key_Up,    Qt::Key_Down, Qt::Key_Left,
                                  Qt::Key_Right,  Qt::Key_A,      Qt::Key_Home,  Qt::Key_End,  Qt::Key_PageDown,
                                  Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Menu, Qt::Key_Backspace,
                                  Qt::Key_F10,    Qt::Key_Escape};
    const Qt::Key key = OneOf(kKeys);
    const bool isLetter = key >= Qt::Key_A && key <= Qt::Key_Z;
    Qt::KeyboardModifiers modifiers = isLetter ? Qt::ControlModifier : Qt::NoModifier;
    if (Chance(10)) modifiers ^= OneOf(std::array{Qt::ShiftModifier, Qt::ControlModifier, Qt::AltModifier});
    const int times = Chance(5) ? 8 : 1;
    Note("key " + QKeySequence(key | modifiers).toString().toStdString() + " x" + std::to_string(times));
    SendKey(key, modifiers, key == Qt::Key_Space ? " " : QString(), times);
}

void Monkey::TypeNumber() {
    const QString text = OneOf(std::array{"0", "1", "7", "59", "150", "-5", "99999999999", "x", "", "0.5"});
    Note("type " + text.toStdString());
    for (const QChar letter : text) SendKey(letter.toUpper().unicode(), {}, letter, 1);
}

void Monkey::TurnWheel() {
    QWidget& window = SomeWindow();
    QWidget& widget =
        Chance(60) ? *on_->window->findChild<mirrane::TimelineCanvas*>("picTrackGroup") : SomeWidget(window);
    if (QApplication::activeModalWidget() != nullptr && widget.window() != QApplication::activeModalWidget()) return;
    const QPointF at(SomePoint(widget));
    const Qt::KeyboardModifiers modifiers = Chance(50) ? Qt::ControlModifier : Qt::NoModifier;
    Note("wheel " + Named(widget));
    QWheelEvent event(at, widget.mapToGlobal(at), QPoint(Chance(20) ? Within(-50, 50) : 0, 0),
                      QPoint(0, Within(-3, 3) * 120), Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

void Monkey::MoveFocus() {
    QWidget& widget = SomeWidget(SomeWindow());
    Note("focus " + Named(widget));
    Chance(30) ? widget.window()->activateWindow()
               : widget.setFocus(OneOf(std::array{Qt::TabFocusReason, Qt::MouseFocusReason, Qt::OtherFocusReason}));
}

void Monkey::ChangeWindow() {
    Note("window");
    QWidget& window = *on_->window;
    switch (Within(0, 5)) {
        case 0:
            return window.showMinimized();
        case 1:
            return window.showMaximized();
        case 2:
            return window.hide();
        case 3:
            return window.resize(1, 1);
        default:
            window.showNormal();
            window.resize(Within(100, 2000), Within(100, 1200));
    }
}

void Monkey::ChangeLook() {
    Note("look");
    if (Chance(40)) return QApplication::setPalette(QPalette(QColor(Within(0, 255), Within(0, 255), Within(0, 255))));
    if (Chance(70)) {
        QFont font = QApplication::font();
        font.setPointSize(Within(6, 30));
        return QApplication::setFont(font);
    }
    QEvent language(QEvent::LanguageChange);
    QApplication::sendEvent(on_->window.get(), &language);
}

void Monkey::Close() {
    Note("close");
    on_->window->close();
}

/// As a signal does, at any time.
void Monkey::Terminate() {
    if (Chance(75)) return;
    Note("terminate");
    on_->window->TheEditor().Terminate();
}

void Monkey::AnswerDialog(const QWidget& dialog) {
    const auto buttons = dialog.findChildren<QAbstractButton*>();
    if (buttons.empty()) return;
    QAbstractButton& button = *OneOf(buttons);
    ClickOn(button, button.rect().center(), Qt::LeftButton, 1);
}

/// The one dialog that could do harm outside of the project.
void Monkey::AnswerFileDialog(QFileDialog& dialog) {
    const bool accepts = Chance(60);
    Note(accepts ? "choose the sound" : "choose no sound");
    if (accepts) dialog.selectFile(QString::fromStdString(Chance(90) ? wish_.sound : "/nowhere.wav"));
    accepts ? static_cast<QDialog&>(dialog).accept() : dialog.reject();
}

}  // namespace

std::string LetLoose(const Wish& wish) {
    const QPalette palette = QApplication::palette();
    const QFont font = QApplication::font();
    TheDiary().seed = wish.seed;
    TellDiaryAtDeath();
    QLoggingCategory::setFilterRules("qt.qpa.*=false\n*.warning=false");
    const std::string fault = Monkey(wish).Run();
    QApplication::setPalette(palette);
    QApplication::setFont(font);
    return fault;
}

int RunMonkey(const path& project, std::chrono::milliseconds time, unsigned seed) {
    const path scratch = std::filesystem::temp_directory_path() / ("monkey-" + std::to_string(getpid()));
    create_directories(scratch);
    copy(project, scratch / "project", std::filesystem::copy_options::recursive);
    const path sound = scratch / "sound.wav";
    support::Output("ffmpeg -v error -f lavfi -i sine=duration=3 " + support::Quoted(sound));
    const std::string fault = LetLoose({scratch / "project", scratch, seed, time, sound});
    std::cout << (fault.empty() ? "All is well\n" : fault);
    if (!fault.empty()) return EXIT_FAILURE;
    remove_all(scratch);
    return EXIT_SUCCESS;
}

}  // namespace monkey
