// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Dialogs.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDeadlineTimer>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QScrollBar>
#include <QTimer>
#include <map>
#include <sstream>

#include <tuple>

#include "doubles/Editing.h"
#include "ui/Language.h"
#include "ui/QtUser.h"

namespace mirrane {
namespace {

void Press(QWidget* widget, int key, const QString& text = {}) {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier, text);
        QApplication::sendEvent(widget, &event);
    }
}

/// Each word is a key, a click on a button, a step of the bar, or letters to type. They go where the focus is.
void Do(QWidget& dialog, const std::string& script) {
    static const std::map<std::string, Qt::Key> kKeys = {
        {"<Up>", Qt::Key_Up},     {"<Down>", Qt::Key_Down}, {"<Enter>", Qt::Key_Return}, {"<Escape>", Qt::Key_Escape},
        {"<Home>", Qt::Key_Home}, {"<Tab>", Qt::Key_Tab},   {"<Delete>", Qt::Key_Delete}};
    std::istringstream words(script);
    for (std::string word; words >> word;) {
        QWidget* const focus = dialog.focusWidget() != nullptr ? dialog.focusWidget() : &dialog;
        if (kKeys.contains(word))
            Press(focus, kKeys.at(word));
        else if (auto* const button = dialog.findChild<QAbstractButton*>(word.c_str()))
            button->click();
        else if (word == "BarUp")
            dialog.findChild<QScrollBar*>("VScroll")->triggerAction(QAbstractSlider::SliderSingleStepSub);
        else
            for (const QChar letter : QString::fromStdString(word)) Press(focus, 0, letter);
    }
}

WordsOfForms WordsOf(World& world) {
    return [&world](const char* form, const char* key) {
        return QString::fromStdString(GetResString(world, form, key, std::string("no ") + key));
    };
}

/// The box, the bar, what is handed over, whether the dialog is still there, and the messages, behind a volume of 100.
TEST(SetVolDialog, KeysAndClicks) {
    const std::map<std::string, std::string> cases = {
        {"150", "150 9849 100 open "},
        {"<Delete>", " 9899 100 open "},
        {"<Up> <Down> <Down>", "75 9924 100 open "},
        {"BarUp", "125 9874 100 open "},
        {"12000 <Enter>", "9999 0 100 open "},
        {"30 <Enter> 5", "5 9994 100 open "},
        {"12000 cmdOK", "12000 0 12000 closed "},
        {"30 <Tab> <Tab> <Enter>", "30 9969 30 closed "},
        {"1x cmdOK 7 cmdOK", "7 9992 7 closed Invalid input value!"},
        {"150 <Escape>", "150 9849 100 closed "},
    };
    for (const auto& [script, expected] : cases) {
        doubles::World doubled;
        EditorState state(doubled.world);
        std::ostringstream seen;
        QTimer user;
        QObject::connect(&user, &QTimer::timeout, &user, [&, &script = script] {
            QWidget* const shown = QApplication::activeModalWidget();
            const auto* const box = shown != nullptr ? shown->findChild<QLineEdit*>("txtVolPct") : nullptr;
            if (box == nullptr || !box->hasSelectedText()) return;  // it has not come up yet
            user.stop();
            QWidget& dialog = *shown;
            Do(dialog, script);
            seen << dialog.findChild<QLineEdit*>("txtVolPct")->text().toStdString() << ' '
                 << dialog.findChild<QScrollBar*>("VScroll")->value() << ' ' << state.gVolDialogValue
                 << (dialog.isVisible() ? " open " : " closed ");
            dialog.close();
        });
        user.start(std::chrono::milliseconds(5));
        ShowSetVol(state, WordsOf(doubled.world), nullptr);
        for (const MessageBox& box : doubled.user.boxes) seen << box.text;
        EXPECT_EQ(seen.str(), expected) << script;
    }
}

/// The fields, what the transport was told, and the messages, at 0:01:01.5 of a slide that begins at 64 s.
TEST(SetPosDialog, KeysAndClicks) {
    const std::map<std::string, std::string> cases = {
        {"", "0:01:01.5 "},
        {"75", "0:01:7.5 "},
        {"5 <Home> 9 1", "0:01:15.5 "},
        {"x -", "0:01:01.5 "},
        {"<Up> <Up>", "0:01:03.5 "},
        {"VScrollUp VScrollDown VScrollDown", "0:01:00.5 "},
        {"<Tab> 9 VScrollUp", "0:01:01.9 "},
        {"<Delete> <Enter>", "0:01:00.5 Seek:124544 "},
        {"59 <Tab> 9 cmdSet", "0:01:01.5 Out of range!"},
        {"<Escape>", "0:01:01.5 closed "},
    };
    for (const auto& [script, expected] : cases) {
        doubles::Editing editing("0-64000 64000-180000");
        editing.Show(2);
        editing.transport.position = 125500;
        editing.form.isSetPosOpen = true;
        SetPosDialog dialog(editing.ctx, WordsOf(editing.ctx.world()), nullptr);
        editing.form.face.changed = [&] { editing.transport.told += editing.form.isSetPosOpen ? "" : "closed "; };
        dialog.show();
        const auto* const seconds = dialog.findChild<QLineEdit*>("txtTime(2)");
        const QDeadlineTimer deadline(5000);
        while (dialog.focusWidget() != seconds && !deadline.hasExpired()) QApplication::processEvents();
        Do(dialog, script);
        const auto field = [&](int i) { return dialog.findChild<QLineEdit*>(QString("txtTime(%1)").arg(i))->text(); };
        const QString time = field(0) + ":" + field(1) + ":" + field(2) + "." + field(3) + " ";
        std::string seen = time.toStdString() + editing.transport.told;
        for (const MessageBox& box : editing.user.boxes) seen += box.text;
        EXPECT_EQ(seen, expected) << script;
    }
}

TEST(JobDialog, StaysUntilTheJobHasEnded) {
    ProgressWindow rules;
    for (const QString lThumb : {"", "Please wait"}) {
        JobDialog dialog(rules, "frmProgress", nullptr, lThumb);
        EXPECT_FALSE(dialog.isVisible());
        rules.Init("Saving", "0%");
        rules.Set(40, "40%");
        EXPECT_FALSE(dialog.close());
        Do(dialog, "<Escape>");
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(dialog.windowTitle(), lThumb.isEmpty() ? "Saving" : "40%");
        EXPECT_EQ(dialog.findChild<QLabel*>()->text(), lThumb.isEmpty() ? "40%" : lThumb);
        EXPECT_EQ(dialog.findChild<QProgressBar*>()->value(), 40);
        rules.Finish();
        EXPECT_FALSE(dialog.isVisible());
    }
    rules.Init("Nobody", "looks");
}

struct PaintCount final : QObject {
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        paints += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
    int paints = 0;
};

TEST(StatusWindow, IsPaintedBeforeWhatBlocks) {
    StatusWindow window;
    auto* const lStatus = window.findChild<QLabel*>("lStatus");
    PaintCount count;
    lStatus->installEventFilter(&count);
    for (const char* text : {"Opening", "Preparing the audio device. Please wait, this is a long line of it."}) {
        count.paints = 0;
        window.ShowText(text);
        EXPECT_GT(count.paints, 0);
        EXPECT_EQ(lStatus->text(), text);
        EXPECT_GE(lStatus->width(), lStatus->sizeHint().width()) << "cut off";
    }
}

TEST(MsgLink, HasALinkWhereThereIsSomethingToOpen) {
    doubles::World doubled;
    for (const QUrl& address : {QUrl("file:///help/index.html"), QUrl()}) {
        std::string seen;
        QTimer user;
        QObject::connect(&user, &QTimer::timeout, &user, [&seen] {
            QWidget* const shown = QApplication::activeModalWidget();
            if (shown == nullptr) return;
            seen = shown->findChild<QLabel*>("lMsg")->text().toStdString();
            if (shown->findChild<QAbstractButton*>("lLink") != nullptr) seen += " link";
            Do(*shown, "cmdOK");
        });
        user.start(std::chrono::milliseconds(5));
        ShowMsgLink("Install it", address, WordsOf(doubled.world), nullptr);
        EXPECT_EQ(seen, address.isEmpty() ? "Install it" : "Install it link");
    }
}

TEST(MessageBoxes, TellTheirKindAndSpeakTheLanguageOfTheTexts) {
    const std::tuple<std::string, mirrane::MessageBox, QMessageBox::Icon, const char*> cases[] = {
        {"de", {.text = "?", .buttons = Buttons::YesNo}, QMessageBox::Question, "&Ja &Nein "},
        {"", {.text = "!"}, QMessageBox::Information, "OK "},
        {"zh-TW", {.text = "!!", .buttons = Buttons::OkCancel, .isFailure = true}, QMessageBox::Warning, "確定 取消 "}};
    for (const auto& [language, box, icon, buttons] : cases) {
        SpeakLanguage(language);
        QtUser asker;
        QTimer user;
        QObject::connect(&user, &QTimer::timeout, &user, [icon = icon, buttons = buttons] {
            auto* const shown = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (shown == nullptr) return;
            EXPECT_EQ(shown->icon(), icon);
            QString words;
            for (const QAbstractButton* button : shown->buttons()) words += button->text() + " ";
            EXPECT_EQ(words, buttons);
            shown->done(0);
        });
        user.start(std::chrono::milliseconds(5));
        (void)asker.Ask(box);
    }
    SpeakLanguage("");
}

}  // namespace
}  // namespace mirrane
