// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDesktopServices>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QTest>
#include <QTextBrowser>
#include <map>
#include <sstream>

#include "base/Text.h"
#include "doubles/QvLib.h"
#include "doubles/World.h"
#include "support/Basics.h"
#include "ui/StartPageDialog.h"

namespace mirrane {
namespace {

using std::string;
using std::filesystem::path;

/// The page of somebody who has opened "two" and then "one", with a manual; notes the addresses that the desktop opens.
struct StartPageAt : testing::Test {
    StartPageAt() {
        doubled.host.environment["temp"] = folder / "temp";
        doubled.host.programFolder = folder / "program";
        create_directories(folder / "program/res/help_en/help");
        create_symlink(MIRRANE_SOURCE_DIR "/data/icons", folder / "program/icons");
        for (const char* name : {"drop", "two", "one"}) {
            create_directories(folder / name);
            Disk().Copy(MIRRANE_SOURCE_DIR "/data/default.qvp", folder / name / "project.qvp");
        }
        Disk().Write(folder / "program/res/help_en/help/index.html", "");
    }

    string State(const StartPageDialog& page, const QUrl& address) {
        string now = (page.isVisible() ? "stays " : "") + state.gProjectFolder.filename().string();
        if (!address.isEmpty()) now += address.fileName().toStdString() + "#" + address.fragment().toStdString();
        for (const MessageBox& box : doubled.user.boxes) now += "!" + box.title;
        return now;
    }
    /// What a script comes to, at last: each word is a key, a thing that is dropped, or a control that is clicked.
    string After(const string& script, const string& expected) {
        state.gProjectFolder.clear();
        doubled.settings = {};
        RecentProjects recent(doubled.settings);
        for (const char* name : {"two", "one"}) recent.AddRecentProject(folder / name / "project.qvp", {});
        QTextBrowser desktop;  // has a slot that takes an address
        QDesktopServices::setUrlHandler("file", &desktop, "setSource");
        rules.Form_Load();
        StartPageDialog page(rules, doubled.world);
        page.show();
        Until([&] { return page.isActiveWindow() && page.findChild<QAbstractButton*>("lProj(2)") != nullptr; });
        std::istringstream words(script);
        for (string word; words >> word;) Do(page, word);
        string after;
        (void)QTest::qWaitFor([&] { return (after = State(page, desktop.source())) == expected; }, 20000);
        QDesktopServices::unsetUrlHandler("file");
        doubled.user.boxes.clear();
        return after;
    }
    void Do(StartPageDialog& page, const string& word) {
        static const std::map<string, std::pair<Qt::Key, Qt::KeyboardModifier>> kKeys = {
            {"<Enter>", {Qt::Key_Return, Qt::NoModifier}}, {"<Space>", {Qt::Key_Space, Qt::NoModifier}},
            {"<Down>", {Qt::Key_Down, Qt::NoModifier}},    {"<Up>", {Qt::Key_Up, Qt::NoModifier}},
            {"<Tab>", {Qt::Key_Tab, Qt::NoModifier}},      {"<Escape>", {Qt::Key_Escape, Qt::NoModifier}},
            {"<F1>", {Qt::Key_F1, Qt::NoModifier}},        {"<Alt+Q>", {Qt::Key_Q, Qt::AltModifier}},
            {"<Alt+R>", {Qt::Key_R, Qt::AltModifier}}};
        if (kKeys.contains(word))
            QTest::keyClick(page.focusWidget(), kKeys.at(word).first, kKeys.at(word).second);
        else if (word.starts_with("drop:"))
            Drop(page, word.substr(5));
        else
            QTest::mouseClick(page.findChild<QAbstractButton*>(word.c_str()), Qt::LeftButton);
        QTest::qWait(10);
    }
    /// As a file manager does it, with the mouse on the list.
    void Drop(StartPageDialog& page, const string& names) {
        QMimeData data;
        QList<QUrl> urls;
        for (const string& name : Split(names, '+'))
            urls +=
                QUrl(QString::fromStdString(name.starts_with("http") ? name : "file://" + (folder / name).string()));
        data.setUrls(urls);
        QDragEnterEvent enter({400, 300}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        enter.ignore();
        QApplication::sendEvent(&page, &enter);
        if (!enter.isAccepted()) return;
        QDropEvent drop({400, 300}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&page, &drop);
    }
    template <typename Condition>
    static void Until(const Condition& holds) {
        EXPECT_TRUE(QTest::qWaitFor(holds, 10000));
    }

    const path folder = support::TestFolder();
    doubles::World doubled;
    doubles::QvLib lib;
    modMediaQv::MediaContext check{doubled.world, lib};
    EditorState state{doubled.world};
    StartPage rules{state, check};
};

TEST_F(StartPageAt, KeysAndClicks) {
    const std::map<string, string> cases = {
        {"", "stays "},
        {"lProj(1)", "one"},
        {"lProj(2)", "two"},
        {"<Enter>", "one"},
        {"<Down> <Space>", "two"},
        {"<Down> <Up> <Enter>", "one"},
        {"<Tab> <Enter>", "two"},
        {"<Tab> <Alt+R> <Enter>", "one"},
        {"<Escape>", ""},
        {"lMan", "stays index.html#"},
        {"quickStart", "stays index.html#first-steps"},
        {"<Alt+Q>", "stays index.html#first-steps"},
        {"<F1>", "stays index.html#"},
        {"drop:drop", "drop"},
        {"drop:drop/project.qvp", "drop"},
        {"drop:drop+one", "stays "},
        {"drop:program", "stays "},
        {"drop:http://one/project.qvp", "stays "},
    };
    for (const auto& [script, expected] : cases) EXPECT_EQ(After(script, expected), expected) << script;
}

/// Nothing is open, and the keyboard is where it was.
TEST_F(StartPageAt, AFailedOpeningLeavesThePageAsItWas) {
    Disk().Write(folder / "two/project.qvp", "<a b='8'/>");
    EXPECT_EQ(After("lProj(2)", "stays !"), "stays !");
    EXPECT_EQ(After("lProj(2) <Enter>", "stays !!"), "stays !!");
    EXPECT_EQ(After("lProj(2) <Up> <Enter>", "one!"), "one!");
    // Neither the window's own button nor another project is heard meanwhile.
    Disk().Write(folder / "two/project.qvp", "<a b='5'/>");
    std::ofstream(folder / "program/qvFmtCvt") << "#!/bin/sh\nuntil [ -e $1/go ]; do sleep 0.01; done";
    permissions(folder / "program/qvFmtCvt", std::filesystem::perms::owner_all);
    bool isWaiting = false;
    doubled.user.answers = {Answer::Yes};
    doubled.user.onEvents = [&] {
        isWaiting = true;
        Disk().Write(folder / "two/go", "");
        for (QWidget* window : QApplication::topLevelWidgets())
            if (auto* shown = dynamic_cast<StartPageDialog*>(window)) {
                shown->reject();
                EXPECT_TRUE(shown->isVisible() && !shown->findChild<QWidget*>("lOpenProj")->isEnabled());
            }
    };
    EXPECT_EQ(After("lProj(2)", "stays !Version Incompatible"), "stays !Version Incompatible");
    EXPECT_TRUE(isWaiting);
}

TEST_F(StartPageAt, WithoutProjectsAndManualThereIsTheButtonAlone) {
    remove_all(folder / "program/res");
    rules.Form_Load();
    StartPageDialog page(rules, doubled.world);
    page.show();
    Until([&] { return page.findChild<QLabel*>("EmptyProjList") != nullptr; });
    EXPECT_EQ(page.findChild<QLabel*>("EmptyProjList")->text(), "(No project currently)");
    QStringList buttons;
    for (const QAbstractButton* button : page.findChildren<QAbstractButton*>()) buttons += button->objectName();
    EXPECT_EQ(buttons.join(" "), "lOpenProj");
    EXPECT_EQ(page.findChild<QLabel*>("lGetStarted"), nullptr);
    EXPECT_EQ(page.focusWidget()->objectName(), "lOpenProj");
}

}  // namespace
}  // namespace mirrane
