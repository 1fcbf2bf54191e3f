// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QTimer>
#include <sstream>

#include "base/Text.h"
#include "doubles/World.h"
#include "frame/Main.h"
#include "qvlib/Engine.h"
#include "support/Basics.h"
#include "ui/QtUser.h"
#include "ui/StartPageDialog.h"

namespace mirrane {
namespace {

using std::string;
using std::filesystem::path;
using support::Quoted;

/// What may be wrong with a folder, and what comes of it. Commands run in the folder.
struct Case {
    const char* before;  ///< makes it so of a sound project
    const char* answers;
    const char* told;  ///< "form/key" or a text, parted by "|"
    const char*
        after;  ///< makes what is to lie there of what lay there; "stay": the same, and the editor does not come up
};

constexpr char kDamage[] = "dd if=/dev/zero of=media.qv bs=1 seek=90000 count=8 conv=notrunc status=none;";
constexpr char kStay[] = "stay";

/// Opens the project as its user drops it on the start page, presses the answers' buttons, and gives up where it stays.
class Window final : IShell {
public:
    Window(const path& folder, const path& temp, const string& answers) : folder_(folder), answers_(answers) {
        doubled_.host.environment["temp"] = temp;
        QObject::connect(&clock_, &QTimer::timeout, &clock_, [this] { Look(); });
        clock_.start(std::chrono::milliseconds(5));
    }
    /// What the boxes said, and whether the editor came up.
    string Open() {
        basMixMain::Main(state_, check_, *this, "");
        return told_;
    }

private:
    void ShowStartPage() override {
        StartPage rules(state_, check_);
        rules.Form_Load();
        page_ = std::make_unique<StartPageDialog>(rules, world_);
        rules_ = &rules;
        page_->exec();
        page_.reset();
        rules.Form_Unload();
    }
    void ShowEditor() override { told_ += "open"; }

    void Look() {
        QWidget* const shown = QApplication::activeModalWidget();
        if (auto* const box = qobject_cast<QMessageBox*>(shown)) {
            told_ += ReplaceAll(box->text().toStdString(), "\n", " ") + "\n";
            Press(*box);
        } else if (page_ == nullptr || shown != page_.get() || rules_->isOpening()) {
            idle_ = 0;
        } else if (!isDropped_) {
            Drop();
        } else if (++idle_ > 4) {
            page_->reject();
        }
    }
    void Press(QMessageBox& box) {
        const std::pair<string, QMessageBox::StandardButton> kButtons[] = {{"yes", QMessageBox::Yes},
                                                                           {"no", QMessageBox::No},
                                                                           {"ok", QMessageBox::Ok},
                                                                           {"cancel", QMessageBox::Cancel}};
        string answer = "ok";
        if (box.buttons().size() > 1) answers_ >> answer;
        for (const auto& [name, button] : kButtons)
            if (name == answer && box.button(button) != nullptr) box.button(button)->click();
    }
    void Drop() {
        isDropped_ = true;
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QString::fromStdString(folder_))});
        QDragEnterEvent enter({40, 40}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(page_.get(), &enter);
        QDropEvent drop({40, 40}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(page_.get(), &drop);
        EXPECT_TRUE(drop.isAccepted());
    }

    path folder_;
    std::istringstream answers_;
    string told_;
    doubles::World doubled_;
    QtUser user_;
    Disk disk_;
    SystemClock time_;
    World world_{user_, disk_, time_, doubled_.settings, doubled_.host, doubled_.texts};
    EditorState state_{world_};
    qv::Engine engine_ = qv::MakeEngine({});
    modMediaQv::MediaContext check_{world_, *engine_.lib};
    std::unique_ptr<StartPageDialog> page_;
    StartPage* rules_ = nullptr;
    QTimer clock_;
    bool isDropped_ = false;
    int idle_ = 0;
};

/// A project of ten seconds in two slides, and what the window and the script make of it.
struct TwoDoors : testing::Test {
    TwoDoors() {
        In(folder,
           "ffmpeg -v error -f lavfi -i testsrc=r=5:s=320x240:d=10 -f lavfi -i sine=f=440:d=10 -c:v libvpx -g 10 "
           "-b:v 500k -c:a libopus small.webm && printf '0 One\\n4000 Two\\n' >slides && mkdir temp");
        In(folder, kTool + "new small.webm whole --slides slides");
    }
    static string In(const path& where, const string& commands) {
        return support::Output("cd " + Quoted(where) + " && " + commands);
    }
    /// The same as Window::Open, by the script's way.
    string OpenByScript(const path& project, string answers) const {
        answers = answers.empty() ? "" : "answer " + ReplaceAll(answers, " ", "\nanswer ") + "\n";
        std::ofstream(folder / "script") << answers;
        string told =
            In(folder, "if " + kTool + "edit " + Quoted(project) + " script >/dev/null 2>err; then echo open; fi");
        const string log = "qvtool: " + (folder / "P/media.qv").string() + ": ";  // what the engine says to developers
        std::istringstream lines(ReadFile(folder / "err"));
        string boxes;
        for (string line; std::getline(lines, line);)
            if (!line.starts_with(log)) boxes += line.substr(string("qvtool: ").size()) + "\n";
        return boxes + Trim(told);
    }
    string Told(const Case& row) {
        string told;
        for (const string& entry : Split(row.told, '|')) {
            if (entry.empty()) continue;
            const auto slash = entry.find(' ') == string::npos ? entry.find('/') : string::npos;
            string text = slash == string::npos ? entry
                                                : Texts(MIRRANE_SOURCE_DIR "/data/res.xml")
                                                      .GetResString(entry.substr(0, slash), entry.substr(slash + 1));
            told += ReplaceAll(ReplaceAll(text, "\r\n", " "), "%P", (folder / "P").string()) + "\n";
        }
        return told + (row.after == string(kStay) ? "" : "open");
    }
    void Check(const Case& row, const string& prefix = {}) {
        const path project = folder / "P";
        for (const bool byWindow : {false, true}) {
            In(folder, "mkdir -p P && find P -mindepth 1 -delete && cp -r whole/. P");
            In(project, string(row.before) + "true; rm -rf ../after && cp -r . ../after");
            if (row.after != string(kStay)) In(folder / "after", row.after);
            const path opened = prefix + project.string();
            EXPECT_EQ(
                byWindow ? Window(opened, folder / "temp", row.answers).Open() : OpenByScript(opened, row.answers),
                Told(row))
                << row.before << (byWindow ? " by the window" : " by the script");
            // Of the script's editor, which came up, the log is left.
            EXPECT_EQ(In(folder, "diff -r -x step_log_mix.txt after P || true"), "") << row.before << byWindow;
        }
    }

    const string kTool = "MIRRANE_PROGRAM_FOLDER='" MIRRANE_SOURCE_DIR "/data' '" QVTOOL_PATH "' ";
    const path folder = support::TestFolder();
};

TEST_F(TwoDoors, WhatCannotBeEditedIsRefusedAndLeftAsItIs) {
    const string damaged = string("touch rec.tmp;") + kDamage;
    const string wrongLength = "sed -i s/00:10.001/00:09/ project.qvp;";
    const string wrongAndDamaged = wrongLength + kDamage;
    const Case cases[] = {
        {"mkdir tmp.txt;", "", "frmNewProject/msgReadOnly", kStay},
        {"sed -i 's/\"7/\"x/' project.qvp;", "", "Unrecognized project version!", kStay},
        {": >project.qvp;", "", "Unrecognized project version!", kStay},
        {"sed -i 's/\"7/\"8/' project.qvp;", "", "frmCommon/msgNeedNewVer", kStay},
        {"sed -i 's/\"7/\"5/' project.qvp;", "no", "frmCommon/msgNeedToUpgrade", kStay},
        {"sed -i 's/\"7/\"6/' project.qvp;", "yes",
         "frmCommon/msgNeedToUpgrade|"
         "Execution failed because \"" MIRRANE_SOURCE_DIR "/data/qvFmtCvt.exe \" does not exist!",
         kStay},
        {"sed -i 's/\"7/\"4/' project.qvp;", "", "", kStay},
        {"sed -i /.title.whole/d project.qvp;", "cancel",
         "This part of \"project.qvp\" is missing or damaged: abstract Click OK to go on and save the project without "
         "it, or "
         "Cancel to stop loading.",
         kStay},
        {"rm media.qv;", "", "File '%P/media.qv' not exist!", kStay},
        {"echo x >media.qv;", "", "Incompatible file format version (0.0)! Please upgrade your Mirrane.", kStay},
        {damaged.c_str(), "", "frmCommon/msgRecFailedAndQvErr", kStay},
        {wrongLength.c_str(), "no", "frmCommon/msgQvpDurationErr", kStay},
        {wrongAndDamaged.c_str(), "yes", "frmCommon/msgQvpDurationErr|frmCommon/msgVerifyQvErr", kStay},
    };
    for (const Case& row : cases) Check(row);
    Check({"", "", "frmNewProject/msgNet", kStay}, "/");
}

TEST_F(TwoDoors, AFullDiskIsRefused) {
    create_directory(folder / "P");
    if (mount("tmpfs", (folder / "P").c_str(), "tmpfs", 0, "size=99m") != 0)
        GTEST_SKIP() << "no file system can be mounted here";
    const string told = Told({"", "", "frmNewProject/msgDiskSpace", kStay});
    const string before = Trim(told) + ": 99MB";
    Check({"", "", before.c_str(), kStay});
    EXPECT_EQ(umount((folder / "P").c_str()), 0);
}

TEST_F(TwoDoors, WhatWasCutOffIsSettled) {
    const char* const restored = "frmEditor/msgRestoreBackup";
    const char* const moving = "Move file error during import!";
    const char* const both = "Move file error during import!|frmEditor/msgRestoreBackup";
    const char* const keep = "cp media.qv media.qv.__; cp project.qvp project.qvp.__; sed -i s/Two/2/ project.qvp;";
    const char* const moveBack = "mv media.qv.__ media.qv; mv project.qvp.__ project.qvp; rm -f media.qv.move";
    const string newer = string(keep) + "echo newer >media.qv;";
    const string crossed = newer + "touch media.qv.move;";
    const string lost = crossed + "rm media.qv;";
    const string backup = "cp project.qvp project.qvp.mix.tmp; ";
    const string cutOffAhead = backup + "sed -i s/4007/4507/ project.qvp;";
    const string cutOffLonger = backup + "sed -i s/00:10.001/00:09/ project.qvp;";
    const string swapped = backup + "sed -i s/00:10.001/00:09/ project.qvp.mix.tmp;";
    const string neither = swapped + "sed -i s/00:10.001/00:09/ project.qvp;";
    const Case cases[] = {
        {"", "", "", "true"},
        {"touch rec.tmp;", "", "", "rm rec.tmp"},
        {"touch media.qv.move;", "", moving, "rm media.qv.move"},
        {lost.c_str(), "", moving, moveBack},
        {crossed.c_str(), "", both, moveBack},
        {newer.c_str(), "", restored, moveBack},
        {"cp media.qv media.qv.__;", "", restored, "rm media.qv.__"},
        {"cp project.qvp project.qvp.__;", "", "", "true"},
        {cutOffAhead.c_str(), "", "", "mv project.qvp.mix.tmp project.qvp"},
        {cutOffLonger.c_str(), "", "", "mv project.qvp.mix.tmp project.qvp"},
        {swapped.c_str(), "", "", "rm project.qvp.mix.tmp"},
        {neither.c_str(), "no", "frmCommon/msgQvpDurationErr", kStay},
        {"sed -i s/00:10.001/00:09/ project.qvp;", "yes", "frmCommon/msgQvpDurationErr|frmCommon/msgRepairSucceed",
         "sed -i s/00:09/00:10.001/ project.qvp"},
        {"sed -i /.title.whole/d project.qvp;", "ok",
         "This part of \"project.qvp\" is missing or damaged: abstract Click OK to go on and save the project without "
         "it, or "
         "Cancel to stop loading.",
         "sed -i 's/<comments.>/&\\r\\n<title>Mirrane Title<\\/title>/' project.qvp"},
    };
    for (const Case& row : cases) Check(row);
}

}  // namespace
}  // namespace mirrane
