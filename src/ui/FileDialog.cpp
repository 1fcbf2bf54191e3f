// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/FileDialog.h"

#include <QFile>
#include <QFileDialog>

namespace mirrane {

namespace {

/// "Media files (*.wav;*.wma)|*.wav;*.wma" as the toolkit writes it: "Media files (*.wav *.wma)".
QString ToolkitFilter(const std::string& filter) {
    const QStringList parts = QString::fromStdString(filter).split('|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2)
        filters += parts[i].section('(', 0, 0).trimmed() + " (" + QString(parts[i + 1]).replace(';', ' ') + ")";
    return filters.join(";;");
}

}  // namespace

std::optional<std::filesystem::path> ChooseFile(QWidget* parent, const std::string& title, const std::string& filter,
                                                const std::filesystem::path& startFolder) {
    const QString file = QFileDialog::getOpenFileName(parent, QString::fromStdString(title),
                                                      QFile::decodeName(startFolder.c_str()), ToolkitFilter(filter));
    if (file.isEmpty()) return std::nullopt;
    return std::filesystem::path(QFile::encodeName(file).toStdString());
}

}  // namespace mirrane
