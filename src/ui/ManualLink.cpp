// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ManualLink.h"

#include <QDesktopServices>
#include <QFile>

namespace mirrane {

QUrl ManualAddress(IHost& host, ManualPart part) {
    const auto page = FindManual(host, part);
    if (!page) return {};
    QUrl address = QUrl::fromLocalFile(QFile::decodeName(page->file.c_str()));
    if (!page->anchor.empty()) address.setFragment(QString::fromStdString(page->anchor));
    return address;
}

void OpenManual(IHost& host, ManualPart part) {
    const QUrl address = ManualAddress(host, part);
    if (!address.isEmpty()) QDesktopServices::openUrl(address);
}

}  // namespace mirrane
