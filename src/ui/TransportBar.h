// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCheckBox>
#include <QString>
#include <QToolButton>
#include <QWidget>
#include <functional>

#include "editing/EditContext.h"
#include "playback/Transport.h"
#include "ui/Icons.h"
#include "ui/ProgSlider.h"

namespace mirrane {

/// The row below the picture: the buttons of the transport, the slider, the time, and whether slides follow each other.
class TransportBar final : public QWidget {
public:
    /// @param words a text of the form frmMixEditor by its key
    TransportBar(EditContext& ctx, Transport& transport, const Icons& icons,
                 std::function<QString(const char* key)> words, QWidget* parent = nullptr);

    /// MainForm has changed.
    void Refresh();
    /// The colours of the windows have changed.
    void ReloadIcons();

private:
    [[nodiscard]] QToolButton* AddButton(Control control, std::function<void()> click);
    void AddTime();
    void FollowPlay();

    EditContext& ctx_;
    Transport& transport_;
    const Icons& icons_;
    std::function<QString(const char* key)> words_;
    bool showsPause_ = false;
    QToolButton* cmdPrev_;
    QToolButton* cmdPlay_;
    QToolButton* cmdStop_;
    QToolButton* cmdNext_;
    ProgSlider* ProgCtrl_;
    QToolButton* lPlayInfo_ = nullptr;
    QCheckBox* chkAuto_;
};

/// Enables what the form enables. During a seek, which mostly is over before one sees it, nothing looks disabled: it does
/// nothing then anyway.
void FollowEnabled(QWidget& widget, const MainForm& form, Control control);

}  // namespace mirrane
