// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>
#include <QWebEngineProfile>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineUrlSchemeHandler>
#include <QWebEngineView>
#include <memory>

#include "ui/PageView.h"

namespace mirrane {

/// Lets pages have the files that are for them.
class PageFileHandler final : public QWebEngineUrlSchemeHandler {
public:
    explicit PageFileHandler(std::function<OpenFile(const QUrl&)> open) : open_(std::move(open)) {}
    void requestStarted(QWebEngineUrlRequestJob* job) override;

private:
    std::function<OpenFile(const QUrl&)> open_;
};

/// Keeps pages from everything else.
class OutsideBlocker final : public QWebEngineUrlRequestInterceptor {
public:
    void interceptRequest(QWebEngineUrlRequestInfo& request) override;
};

/// A page as a browser shows it, scripts included. Each one has a process of its own, which ends with it, at the latest
/// when it has taken too much memory; nothing of it is kept.
class BrowserView final : public QWidget, public IPageView {
public:
    /// @param ports outlived by this, but for what was posted
    explicit BrowserView(PagePorts ports);
    ~BrowserView() override;
    BrowserView(const BrowserView&) = delete;
    BrowserView& operator=(const BrowserView&) = delete;

    [[nodiscard]] QWidget& Widget() override { return *this; }
    void Show(const QUrl& address) override;
    void Clear() override;

private:
    void ConfineProfile();
    void Follow(QWebEnginePage& page);
    /// The first word on the page's arrival counts, and the first on its end.
    void Tell(std::function<void()> what);
    void WatchMemory();

    PagePorts ports_;
    PageFileHandler files_;
    OutsideBlocker blocker_;
    QWebEngineProfile profile_;
    std::unique_ptr<QWebEngineView> view_;  ///< with its page; goes ahead of the profile
    int shows_ = 0;
    QTimer memoryWatch_;
    qint64 ownMemory_ = 0;  ///< bytes of this process when the page was asked for
};

}  // namespace mirrane
