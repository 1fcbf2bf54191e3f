// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWebEnginePage>

namespace mirrane {

/// A page that asks the user nothing, opens nothing, and may go nowhere but to other pages of its kind.
class SilentPage final : public QWebEnginePage {
public:
    /// @param profile outlives this
    explicit SilentPage(QWebEngineProfile& profile, QObject* parent);

protected:
    QWebEnginePage* createWindow(WebWindowType /*type*/) override { return nullptr; }
    QStringList chooseFiles(FileSelectionMode /*mode*/, const QStringList& /*oldFiles*/,
                            const QStringList& /*acceptedMimeTypes*/) override {
        return {};
    }
    void javaScriptAlert(const QUrl& /*securityOrigin*/, const QString& /*msg*/) override {}
    bool javaScriptConfirm(const QUrl& /*securityOrigin*/, const QString& /*msg*/) override { return false; }
    bool javaScriptPrompt(const QUrl& /*securityOrigin*/, const QString& /*msg*/, const QString& /*defaultValue*/,
                          QString* /*result*/) override {
        return false;
    }
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel /*level*/, const QString& /*message*/,
                                  int /*lineNumber*/, const QString& /*sourceID*/) override {}
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
};

/// Whether a page may load an address at all: the files that are for it, and what it holds in itself.
[[nodiscard]] bool IsForPages(const QUrl& address);

}  // namespace mirrane
