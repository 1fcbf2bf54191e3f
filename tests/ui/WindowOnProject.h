// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "doubles/Capture.h"
#include "doubles/World.h"
#include "qvlib/Engine.h"
#include "qvlib/IPlayer.h"
#include "ui/MainWindow.h"
#include "ui/QtUser.h"

namespace mirrane {

/// A click as the mouse makes it.
inline void ClickAt(QWidget& widget, QPoint at, Qt::MouseButton button = Qt::LeftButton) {
    const QPointF global = widget.mapToGlobal(QPointF(at));
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(at), global, button, button, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(at), global, button, Qt::NoButton, Qt::NoModifier);
    for (QMouseEvent* event : {&press, &release}) QApplication::sendEvent(&widget, event);
}

/// A key as the keyboard sends it.
inline void PressKey(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    const QString text = key == Qt::Key_Space ? " " : "";
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers, text);
        QApplication::sendEvent(&widget, &event);
    }
}

/// The main window on a project, with a real engine, and settings that are forgotten.
struct WindowOnProject {
    /// @param temp    where the editor's work folder goes
    /// @param resFile the words that it speaks
    WindowOnProject(const std::filesystem::path& project, const std::filesystem::path& temp,
                    const std::filesystem::path& resFile = MIRRANE_SOURCE_DIR "/data/res.xml")
        : doubled(resFile) {
        doubled.host.environment["temp"] = temp;
        state.gProjectFolder = project;
        window = std::make_unique<MainWindow>(WindowParts{state, engine, *player, capture, check, user,
                                                          [this] { ends += "exit "; }, [this] { ends += "closed "; }});
        window->Open();
        Settle([this] { return window->TheEditor().form.mLayoutDone; });
    }

    /// Lets events run until something holds and nobody is busy, at most 10 s.
    void Settle(const std::function<bool()>& holds = [] { return true; }) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        do user.Sleep(std::chrono::milliseconds(5));
        while (!(holds() && !state.gIsBusy()) && std::chrono::steady_clock::now() < end);
        user.Sleep(std::chrono::milliseconds(5));  // what was posted last is shown
    }

    doubles::World doubled;
    QtUser user;
    SystemClock clock;
    World world{user, doubled.disk, clock, doubled.settings, doubled.host, doubled.texts};
    EditorState state{world};
    qv::Engine engine = qv::MakeEngine({});
    std::unique_ptr<qv::IPlayer> player =
        qv::MakePlayer({.post =
                            [](std::function<void()> later) {
                                QMetaObject::invokeMethod(qApp, std::move(later), Qt::QueuedConnection);
                            },
                        .soundOut = {},
                        .log = {}});
    doubles::Capture capture;
    modMediaQv::MediaContext check{world, *engine.lib};
    std::string ends;
    std::unique_ptr<MainWindow> window;
};

}  // namespace mirrane
