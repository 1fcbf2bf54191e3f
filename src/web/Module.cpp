// SPDX-License-Identifier: GPL-3.0-or-later
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QByteArray>
#include <QLoggingCategory>
#include <QQuickWindow>
#include <QWebEngineUrlScheme>
#include <iostream>
#include <string_view>

#include "web/BrowserView.h"

namespace mirrane {

namespace {

/// Whether this user may make the namespaces that the browser locks its pages' processes into.
bool HasSandbox() {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(::unshare(CLONE_NEWUSER) == 0 ? 0 : 1);
    int status = 1;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// @returns false where pages could do harm
bool ChooseSandbox(QByteArray& flags) {
    // The browser refuses to lock up processes of root, who is found alone in a container, which is a lock itself.
    if (::getuid() == 0)
        flags += " --no-sandbox";
    else if (!HasSandbox())
        return false;
    return true;
}

QLoggingCategory::CategoryFilter filterBefore = nullptr;  // NOLINT(*-non-const-global-variables)

/// When it comes up, the browser describes the program's OpenGL context to its log, also when there is none, and falls
/// over it. There is none since nothing here is drawn by the graphics card.
void HushContext(QLoggingCategory* category) {
    filterBefore(category);
    if (std::string_view(category->categoryName()) != "qt.webenginecontext") return;
    for (const QtMsgType type : {QtDebugMsg, QtInfoMsg}) category->setEnabled(type, false);
}

/// Names lead nowhere and neither do numbers, so that nobody is even called. What the page paints is painted by the
/// processor: start-up and memory of the editor are spared the graphics card, and the card is spared the page.
void ConfineBrowser(const QByteArray& flags) {
    constexpr char kVariable[] = "QTWEBENGINE_CHROMIUM_FLAGS";
    qputenv(kVariable, qgetenv(kVariable) + flags +
                           " --host-resolver-rules=\"MAP * ~NOTFOUND\""
                           " --force-webrtc-ip-handling-policy=disable_non_proxied_udp --disable-gpu");
    filterBefore = QLoggingCategory::installFilter(nullptr);
    QLoggingCategory::installFilter(HushContext);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QWebEngineUrlScheme scheme(kPageScheme);
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    scheme.setFlags(QWebEngineUrlScheme::CorsEnabled);
    QWebEngineUrlScheme::registerScheme(scheme);
}

}  // namespace

}  // namespace mirrane

/// The module's door. @returns nullptr where no page can be shown safely
extern "C" Q_DECL_EXPORT mirrane::IPageView* MakeBrowser(mirrane::PagePorts&& ports) {
    static const bool isReady = [] {
        QByteArray flags;
        if (!mirrane::ChooseSandbox(flags)) {
            std::cerr << "mirrane-editor: without user namespaces pages are shown as texts and pictures only\n";
            return false;
        }
        mirrane::ConfineBrowser(flags);
        return true;
    }();
    return isReady ? new mirrane::BrowserView(std::move(ports)) : nullptr;
}
