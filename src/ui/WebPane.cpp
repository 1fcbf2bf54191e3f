// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/WebPane.h"

#include <QApplication>
#include <QFile>
#include <QLibrary>
#include <QVBoxLayout>
#include <iostream>
#include <utility>

#include "ui/TextPageView.h"

namespace mirrane {

namespace {

using MakeBrowser = IPageView* (*)(PagePorts&&);

constexpr char kProjectHost[] = "project";
constexpr char kProgramHost[] = "program";

QUrl AddressOf(const PagePlace& place) {
    QUrl address;
    address.setScheme(kPageScheme);
    address.setHost(place.root == PagePlace::Root::Project ? kProjectHost : kProgramHost);
    address.setPath("/" + QFile::decodeName(place.path.c_str()), QUrl::DecodedMode);
    return address;
}

/// A "%2E%2E" was ".." all the time, and is refused as such by PageFiles.
std::optional<PagePlace> PlaceOf(const QUrl& address) {
    const bool isProject = address.host() == kProjectHost;
    if (address.scheme() != kPageScheme || !(isProject || address.host() == kProgramHost)) return std::nullopt;
    const QByteArray path = QFile::encodeName(address.path(QUrl::FullyDecoded));
    if (!path.startsWith('/') || path.contains('\0')) return std::nullopt;
    return PagePlace{isProject ? PagePlace::Root::Project : PagePlace::Root::Program, path.mid(1).toStdString()};
}

/// Beside the program: bin/mirrane-editor, lib/mirrane/mirrane-web.so.
MakeBrowser LoadBrowser() {
    QLibrary library(QApplication::applicationDirPath() + "/../lib/mirrane/mirrane-web");
    return reinterpret_cast<MakeBrowser>(library.resolve("MakeBrowser"));  // NOLINT(*-reinterpret-cast)
}

/// A browser tells much when it comes up that is of no use to anyone; quiet as long as this lives.
class QuietStart {
public:
    QuietStart() : before_(qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {})) {}
    ~QuietStart() { qInstallMessageHandler(before_); }
    QuietStart(const QuietStart&) = delete;
    QuietStart& operator=(const QuietStart&) = delete;

private:
    QtMessageHandler before_;
};

}  // namespace

WebPane::WebPane(PageFiles files) : files_(std::move(files)) {
    setObjectName("ie");
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    // A page without a colour of its own is dark on white, like on paper.
    setPalette(QPalette(Qt::white));
    setAutoFillBackground(true);
}

WebPane::~WebPane() = default;

void WebPane::Navigate(const std::filesystem::path& file) {
    file_ = file;
    if (file.empty()) {
        if (view_) view_->Clear();
        return;
    }
    const auto place = files_.PlaceOf(file);
    if (!place) return;
    if (!view_) {
        view_ = MakeView();
        layout()->addWidget(&view_->Widget());
    }
    view_->Show(AddressOf(*place));
}

PagePorts WebPane::Ports() {
    return {.open =
                [this](const QUrl& address) {
                    const auto place = PlaceOf(address);
                    return place ? files_.Open(*place) : OpenFile();
                },
            .arrived =
                [this] {
                    if (onArrived) onArrived();
                },
            .failed =
                [this](const std::string& why) {
                    std::cerr << "mirrane-editor: " + file_.string() + ": " + why + "\n";
                    view_->Clear();
                    if (onFailed) onFailed();
                }};
}

std::unique_ptr<IPageView> WebPane::MakeView() {
    const QuietStart quiet;
    std::unique_ptr<IPageView> view;
    if (const MakeBrowser make = LoadBrowser()) view.reset(make(Ports()));
    if (!view) view = std::make_unique<TextPageView>(Ports());
    return view;
}

bool WebPane::Grab(const PageRect& part, const std::filesystem::path& bmp) {
    const QPixmap shown = grab({part.left, part.top, part.width, part.height});
    return shown.save(QFile::decodeName(bmp.c_str()), "BMP");
}

bool WebPane::HasFocus() const {
    const QWidget* focus = window()->focusWidget();
    return focus != nullptr && isAncestorOf(focus);
}

void WebPane::TakeFocus() {
    if (view_) view_->Widget().setFocus();
}

}  // namespace mirrane
