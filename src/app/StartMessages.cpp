// SPDX-License-Identifier: GPL-3.0-or-later
#include "StartMessages.h"

#include <QByteArrayView>
#include <QString>
#include <QtGlobal>
#include <cstdlib>
#include <iostream>

namespace app {

namespace {

/// The first thing that was said about the display. A handler finds nothing but what stands at namespace scope.
QString cause;  // NOLINT(*-non-const-global-variables)

void OnMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type != QtFatalMsg) {
        const bool isOfDisplay = QByteArrayView(context.category).startsWith("qt.qpa");
        if (!isOfDisplay) std::cerr << text.toStdString() << '\n';
        if (isOfDisplay && cause.isEmpty()) cause = text.trimmed();
        return;
    }
    std::cerr << "mirrane-editor: there is no display to open a window on (" << cause.toStdString() << ")\n";
    std::cerr.flush();
    std::_Exit(EXIT_FAILURE);
}

}  // namespace

StartMessages::StartMessages() { qInstallMessageHandler(OnMessage); }

StartMessages::~StartMessages() {
    qInstallMessageHandler(nullptr);
    if (!cause.isEmpty()) qWarning("%s", qUtf8Printable(cause));
}

}  // namespace app
