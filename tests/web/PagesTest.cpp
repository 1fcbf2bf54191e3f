// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>
#include <QWebEngineView>
#include <csignal>

#include "base/Disk.h"
#include "base/Text.h"
#include "support/Basics.h"
#include "ui/TimelineAccess.h"
#include "ui/WebPane.h"

namespace mirrane {

using std::filesystem::path;

/// A pane that shows pages of a project's folder, beside a file that is not theirs and a server that wants to be called.
struct Pages : testing::Test {
    Pages() : project(base / "project"), pane(std::make_unique<WebPane>(PageFiles(project, program))) {
        for (const path& folder : {project / "html", project / "inside"}) create_directories(folder);
        Write("outside.txt", "outside");
        Write("project/inside/data.txt", "inside");
        create_symlink(base / "outside.txt", project / "html/link.txt");
        create_symlink("../inside/data.txt", project / "html/near.txt");
        create_directory_symlink(base, project / "html/up");
        server.listen(QHostAddress::LocalHost);
        udp.bind(QHostAddress::LocalHost);
        pane->onArrived = [this] { ++arrived; };
        pane->onFailed = [this] { ++failed; };
        pane->resize(400, 300);
        pane->show();
    }

    void Write(const char* name, const std::string& text) const { Disk().Write(base / name, text); }
    /// Shows a page whose script can say tell("word").
    void Show(const std::string& script, const std::string& body = {}) {
        const std::string page =
            "<!DOCTYPE html><html><head><script>var told=[];function tell(t){told.push(t)}</script></head><body>" +
            body + "<script>" + script + "</script></body></html>";
        Write("project/html/a.html", ReplaceAll(ReplaceAll(page, "PORT", std::to_string(server.serverPort())), "UDP",
                                                std::to_string(udp.localPort())));
        pane->Navigate(project / "html/a.html");
    }
    /// @returns whether it came to hold within so many seconds
    static bool Wait(const std::function<bool()>& holds, int seconds = 30) {
        return QTest::qWaitFor(holds, seconds * 1000);
    }
    bool Arrives() {
        return Wait([this] { return arrived + failed > 0; }) && arrived == 1;
    }
    QWebEnginePage& Page() const { return *pane->findChild<QWebEngineView*>()->page(); }
    /// What a script is worth in the page; "none" when it does not answer.
    std::string Eval(const std::string& script) const {
        auto answer = std::make_shared<std::string>("none");
        Page().runJavaScript(QString::fromStdString(script),
                             [answer](const QVariant& value) { *answer = value.toString().toStdString(); });
        Wait([answer] { return *answer != "none"; }, 20);
        return *answer;
    }
    /// What the page has told, sorted, once there are so many words.
    std::string Told(int words) const {
        Wait([this, words] { return Eval("told.length >= " + std::to_string(words)) == "true"; });
        return Eval("told.sort().join(' ')");
    }
    bool IsGone(qint64 pid) const {
        return Wait([pid] { return ::kill(static_cast<pid_t>(pid), 0) != 0; });
    }

    const path base = support::TestFolder();
    const path project;
    const path program = MIRRANE_SOURCE_DIR "/data";
    QTcpServer server;
    QUdpSocket udp;
    std::unique_ptr<WebPane> pane;
    int arrived = 0;
    int failed = 0;
};

TEST_F(Pages, GetTheFilesOfTheirFolderAndNothingElse) {
    const std::string files = R"(
        var tries = {inside: '../inside/data.txt', near: 'near.txt', self: '/html/a.html', query: 'near.txt?a=1#b',
            link: 'link.txt', up: 'up/outside.txt', climb: '../../outside.txt', coded: '%2e%2e/%2e%2e/outside.txt',
            slash: '..%2f..%2foutside.txt', passwd: 'file:///etc/passwd', double: '//etc/passwd',
            res: 'mirrane-page://program/res.xml', blank: 'mirrane-page://program/qvblank.html', none: 'none.txt',
            folder: '../inside/', host: 'mirrane-page:///etc/passwd', qrc: 'qrc:/x', http: 'http://127.0.0.1:PORT/'};
        for (const name in tries) {
            const xhr = new XMLHttpRequest();
            xhr.onloadend = () => tell(name + (xhr.responseText ? '' : '-'));
            try { xhr.open('GET', tries[name]); xhr.send(); } catch (e) { tell(name + '-'); }
        })";
    Show(files);
    ASSERT_TRUE(Arrives());
    EXPECT_EQ(Told(18),
              "blank climb- coded- double- folder- host- http- inside link- near none- passwd- qrc- query res- self "
              "slash- up-");
    EXPECT_FALSE(server.hasPendingConnections());
}

TEST_F(Pages, ReachNobodyOutside) {
    Show(R"(
        for (const kind of ['img', 'iframe', 'script', 'video', 'embed'])
            for (const to of ['http://127.0.0.1:PORT/' + kind, 'file:///etc/passwd']) {
                const it = document.createElement(kind);
                it.src = to;
                document.body.appendChild(it);
            }
        try { new WebSocket('ws://127.0.0.1:PORT/ws'); } catch (e) {}
        try { new EventSource('http://127.0.0.1:PORT/es'); } catch (e) {}
        fetch('http://127.0.0.1:PORT/fetch').catch(() => 0);
        navigator.sendBeacon('http://127.0.0.1:PORT/beacon', 'x');
        document.body.insertAdjacentHTML('beforeend', '<form action="http://127.0.0.1:PORT/form" method="post"></form>');
        document.forms[0].submit();
        try {
            const rtc = new RTCPeerConnection({iceServers: [{urls: 'stun:127.0.0.1:UDP'},
                {urls: 'turn:127.0.0.1:PORT?transport=tcp', username: 'a', credential: 'b'}]});
            rtc.createDataChannel('x');
            rtc.createOffer().then(offer => rtc.setLocalDescription(offer));
        } catch (e) {}
        const inside = new Image();
        inside.onload = () => tell('image');
        inside.src = 'dot.svg';
        setTimeout(() => { tell('late'); location = 'http://127.0.0.1:PORT/location'; }, 1500))",
         R"(<link rel="preconnect" href="http://127.0.0.1:PORT"><link rel="prefetch" href="http://127.0.0.1:PORT/p">
            <link rel="dns-prefetch" href="http://127.0.0.1:PORT"><link rel="prerender" href="http://127.0.0.1:PORT/r">
            <link rel="stylesheet" href="http://127.0.0.1:PORT/css"><meta http-equiv="refresh" content="1; url=file:///etc/passwd">)");
    Write("project/html/dot.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'></svg>");
    ASSERT_TRUE(Arrives());
    EXPECT_EQ(Told(2), "image late");
    QTest::qWait(1000);
    EXPECT_FALSE(server.hasPendingConnections()) << server.nextPendingConnection()->readAll().toStdString();
    EXPECT_FALSE(udp.hasPendingDatagrams());
    EXPECT_EQ(Page().url().toString().toStdString(), "mirrane-page://project/html/a.html");
}

TEST_F(Pages, AskNothingOpenNothingAndKeepNothing) {
    const auto windows = QApplication::topLevelWidgets().size();
    Show(R"(
        alert('a'); tell(String(confirm('b'))); tell(String(prompt('c')));
        tell(String(window.open('a.html')));
        history.back();
        print();
        document.querySelector('input').click();
        document.querySelector('a').click();
        document.documentElement.requestFullscreen().catch(() => tell('window'));
        navigator.geolocation.getCurrentPosition(() => tell('here'), () => tell('nowhere'));
        if (!navigator.mediaDevices) tell('deaf');
        Notification.requestPermission().then(tell);
        window.onbeforeunload = () => 'stay';
        window.onload = () => setTimeout(() => { window.close(); tell('open'); }, 300))",
         "<a href='a.html' download='kept.html'>x</a><input type='file'>");
    ASSERT_TRUE(Arrives());
    EXPECT_EQ(Told(8), "deaf denied false nowhere null null open window");
    EXPECT_LE(QApplication::topLevelWidgets().size(), windows);
    EXPECT_EQ(QDir::home().entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(" ").toStdString(), "");
    pane->Navigate({});
    EXPECT_EQ(pane->findChild<QWebEngineView*>(), nullptr);
}

// Qt then asks who speaks for the page to a screen reader, and all whom the editor has named for that look at it.
TEST_F(Pages, TakeTheFocus) {
    OfferSegsToReaders();
    pane->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(pane.get()));
    Show("");
    ASSERT_TRUE(Arrives());
    pane->findChild<QWebEngineView*>()->setFocus();
    EXPECT_TRUE(Wait([this] { return Eval("document.hasFocus()") == "true"; }));
    EXPECT_TRUE(pane->HasFocus());
}

TEST_F(Pages, ArriveOnceForEachNavigationAndFailOnce) {
    Show("setTimeout(() => location.reload(), 50)");
    QTest::qWait(1500);
    EXPECT_TRUE(arrived == 1 && failed == 0) << arrived << " " << failed;
    Show("");
    pane->Navigate(project / "html/b.html");  // gone on, to a page that is not there
    ASSERT_TRUE(Wait([this] { return failed > 0; }));
    pane->Navigate(project / "html/link.txt");
    ASSERT_TRUE(Wait([this] { return failed > 1; }));
    Show("location = 'http://127.0.0.1:PORT/'");  // gives itself up for a page that is not for it
    ASSERT_TRUE(Wait([this] { return failed > 2; }));
    pane->Navigate(program / "qvblank.html");
    ASSERT_TRUE(Wait([this] { return arrived > 1; }));
    ::kill(static_cast<pid_t>(Page().renderProcessPid()), SIGKILL);
    ASSERT_TRUE(Wait([this] { return failed > 3; }));
    QTest::qWait(200);
    EXPECT_TRUE(arrived == 2 && failed == 4) << arrived << " " << failed;
}

TEST_F(Pages, ThatNeverRestHoldNobodyUpAndEndWithTheirSlide) {
    Show("setTimeout(() => { for (;;); }, 300)");
    ASSERT_TRUE(Arrives());
    QTest::qWait(600);
    QElapsedTimer time;
    time.start();
    EXPECT_FALSE(pane->grab().isNull());
    int turns = 0;
    for (; time.elapsed() < 1000; ++turns) QTest::qWait(10);
    EXPECT_GT(turns, 10);
    const qint64 pid = Page().renderProcessPid();
    ASSERT_GT(pid, 0);
    pane->Navigate({});
    EXPECT_TRUE(IsGone(pid));
    Show("for (;;);");
    QTest::qWait(500);
    EXPECT_EQ(arrived, 1);
}

TEST_F(Pages, ThatTakeTooMuchMemoryAreEnded) {
    Show("var all = []; setInterval(() => { all.push(new Uint8Array(1 << 26).fill(1)); }, 10)");
    EXPECT_TRUE(Wait([this] { return failed > 0; }, 60));
    EXPECT_EQ(pane->findChild<QWebEngineView*>(), nullptr);
}

TEST_F(Pages, AreGrabbedAsTheyLook) {
    Show("",
         "<style>body{margin:0;background:#ff0000}div{width:200px;height:300px;background:#0000ff}</style><div></div>");
    ASSERT_TRUE(Arrives());
    const path bmp = base / "page.bmp";
    const auto colours = [this, &bmp] {
        EXPECT_TRUE(pane->Grab({100, 0, 200, 300}, bmp));
        const QImage image(QString::fromStdString(bmp.string()));
        return (image.pixelColor(1, 150).name() + image.pixelColor(198, 150).name()).toStdString();
    };
    EXPECT_TRUE(Wait([&colours] { return colours() == "#0000ff#ff0000"; })) << colours();
}

}  // namespace mirrane
