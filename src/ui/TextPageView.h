// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTextBrowser>

#include "ui/PageView.h"

namespace mirrane {

/// Texts and pictures of a page, without its scripts: where there is no browser.
class TextPageView final : public QTextBrowser, public IPageView {
public:
    explicit TextPageView(PagePorts ports);

    [[nodiscard]] QWidget& Widget() override { return *this; }
    void Show(const QUrl& address) override;
    void Clear() override;

protected:
    QVariant loadResource(int type, const QUrl& name) override;

private:
    /// Empty when there is no such file, or it is not for pages.
    [[nodiscard]] QByteArray Read(const QUrl& address) const;

    PagePorts ports_;
    int shows_ = 0;
};

}  // namespace mirrane
