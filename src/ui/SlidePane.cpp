// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SlidePane.h"

#include <QFile>
#include <QStackedLayout>
#include <utility>

#include "base/Disk.h"

namespace mirrane {

SlidePane::SlidePane(Editor& editor, WordsOfForms words) : editor_(editor), words_(std::move(words)) {
    setObjectName("slidePane");
    picture_ = new PictureView;
    picture_->setAccessibleName(words_("frmMixEditor", "picVideo"));
    const EditorState& state = editor_.edit.state;
    ie_ = new WebPane(PageFiles(state.gProjectFolder, state.world.host.ProgramFolder()));
    ie_->setEnabled(false);
    auto* stack = new QStackedLayout(this);
    stack->setObjectName("slideStack");
    // A page that nobody sees yet is to be laid out in its room all the same.
    stack->setStackingMode(QStackedLayout::StackAll);
    stack->addWidget(picture_);
    stack->addWidget(ie_);
    Wire();
}

void SlidePane::Wire() {
    ie_->onArrived = [this] { OnArrived(); };
    ie_->onFailed = [this] { OnFailed(); };
    MainForm::Face& face = editor_.form.face;
    face.navigate = [this](const std::string& file) { Navigate(file); };
    face.pageRect = [this] { return PageRect{0, 0, ie_->width(), ie_->height()}; };
    face.grabPage = [this](const PageRect& part, const std::filesystem::path& bmp) { return ie_->Grab(part, bmp); };
    face.showThumbnail = [this](const ThumbnailChoice& choice) { return ShowThumbnail(choice); };
}

/// A slide that is off the timeline and names no page shows the blank one. Who closes the window wants none.
void SlidePane::Navigate(const std::string& file) {
    EditorState& state = editor_.edit.state;
    hasFailed_ = false;
    if (state.isClosing)
        ie_->Navigate({});
    else if (file.empty() && editor_.form.mIsWebSlide)
        ie_->Navigate(InFolder(state.world.host.ProgramFolder(), "qvblank.html"));
    else
        ie_->Navigate(file);
}

void SlidePane::OnArrived() {
    editor_.slideView.ie_DocumentComplete();
    if (editor_.form.isPlayerVisible) return;
    Refresh();
    ie_->TakeFocus();
}

void SlidePane::OnFailed() {
    hasFailed_ = true;
    editor_.slideView.ie_NavigateError();
}

void SlidePane::Refresh() {
    const MainForm& form = editor_.form;
    QString title;
    if (form.mIsWebSlide) title = QString::fromStdString(editor_.edit.state.gGrid.GetTitle(editor_.edit.curSlide()));
    if (form.mIsWebSlide && hasFailed_) title += "\n\n" + words_("frmMixEditor", "msgPageError");
    picture_->SetPhoto(form.photo ? QFile::decodeName(form.photo->c_str()) : QString());
    const QString note = form.lSeek ? words_("frmMixEditor", "lSeek") : QString();
    picture_->SetNote(note);
    picture_->setAccessibleDescription(note);
    picture_->SetTitle(title);
    ie_->setAccessibleName(title);
    const bool isPicture = form.isPlayerVisible || hasFailed_;
    ie_->setEnabled(!isPicture);
    static_cast<QStackedLayout*>(layout())->setCurrentIndex(isPicture ? 0 : 1);
}

bool SlidePane::TakesKey(const QKeyEvent& key) {
    if (!ie_->HasFocus()) return false;
    if (key.key() == Qt::Key_F6) {
        editor_.edit.state.ListView.SetFocus();
        return false;
    }
    return key.key() == Qt::Key_Space || key.key() == Qt::Key_Delete;
}

bool SlidePane::ShowThumbnail(const ThumbnailChoice& choice) {
    return mirrane::ShowThumbnail(choice, words_, window());
}

}  // namespace mirrane
