// SPDX-License-Identifier: GPL-3.0-or-later
#include "web/SilentPage.h"

#include <QWebEngineFullScreenRequest>
#include <QWebEngineSettings>
#include <array>

#include "ui/PageView.h"

namespace mirrane {

SilentPage::SilentPage(QWebEngineProfile& profile, QObject* parent) : QWebEnginePage(&profile, parent) {
    using Settings = QWebEngineSettings;
    constexpr std::array kOff = {
        Settings::JavascriptCanOpenWindows,
        Settings::JavascriptCanAccessClipboard,
        Settings::JavascriptCanPaste,
        Settings::LocalContentCanAccessRemoteUrls,
        Settings::LocalContentCanAccessFileUrls,
        Settings::HyperlinkAuditingEnabled,
        Settings::ErrorPageEnabled,
        Settings::PluginsEnabled,
        Settings::PdfViewerEnabled,
        Settings::FullScreenSupportEnabled,
        Settings::ScreenCaptureEnabled,
        Settings::AutoLoadIconsForPage,
        Settings::AllowWindowActivationFromJavaScript,
        Settings::FocusOnNavigationEnabled,
        Settings::DnsPrefetchEnabled,
        Settings::NavigateOnDropEnabled,
    };
    for (const Settings::WebAttribute attribute : kOff) settings()->setAttribute(attribute, false);
    settings()->setAttribute(Settings::WebRTCPublicInterfacesOnly, true);
    settings()->setUnknownUrlSchemePolicy(Settings::DisallowUnknownUrlSchemes);
    connect(this, &QWebEnginePage::featurePermissionRequested, this, [this](const QUrl& origin, Feature feature) {
        setFeaturePermission(origin, feature, PermissionDeniedByUser);
    });
}

bool SilentPage::acceptNavigationRequest(const QUrl& url, NavigationType /*type*/, bool isMainFrame) {
    return isMainFrame ? url.scheme() == kPageScheme : IsForPages(url);
}

bool IsForPages(const QUrl& address) {
    const QString scheme = address.scheme();
    return scheme == kPageScheme || scheme == "data" || scheme == "blob" || scheme == "about";
}

}  // namespace mirrane
