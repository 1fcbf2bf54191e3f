// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace mirrane {

void SpeakLanguage(const std::string& language) {
    constexpr char kName[] = "words of the toolkit";
    delete qApp->findChild<QTranslator*>(kName);
    auto* const words = new QTranslator(qApp);
    words->setObjectName(kName);
    const QLocale locale = language.empty() ? QLocale(QLocale::English) : QLocale(QString::fromStdString(language));
    if (words->load(locale, "qtbase", "_", QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(words);
}

}  // namespace mirrane
