// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUrl>
#include <QWidget>
#include <functional>
#include <string>

#include "base/OpenFile.h"

namespace mirrane {

/// The scheme of all that a page may ask for; see PageAddress.
inline constexpr char kPageScheme[] = "mirrane-page";

/// What those who draw pages need of the program. All of it is called on the editor's thread.
struct PagePorts {
    /// The file behind an address; none where a page has nothing to look for.
    std::function<OpenFile(const QUrl& address)> open;
    /// The page is there. Once at most after each IPageView::Show.
    std::function<void()> arrived;
    /// The page did not come, or is gone again. Once at most after each IPageView::Show.
    std::function<void(const std::string& why)> failed;
};

/// Draws a page, of strangers' making: it gets nothing but what PagePorts::open gives, and asks the user nothing.
class IPageView {
public:
    virtual ~IPageView() = default;

    [[nodiscard]] virtual QWidget& Widget() = 0;
    /// Drops the page that is shown, and everything that it has begun, for another one.
    virtual void Show(const QUrl& address) = 0;
    /// Drops the page that is shown.
    virtual void Clear() = 0;
};

}  // namespace mirrane
