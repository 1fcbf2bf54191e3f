// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDialogButtonBox>
#include <QFile>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>

#include "ui/Dialogs.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmThumbnail";
constexpr QSize kThumb{160, 120};  ///< of the largest ones

class ThumbnailDialog final : public QDialog {
public:
    ThumbnailDialog(const ThumbnailChoice& choice, const WordsOfForms& words, QWidget* parent);

private:
    [[nodiscard]] QLabel* Caption(const char* name, const WordsOfForms& words);
    [[nodiscard]] QLabel* Picture(const char* name, const std::filesystem::path& file, const QString& caption);
    void AddButton(QDialogButtonBox& box, QDialogButtonBox::StandardButton button, const char* name,
                   const WordsOfForms& words);
};

ThumbnailDialog::ThumbnailDialog(const ThumbnailChoice& choice, const WordsOfForms& words, QWidget* parent)
    : QDialog(parent) {
    setObjectName(kForm);
    setWindowTitle(words(kForm, kForm));
    auto* const grid = new QGridLayout(this);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    grid->setHorizontalSpacing(grid->spacing() * 3);
    grid->addWidget(Caption("lSrc", words), 0, 0);
    grid->addWidget(Caption("lNew", words), 0, 1);
    grid->addWidget(Picture("Picture1", choice.present, words(kForm, "lSrc")), 1, 0);
    grid->addWidget(Picture("Picture2", choice.fresh, words(kForm, "lNew")), 1, 1);
    auto* const box = new QDialogButtonBox(this);
    AddButton(*box, QDialogButtonBox::Ok, "cmdOK", words);
    AddButton(*box, QDialogButtonBox::Cancel, "cmdCancel", words);
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);
    grid->addWidget(box, 2, 0, 1, 2);
}

QLabel* ThumbnailDialog::Caption(const char* name, const WordsOfForms& words) {
    auto* const caption = new QLabel(words(kForm, name), this);
    caption->setObjectName(name);
    return caption;
}

/// A place of the same size whether there is a picture or none.
QLabel* ThumbnailDialog::Picture(const char* name, const std::filesystem::path& file, const QString& caption) {
    auto* const picture = new QLabel(this);
    picture->setObjectName(name);
    picture->setAccessibleName(caption);
    picture->setFrameShape(QFrame::StyledPanel);
    picture->setAlignment(Qt::AlignCenter);
    picture->setFixedSize(kThumb + QSize(2, 2) * picture->frameWidth());
    picture->setPixmap(QPixmap(QFile::decodeName(file.c_str())));
    return picture;
}

void ThumbnailDialog::AddButton(QDialogButtonBox& box, QDialogButtonBox::StandardButton button, const char* name,
                                const WordsOfForms& words) {
    QPushButton* const shown = box.addButton(button);
    shown->setObjectName(name);
    shown->setText(words(kForm, name));
    shown->setAccessibleName(shown->text());
    shown->setToolTip(words(kForm, (std::string(name) + "Tip").c_str()));
}

}  // namespace

bool ShowThumbnail(const ThumbnailChoice& choice, const WordsOfForms& words, QWidget* parent) {
    const QPointer<ThumbnailDialog> dialog = new ThumbnailDialog(choice, words, parent);  // the window may go under it
    const bool isWanted = dialog->exec() == QDialog::Accepted;
    delete dialog;
    return isWanted;
}

}  // namespace mirrane
