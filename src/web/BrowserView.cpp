// SPDX-License-Identifier: GPL-3.0-or-later
#include "web/BrowserView.h"

#include <unistd.h>

#include <QFile>
#include <QMimeDatabase>
#include <QVBoxLayout>
#include <QWebEngineDownloadRequest>
#include <QWebEngineUrlRequestInfo>
#include <QWebEngineUrlRequestJob>
#include <chrono>
#include <csignal>
#include <utility>

#include "web/SilentPage.h"

namespace mirrane {

namespace {

constexpr qint64 kMostMemory = qint64{1} << 30;  ///< bytes that a page may take
constexpr std::chrono::milliseconds kMemoryLook{250};

/// Bytes of memory that a process holds; 0 when there is no such process.
qint64 MemoryOf(qint64 pid) {
    QFile file(QString("/proc/%1/statm").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    const QList<QByteArray> pages = file.readAll().split(' ');
    return pages.size() < 2 ? 0 : pages[1].toLongLong() * ::sysconf(_SC_PAGESIZE);
}

/// By the name alone, "text/html": pages name their kinds truly, or they would be shown nowhere.
QByteArray ContentTypeOf(const QUrl& address) {
    static const QMimeDatabase types;
    return types.mimeTypeForFile(address.fileName(), QMimeDatabase::MatchExtension).name().toLatin1();
}

}  // namespace

void PageFileHandler::requestStarted(QWebEngineUrlRequestJob* job) {
    auto file = std::make_unique<QFile>();
    OpenFile opened = open_(job->requestUrl());
    if (!opened || !file->open(opened.Take(), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return job->fail(QWebEngineUrlRequestJob::UrlNotFound);
    file->setParent(job);
    job->reply(ContentTypeOf(job->requestUrl()), file.release());
}

void OutsideBlocker::interceptRequest(QWebEngineUrlRequestInfo& request) {
    request.block(!IsForPages(request.requestUrl()));
}

BrowserView::BrowserView(PagePorts ports) : ports_(std::move(ports)), files_(ports_.open) {
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    ConfineProfile();
    connect(&memoryWatch_, &QTimer::timeout, this, [this] { WatchMemory(); });
}

BrowserView::~BrowserView() = default;

void BrowserView::ConfineProfile() {
    // Without a name, nothing of it is written to the disk.
    profile_.setHttpCacheType(QWebEngineProfile::NoCache);
    profile_.setUrlRequestInterceptor(&blocker_);
    profile_.installUrlSchemeHandler(kPageScheme, &files_);
    connect(&profile_, &QWebEngineProfile::downloadRequested, this,
            [](QWebEngineDownloadRequest* download) { download->cancel(); });
}

void BrowserView::Show(const QUrl& address) {
    Clear();
    view_ = std::make_unique<QWebEngineView>();
    view_->setContextMenuPolicy(Qt::PreventContextMenu);
    auto* page = new SilentPage(profile_, view_.get());
    Follow(*page);
    view_->setPage(page);
    layout()->addWidget(view_.get());
    setFocusProxy(view_.get());
    ownMemory_ = MemoryOf(::getpid());
    memoryWatch_.start(kMemoryLook);
    page->load(address);
}

void BrowserView::Clear() {
    ++shows_;
    memoryWatch_.stop();
    setFocusProxy(nullptr);
    view_.reset();
}

void BrowserView::Follow(QWebEnginePage& page) {
    auto isFirst = std::make_shared<bool>(true);
    connect(&page, &QWebEnginePage::loadFinished, this, [this, isFirst](bool isThere) {
        if (!std::exchange(*isFirst, false)) return;
        Tell(isThere ? ports_.arrived : [this] { ports_.failed("the page cannot be loaded"); });
    });
    connect(&page, &QWebEnginePage::renderProcessTerminated, this, [this, isFirst] {
        *isFirst = false;
        Tell([this] { ports_.failed("the process of the page has ended"); });
    });
}

/// Behind the browser's own call, and only if nobody has gone on to another page.
void BrowserView::Tell(std::function<void()> what) {
    QTimer::singleShot(0, this, [this, show = shows_, what = std::move(what)] {
        if (show == shows_) what();
    });
}

/// What a page takes lies in its own process, or is kept for it in this one.
void BrowserView::WatchMemory() {
    const qint64 pid = view_->page()->renderProcessPid();
    if (pid <= 0) return;
    const qint64 taken = MemoryOf(pid) + MemoryOf(::getpid()) - ownMemory_;
    if (taken > kMostMemory) ::kill(static_cast<pid_t>(pid), SIGKILL);
}

}  // namespace mirrane
