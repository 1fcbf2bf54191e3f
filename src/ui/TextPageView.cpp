// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TextPageView.h"

#include <QFile>
#include <utility>

namespace mirrane {

namespace {

constexpr qint64 kMostBytes = 1 << 24;  ///< of one file: texts and pictures are laid out in this very process

}  // namespace

TextPageView::TextPageView(PagePorts ports) : ports_(std::move(ports)) {
    setFrameShape(NoFrame);
    setOpenLinks(false);
    setUndoRedoEnabled(false);
    setAcceptDrops(false);
    setContextMenuPolicy(Qt::PreventContextMenu);
    connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl& link) {
        const QUrl address = source().resolved(link);
        if (address.scheme() == kPageScheme) setSource(address);
    });
}

void TextPageView::Show(const QUrl& address) {
    Clear();
    const bool isThere = static_cast<bool>(ports_.open(address));
    if (isThere) setSource(address, QTextDocument::HtmlResource);
    const auto tell = [this, isThere, show = shows_] {
        if (show != shows_) return;
        if (isThere)
            ports_.arrived();
        else
            ports_.failed("there is no such page");
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

void TextPageView::Clear() {
    ++shows_;
    clear();
    clearHistory();
}

QVariant TextPageView::loadResource(int type, const QUrl& name) {
    const QByteArray bytes = Read(source().resolved(name));
    if (type == QTextDocument::ImageResource) return bytes.isEmpty() ? QVariant(QImage()) : QVariant(bytes);
    return bytes;
}

QByteArray TextPageView::Read(const QUrl& address) const {
    if (address.scheme() != kPageScheme) return {};
    OpenFile opened = ports_.open(address);
    QFile file;
    if (!opened || !file.open(opened.Take(), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) return {};
    return file.read(kMostBytes);
}

}  // namespace mirrane
