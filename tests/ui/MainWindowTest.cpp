// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainWindow.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QStackedLayout>
#include <QTimer>
#include <QToolButton>

#include "WindowOnProject.h"
#include "editing/Commands.h"
#include "frame/TwoSlides.h"
#include "ui/ProgSlider.h"
#include "ui/SlideListWidget.h"
#include "ui/SlidePane.h"

namespace mirrane {

using std::filesystem::path;

/// The window on a project of two slides of 3 s, a page, and one that is not there.
struct MainWindowOnSlides : testing::Test {
    MainWindowOnSlides() : project(MakeTwoSlides(base)) {
        const std::string row = "<item><title>t</title><recdate>d</recdate><pos>-1</pos><url>";
        const std::string rows = row + "html/a.html</url></item>" + row + "none/a.html</url></item>";
        const path document = project / "project.qvp";
        Disk().Write(document, ReplaceAll(ReadFile(document), "</index>", rows + "</index>"));
        create_directory(project / "html");
        Disk().Write(project / "html/a.html", "<p>Page</p>");
        on = std::make_unique<WindowOnProject>(project, base / "temp");
    }

    template <typename Widget = QToolButton>
    Widget& Find(const char* name) {
        return *on->window->findChild<Widget*>(name);
    }
    void Click(const char* name) {
        ClickAt(Find(name), Find(name).rect().center());
        on->Settle();
    }
    void Choose(int row) {
        auto& list = Find<SlideListWidget>("ListView");
        ClickAt(*list.viewport(), list.visualItemRect(list.item(row - 1)).center());
        on->Settle();
    }
    /// To whatever has the focus, as a keyboard does.
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QWidget* focus = on->window->focusWidget();
        PressKey(focus != nullptr ? *focus : *on->window, key, modifiers);
        on->Settle();
    }
    void SplitAt(Ms ms) {
        on->window->TheEditor().transport.SeekInSlide(ms);
        on->Settle();
        modCommands::mnuSplit_Click(on->window->TheEditor().edit);
        on->Settle();
    }
    /// Closes the window, and presses a button in the box that comes up. @returns whether one came
    bool CloseAnswering(QMessageBox::StandardButton button) {
        bool isAsked = false;
        QTimer watcher;
        QObject::connect(&watcher, &QTimer::timeout, [&isAsked, button] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (box == nullptr) return;
            isAsked = true;
            box->button(button)->click();
        });
        watcher.start(10);
        on->window->close();
        on->Settle();
        return isAsked;
    }
    int Segments() const { return on->state.gWaveTrack[0].Count(); }

    const path base = support::TestFolder();
    const path project;
    std::unique_ptr<WindowOnProject> on;
};

TEST_F(MainWindowOnSlides, FollowsTheListPlaysUndoesAndSaves) {
    EXPECT_EQ(on->window->focusWidget(), &Find<QWidget>("ListView"));
    Choose(2);
    EXPECT_EQ(on->state.gGrid.CurrIndex(), 2);
    EXPECT_TRUE(Find("cmdNext").isEnabled() && Find("cmdPrev").isEnabled());
    EXPECT_EQ(Find("lPlayInfo").text(), "0:00:00.0 / 0:00:03.0");
    EXPECT_EQ(on->window->focusWidget(), &Find<QWidget>("ListView"));
    const QString play = Find("cmdPlay").text();
    Press(Qt::Key_Space);
    EXPECT_EQ(on->player->State(), qv::PlayState::Playing);
    EXPECT_NE(Find("cmdPlay").text(), play);
    on->Settle([this] { return Find<ProgSlider>("ProgCtrl").value() > 0; });
    EXPECT_GT(Find<ProgSlider>("ProgCtrl").value(), 0);
    Press(Qt::Key_Space);
    EXPECT_TRUE(on->player->State() == qv::PlayState::Paused && Find("cmdPlay").text() == play);

    EXPECT_FALSE(Find("Save").isEnabled());
    SplitAt(1000);
    EXPECT_TRUE(Segments() == 3 && on->window->isWindowModified() && Find("Undo").isEnabled());
    Press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(Segments() == 2 && !on->window->isWindowModified());
    Press(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(Segments(), 3);
    const auto before = last_write_time(project / "media.qv");
    Click("Save");
    EXPECT_NE(last_write_time(project / "media.qv"), before);
    EXPECT_FALSE(Find("Save").isEnabled() || on->window->isWindowModified());
    EXPECT_EQ(on->window->focusWidget(), &Find<QWidget>("ListView"));
}

TEST_F(MainWindowOnSlides, OffersInTheToolBarWhatTheMenuOffers) {
    const auto offered = [this] {
        std::string names;
        for (const char* name : {"Split", "Remove", "Volume"}) names += Find(name).isEnabled() ? name : "-";
        return names;
    };
    auto& canvas = Find<QWidget>("picTrackGroup");
    constexpr int kTrack1 = 50;
    constexpr int kTrack2 = 100;
    ClickAt(canvas, {canvas.width() - 5, kTrack2});
    on->Settle();
    EXPECT_EQ(offered(), "---");
    ClickAt(canvas, {5, kTrack1});
    on->Settle();
    EXPECT_EQ(offered(), "-RemoveVolume");
    on->window->TheEditor().transport.SeekInSlide(1024);
    on->Settle();
    EXPECT_EQ(offered(), "SplitRemoveVolume");
    Click("Split");
    EXPECT_EQ(Segments(), 2);
    ClickAt(canvas, {5, kTrack1});
    on->Settle();
    Click("Remove");
    EXPECT_EQ(Segments(), 1);
}

TEST_F(MainWindowOnSlides, LeavesOutTheWordsOfTheToolBarWhereItIsNarrow) {
    on->state.gProject.title = std::string(200, 'm');
    Find("Undo").setText(QString(20, 'm'));
    on->window->TheEditor().form.Changed();
    for (const auto& [width, style] :
         {std::pair(1200, Qt::ToolButtonTextBesideIcon), std::pair(750, Qt::ToolButtonIconOnly),
          std::pair(1200, Qt::ToolButtonTextBesideIcon)}) {
        on->window->resize(width, 600);
        on->Settle();
        EXPECT_EQ(on->window->width(), width);
        EXPECT_TRUE(Find("Split").toolButtonStyle() == style && Find("Exit").isVisible()) << width;
        EXPECT_LE(Find("Exit").mapTo(on->window.get(), Find("Exit").rect().bottomRight()).x(), width);
    }
    auto& lecture = Find<QLabel>("lLecture");
    QHelpEvent help(QEvent::ToolTip, {5, 5}, lecture.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&lecture, &help);
    EXPECT_EQ(lecture.toolTip(), QString(200, 'm'));
}

TEST_F(MainWindowOnSlides, ShowsPagesInPlaceOfThePicture) {
    auto& slide = Find<SlidePane>("slidePane");
    auto& ie = Find<QWidget>("ie");
    EXPECT_EQ(ie.findChild<QWidget*>(), nullptr);
    SplitAt(1000);
    Choose(3);
    on->Settle([this] { return !on->window->TheEditor().form.isPlayerVisible; });
    EXPECT_EQ(Find<QStackedLayout>("slideStack").currentWidget(), &ie);
    EXPECT_TRUE(ie.isEnabled() && on->window->focusWidget() != nullptr && ie.isAncestorOf(on->window->focusWidget()));
    EXPECT_FALSE(Find("cmdPlay").isEnabled() || Find<QAbstractButton>("cmdImportAudio").isEnabled());
    EXPECT_EQ(Find("lPlayInfo").text(), " --:--:-- / --:--:--");
    const path thumb = project / "thumbnails/html.jpg";
    on->doubled.clock.ticks += 1000;
    on->Settle([&thumb] { return FileExists(thumb); });
    const QImage small(QString::fromStdString(thumb.string()));
    EXPECT_TRUE(small.width() == 160 || small.height() == 120) << small.width() << "x" << small.height();

    Press(Qt::Key_Z, Qt::ControlModifier);  // of another slide, which is shown for it
    EXPECT_TRUE(on->state.gGrid.CurrIndex() == 1 && Segments() == 1 && !ie.isEnabled());
    Choose(4);
    on->Settle([&] { return slide.HasFailed(); });
    EXPECT_FALSE(!slide.HasFailed() || ie.isEnabled() || Find("cmdNext").isEnabled());
    Choose(3);
    on->Settle([&ie] { return ie.isEnabled(); });
    Press(Qt::Key_F6);
    EXPECT_EQ(on->window->focusWidget(), &Find<QWidget>("ListView"));
    Choose(2);
    EXPECT_TRUE(Find("cmdPlay").isEnabled() && !ie.isEnabled());
    Choose(3);
    on->window->close();
    EXPECT_EQ(on->ends, "closed ");
}

TEST_F(MainWindowOnSlides, AsksBeforeItClosesWithUnsavedWork) {
    SplitAt(1000);
    EXPECT_TRUE(CloseAnswering(QMessageBox::Cancel));
    EXPECT_TRUE(on->window->isVisible() && on->ends.empty());
    on->state.busyDepth = 1;
    on->window->close();
    EXPECT_TRUE(on->window->isVisible());
    on->state.busyDepth = 0;
    on->window->resize(1000, 700);
    EXPECT_TRUE(CloseAnswering(QMessageBox::No));
    EXPECT_EQ(on->ends, "closed ");
    EXPECT_TRUE(on->doubled.settings.Get("editor window", "geometry").has_value());
}

TEST_F(MainWindowOnSlides, LeavesKeysToTextFieldsAndToButtonsReachedByTab) {
    QLineEdit field(on->window.get());
    field.show();
    field.setFocus();
    Press(Qt::Key_Space);
    EXPECT_EQ(field.text(), " ");
    EXPECT_EQ(on->player->State(), qv::PlayState::Stopped);
    Find<QWidget>("chkAuto").setFocus(Qt::TabFocusReason);
    Press(Qt::Key_Space);
    EXPECT_TRUE(on->window->TheEditor().form.chkAuto);
    EXPECT_EQ(on->player->State(), qv::PlayState::Stopped);
    Click("cmdPlay");
    EXPECT_EQ(on->player->State(), qv::PlayState::Playing);
    const FormHold hold(on->window->TheEditor().form);
    Press(Qt::Key_Space);
    EXPECT_FALSE(Find("cmdStop").isEnabled());
    EXPECT_EQ(on->player->State(), qv::PlayState::Playing);
}

TEST_F(MainWindowOnSlides, StaysWhereItIsBehindAQuestionAndTakesMenusAwayFromWhoHasToWait) {
    on->window->TheEditor().form.chkAuto = true;
    on->window->TheEditor().transport.SeekInSlide(2500);
    on->Settle();
    Click("cmdPlay");
    std::int32_t shown = 0;
    QTimer::singleShot(1000, [&] {
        shown = on->state.gGrid.CurrIndex();
        static_cast<QDialog*>(QApplication::activeModalWidget())->reject();
    });
    on->user.Ask({.text = "?"});
    EXPECT_EQ(shown, 1);
    on->Settle([this] { return on->state.gGrid.CurrIndex() == 2; });
    EXPECT_EQ(on->state.gGrid.CurrIndex(), 2);
    Click("cmdStop");
    on->window->TheEditor().form.face.popUpTrackMenu({});
    EXPECT_NE(QApplication::activePopupWidget(), nullptr);
    const FormHold hold(on->window->TheEditor().form);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(MainWindowOnSlides, StopsThePictureOfATakeWhereItsSlideEnds) {
    on->window->TheEditor().form.chkAuto = true;
    on->window->TheEditor().transport.SeekInSlide(2500);
    on->Settle();
    bool isBegun = false;
    bool hasPlayed = false;
    qv::PlayState left = qv::PlayState::Stopped;
    QElapsedTimer clock;
    clock.start();
    QTimer person;
    QObject::connect(&person, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr) return;
        left = on->player->State();
        hasPlayed |= left == qv::PlayState::Playing;
        const bool isOver = hasPlayed && left != qv::PlayState::Playing;
        if (dialog->objectName() != "frmRecAudio" || isOver || clock.hasExpired(10'000)) {
            QTimer::singleShot(0, dialog, &QDialog::reject);  // which may open a box
            return;
        }
        if (!std::exchange(isBegun, true))
            QTimer::singleShot(0, dialog->findChild<QAbstractButton*>("cmdRec"), &QAbstractButton::click);
    });
    person.start(20);
    Find<QAbstractButton>("cmdRecAudio").click();
    EXPECT_TRUE(hasPlayed);
    EXPECT_EQ(left, qv::PlayState::Paused);
    EXPECT_EQ(on->state.gGrid.CurrIndex(), 1);
    EXPECT_LT(on->player->Position(), on->state.gSlideList.GetEnd(1));
}

TEST_F(MainWindowOnSlides, StandsABoxOnTheOpenDialogAndGivesItUpWhenToldToEnd) {
    Click("lPlayInfo");
    auto* dialog = on->window->findChild<QDialog*>("frmMixSetPos");
    ASSERT_NE(dialog, nullptr);
    dialog->activateWindow();
    QWidget* under = nullptr;
    QTimer::singleShot(50, [&] {
        under = QApplication::activeModalWidget()->parentWidget();
        delete dialog;  // takes the box along
    });
    EXPECT_EQ(on->user.Ask({.text = "?"}), Answer::Cancel);
    EXPECT_EQ(under, dialog);
    QTimer::singleShot(50, [this] { on->user.Leave(); });
    EXPECT_EQ(on->user.Ask({.text = "?", .title = {}, .buttons = Buttons::YesNo}), Answer::Cancel);
    EXPECT_EQ(on->user.Ask({.text = "?"}), Answer::Cancel);
}

TEST(PictureView, ShowsThePhotoUntilThereIsAPicture) {
    const QString photo = QString::fromStdString((support::TestFolder() / "photo.png").string());
    QImage green(40, 30, QImage::Format_RGB32);
    green.fill(Qt::green);
    green.save(photo);
    PictureView view;
    view.resize(400, 300);
    const auto middle = [&view] { return view.grab().toImage().pixelColor(200, 150); };
    const QColor empty = middle();
    view.SetPhoto(photo);
    EXPECT_EQ(middle(), QColor(Qt::green));
    view.SetPhoto("/no/photo.gif");
    EXPECT_EQ(middle(), empty);
    view.SetPhoto(photo);
    view.Show({});
    EXPECT_EQ(middle(), empty);
}

TEST(PictureView, FitsThePictureIntoItsRoom) {
    EXPECT_EQ(FittedRect({160, 90}, {320, 200}), QRect(0, 10, 320, 180));
    EXPECT_EQ(FittedRect({90, 160}, {200, 320}), QRect(10, 0, 180, 320));
    EXPECT_TRUE(FittedRect({0, 90}, {200, 320}).isEmpty());
}

TEST(ProgSlider, TellsWhereTheMouseWasLetGoAndStaysWhereItIs) {
    ProgSlider slider;
    slider.resize(203, 18);
    std::vector<float> told;
    slider.onRelease = [&told](float fraction) { told.push_back(fraction); };
    for (const int x : {0, 100, 202}) ClickAt(slider, {x, 9});
    ClickAt(slider, {50, 9}, Qt::RightButton);
    PressKey(slider, Qt::Key_End);
    EXPECT_EQ(told, (std::vector<float>{0, 0.495F, 1, 1}));
    EXPECT_EQ(slider.value(), 0);
}

}  // namespace mirrane
