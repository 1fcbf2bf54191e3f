// SPDX-License-Identifier: GPL-3.0-or-later
#include "Screenshots.h"

#include <QDialog>
#include <QImage>
#include <QMenu>
#include <QPalette>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTimer>
#include <cmath>
#include <iostream>
#include <vector>

#include "WindowOnProject.h"
#include "editing/Commands.h"
#include "editing/Layout.h"
#include "editing/Placement.h"
#include "media/AudioImport.h"
#include "playback/SlideListView.h"
#include "support/Basics.h"
#include "ui/Dialogs.h"
#include "ui/Language.h"
#include "ui/RecAudioDialog.h"
#include "ui/StartPageDialog.h"
#include "ui/TimelineView.h"

namespace screenshots {

using namespace mirrane;
using std::filesystem::path;

namespace {

QPalette DarkColours() {
    QPalette dark(QColor(53, 53, 53), QColor(42, 42, 42));
    dark.setColor(QPalette::Base, QColor(35, 35, 35));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(127, 127, 127));
    dark.setColor(QPalette::Link, QColor(120, 180, 255));
    return dark;
}

/// Takes the pictures of one look: "NAME-LOOK-1.5x.png".
class Camera {
public:
    Camera(path folder, std::string look, std::vector<double> ratios)
        : folder_(std::move(folder)), look_(std::move(look)), ratios_(std::move(ratios)) {}

    void Shoot(QWidget& window, const std::string& name) {
        // The small pictures are read when they are painted for the first time.
        window.grab();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::sendPostedEvents();
        for (const double ratio : ratios_) {
            QImage image((QSizeF(window.size()) * ratio).toSize(), QImage::Format_RGB32);
            image.setDevicePixelRatio(ratio);
            window.render(&image);
            const QString file = QString("%1-%2-%3x.png").arg(name.c_str(), look_.c_str()).arg(ratio);
            isFine_ &= image.save(QString::fromStdString((folder_ / file.toStdString()).string()));
        }
    }
    /// Of the modal window that a function shows, which is closed again.
    void ShootModal(const std::string& name, const std::function<void()>& show) {
        QTimer watcher;
        QObject::connect(&watcher, &QTimer::timeout, [&] {
            QWidget* const shown = QApplication::activeModalWidget();
            if (shown == nullptr) return;
            Shoot(*shown, name);
            qobject_cast<QDialog*>(shown)->done(0);
        });
        watcher.start(50);
        show();
    }
    [[nodiscard]] bool isFine() const { return isFine_; }

private:
    path folder_;
    std::string look_;
    std::vector<double> ratios_;
    bool isFine_ = true;
};

/// A window in some state, on a copy of the project.
class Scene {
public:
    Scene(Camera& camera, const path& project, const path& resFile) : camera_(camera), resFile_(resFile) {
        std::filesystem::copy(project, Project(), std::filesystem::copy_options::recursive);
    }

    [[nodiscard]] path Project() const { return path(folder_.path().toStdString()) / "lecture"; }
    [[nodiscard]] path Temp() const { return folder_.path().toStdString(); }

    void ShootWindow();
    void ShootWithoutDocument();

private:
    void Edit();
    void LayDown(int seconds, Ms at);
    void ShootEdited();
    void ShootMoments();
    void ShootMenus();
    void ShootDialogs();
    void ShootRecorder();
    void ShootTake(const char* name, int volume, const std::function<void(qv::CaptureState&)>& happen);
    void ShootJobs();
    void ShootBoxes();

    void Shoot(const std::string& name) {
        on_->Settle();
        camera_.Shoot(*on_->window, name);
    }
    Editor& editor() { return on_->window->TheEditor(); }
    QString Word(const char* form, const char* key) {
        return QString::fromStdString(GetResString(on_->world, form, key)).replace("\r\n", "\n");
    }
    WordsOfForms Words() {
        return [this](const char* form, const char* key) { return Word(form, key); };
    }

    Camera& camera_;
    path resFile_;
    QTemporaryDir folder_;
    std::unique_ptr<WindowOnProject> on_;
};

void Scene::ShootWindow() {
    on_ = std::make_unique<WindowOnProject>(Project(), Temp(), resFile_);
    on_->window->resize(1280, 800);
    Shoot("first");
    Edit();
    ShootEdited();
    ShootMenus();
    ShootDialogs();
    ShootRecorder();
    ShootJobs();
    ShootBoxes();
    ShootMoments();
}

/// Slide 3 cut in three, the middle piece far too loud and selected, with a sound of its own on Track 2.
void Scene::Edit() {
    modSlideListView::ChooseRow(editor().edit, 3);
    on_->Settle();
    for (const Ms cut : {3392, 6912}) {
        editor().transport.SeekInSlide(cut);
        on_->Settle();
        modCommands::mnuSplit_Click(editor().edit);
        on_->Settle();
    }
    LayDown(4, 8000);
    editor().transport.SeekInSlide(5056);
    on_->Settle();
    auto& canvas = *on_->window->findChild<QWidget*>("picTrackGroup");
    ClickAt(canvas, {editor().form.picLine - editor().form.hScrWave.Value + 5, 60});
    modCommands::BatchVolAdjust(editor().edit, 300);
    on_->Settle();
}

/// A new sound on Track 2.
void Scene::LayDown(int seconds, Ms at) {
    const path sound = Temp() / "sentence.wav";
    support::Output("ffmpeg -v error -f lavfi -i sine=220:d=" + std::to_string(seconds) + ",volume=2 -y " +
                    support::Quoted(sound));
    const modAudioImport::Imported imported = modAudioImport::ImportAudioFile(editor().media, sound);
    const Ms pos = modLayout::SlideStart(editor().edit) + at;
    modPlacement::ImportQvaFile(editor().edit, imported.file, pos, imported.length, modPlacement::Existing::Push);
    on_->Settle();
}

void Scene::ShootEdited() {
    const QSize usual = on_->window->size();
    Shoot("edited");
    for (const QSize size : {QSize(900, 600), QSize(2560, 1400), usual}) {
        on_->window->resize(size);
        if (size != usual) Shoot(size.width() == 900 ? "small" : "large");
    }
    LayDown(100, 13000);
    modLayout::Scroll(editor().edit, 700);
    Shoot("scrolled");
    modLayout::cmdZoomOut_Click(editor().edit);
    Shoot("zoomed-out");
    editor().Undo_Click();
    on_->Settle();
}

void Scene::ShootMoments() {
    editor().form.lSeek = true;
    editor().form.Changed();
    Shoot("seeking");
    editor().form.lSeek = false;
    editor().form.mIsWebSlide = true;
    editor().form.Changed();
    Shoot("web-slide");
    editor().form.mIsWebSlide = false;
    editor().transport.cmdPlay_Click();
    on_->user.Sleep(std::chrono::milliseconds(500));
    camera_.Shoot(*on_->window, "playing");
    editor().transport.cmdStop_Click();
    on_->Settle();
}

void Scene::ShootMenus() {
    auto& menu = *on_->window->findChild<QMenu*>("mnuTrackEdit");
    auto& timeline = dynamic_cast<TimelineView&>(*on_->window->findChild<QWidget*>("timeline"));
    for (const bool isOnSegment : {true, false}) {
        timeline.PopUpTrackMenu(modCommands::MenuNow(editor().edit, isOnSegment));
        on_->user.Sleep(std::chrono::milliseconds(50));
        camera_.Shoot(menu, isOnSegment ? "menu-segment" : "menu-ruler");
        menu.hide();
    }
}

void Scene::ShootDialogs() {
    camera_.ShootModal("set-volume", [this] { ShowSetVol(on_->state, Words(), on_->window.get()); });
    SetPosDialog setPos(editor().edit, Words(), on_->window.get());
    setPos.show();
    on_->user.Sleep(std::chrono::milliseconds(200));
    camera_.Shoot(setPos, "set-position");
    for (const QUrl& address : {QUrl("file:///manual"), QUrl()})
        camera_.ShootModal(address.isEmpty() ? "link-none" : "link", [&] {
            ShowMsgLink(Word("frmCommon", "msgInstallWME"), address, Words(), on_->window.get());
        });
    StatusWindow status;
    status.ShowText(Word("frmCommon", "msgLastRecFailed"));
    camera_.Shoot(status, "status");
}

void Scene::ShootRecorder() {
    RecAudio idle(editor().edit, on_->capture, {});
    RecAudioDialog dialog(idle, Words(), on_->window.get());
    dialog.show();
    on_->user.Sleep(std::chrono::milliseconds(150));
    camera_.Shoot(dialog, "recorder-idle");
    dialog.hide();
    ShootTake("recorder-take", 52, [](qv::CaptureState&) {});
    ShootTake("recorder-overload", 100, [](qv::CaptureState& state) { state.overloadedSamples = 9; });
    ShootTake("recorder-silent", 0, [](qv::CaptureState& state) { state.digitalSilence = 2500; });
}

/// The recorder while a take runs.
void Scene::ShootTake(const char* name, int volume, const std::function<void(qv::CaptureState&)>& happen) {
    doubles::Capture& capture = on_->capture;
    RecAudio rules(editor().edit, capture, {.recFile = {}, .mRecStartPos = modLayout::SlideStart(editor().edit)});
    RecAudioDialog dialog(rules, Words(), on_->window.get());
    dialog.show();
    rules.cmdRec_Click();
    happen(capture.state);
    capture.volume = volume + 9;
    rules.tmrGetVol_Timer();
    capture.volume = volume;
    on_->user.Sleep(std::chrono::milliseconds(150));
    camera_.Shoot(dialog, name);
    rules.cmdRec_Click();
    editor().transport.ExecPlay();
    capture.state = {};
    on_->Settle();
}

void Scene::ShootJobs() {
    ProgressWindow rules;
    JobDialog progress(rules, "frmProgress", on_->window.get());
    const auto show = [&](const char* name, const char* title, const char* text, int percent, const QString& step) {
        const QString head = step.isEmpty() ? step : Word("frmMixEditor", "msgStepNum").replace("%s", step) + " - ";
        const QString line = head + Word("frmMixEditor", text).replace("%s", QString::number(percent));
        rules.Init(Word("frmMixEditor", title).toStdString(), "");
        rules.Set(percent, line.toStdString());
        camera_.Shoot(progress, name);
        rules.Finish();
    };
    show("import-1", "msgImportAudio", "msgTranscoding", 35, "1/2");
    show("import-2", "msgImportAudio", "msgImporting", 80, "2/2");
    show("sampling", "msgSampleWaves", "msgSampling", 0, "");
    show("saving", "msgSaveProj", "msgSaving", 62, "");
    JobDialog thumbs(rules, "frmCreateThumb", on_->window.get(), Word("frmCreateThumb", "lThumb"));
    rules.Init("", "");
    rules.Set(40, Word("frmCreateThumb", "frmCreateThumb").toStdString() + " (2/5)");
    camera_.Shoot(thumbs, "thumbnails");
    rules.Finish();
}

void Scene::ShootBoxes() {
    const auto ask = [this](const char* name, const char* form, const char* key, Buttons buttons, bool isFailure) {
        const MessageBox box{.text = GetResString(on_->world, form, key), .buttons = buttons, .isFailure = isFailure};
        camera_.ShootModal(name, [&] { (void)on_->user.Ask(box); });
    };
    ask("box-closing", "frmMixEditor", "msgIsSave", Buttons::YesNoCancel, false);
    ask("box-refusal", "frmMixEditor", "msgCannotRemoveAllSeg", Buttons::Ok, false);
    ask("box-failure", "frmMixEditor", "msgSaveFailure", Buttons::Ok, true);
    ask("box-repair", "frmCommon", "msgQvpDurationErr", Buttons::YesNo, false);
    ask("box-skip", "frmCommon", "msgQvpErrorSkip", Buttons::OkCancel, false);
}

void Scene::ShootWithoutDocument() {
    std::filesystem::resize_file(Project() / "project.qvp", 100);
    camera_.ShootModal("box-unreadable",
                       [this] { on_ = std::make_unique<WindowOnProject>(Project(), Temp(), resFile_); });
    Shoot("empty");
}

/// The start page of somebody who has opened nothing yet, and of one who has opened six projects.
void ShootStartPage(Camera& camera, const path& project, const path& resFile) {
    const QTemporaryDir folder;
    QtUser user;
    doubles::World doubled(resFile);
    World world{user, doubled.disk, doubled.clock, doubled.settings, doubled.host, doubled.texts};
    EditorState state(world);
    const qv::Engine engine = qv::MakeEngine({});
    modMediaQv::MediaContext check{world, *engine.lib};
    StartPage rules(state, check);
    const auto shoot = [&](const char* name, QSize size) {
        rules.Form_Load();
        StartPageDialog page(rules, world);
        if (!size.isEmpty()) page.resize(size);
        page.show();
        user.Sleep(std::chrono::milliseconds(200));
        camera.Shoot(page, name);
    };
    shoot("start-empty", {});
    RecentProjects recent(doubled.settings);
    const char* const kNames[] = {"lecture", "Physics, week 12", "Ferienkurs/Kapitel 3", "課程 1", "a", "old/lecture"};
    for (const std::string name : kNames) {
        const path lecture = path(folder.path().toStdString()) / (name == "a" ? std::string(120, 'x') : name);
        create_directories(lecture.parent_path());
        std::filesystem::copy(project, lecture, std::filesystem::copy_options::recursive);
        if (name == "old/lecture") remove_all(lecture / "thumbnails");
        recent.AddRecentProject(lecture / "project.qvp", {2024, 3, 5, 13, 4, 5});
    }
    shoot("start", {});
    shoot("start-small", {640, 360});
    shoot("start-large", {1600, 1000});
}

bool ShootAll(Camera camera, const path& project, const std::string& resFile) {
    ShootStartPage(camera, project, resFile);
    Scene(camera, project, resFile).ShootWindow();
    Scene(camera, project, resFile).ShootWithoutDocument();
    return camera.isFine();
}

}  // namespace

int MakeScreenshots(const path& folder, const path& project) {
    create_directories(folder);
    QCursor::setPos(0, 10000);  // on no button
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    const std::string data = MIRRANE_SOURCE_DIR "/data/";
    bool isWritten = ShootAll({folder, "light", {1, 1.5, 2}}, project, data + "res.xml");
    for (const char* language : {"de", "zh-CN", "zh-TW"}) {
        SpeakLanguage(language);
        isWritten &= ShootAll({folder, language, {1}}, project, data + "res." + language + ".xml");
    }
    SpeakLanguage("");
    QApplication::setPalette(DarkColours());
    isWritten &= ShootAll({folder, "dark", {1, 1.5, 2}}, project, data + "res.xml");
    std::cout << (isWritten ? "Written to " : "Cannot be written to ") << folder.string() << '\n';
    return isWritten ? 0 : 1;
}

}  // namespace screenshots
