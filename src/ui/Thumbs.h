// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QImage>
#include <QSet>
#include <QString>
#include <functional>
#include <memory>

namespace mirrane {

/// Small pictures by their files. They are read beside the window's own thread, as a cold disk takes its time.
class Thumbs {
public:
    /// @param arrived called on the window's thread when pictures can be painted that could not before
    explicit Thumbs(std::function<void()> arrived);

    /// Null until the file is read, and when it holds no picture.
    [[nodiscard]] QImage Of(const QString& file);
    /// The files may be others now: each is read again when it is asked for, and what it was is shown until then.
    void ReadAnew();

private:
    void Read(const QString& file);
    void Take(const QString& file, const QImage& image);

    std::function<void()> arrived_;
    QHash<QString, QImage> images_;
    QSet<QString> asked_;
    std::shared_ptr<Thumbs*> self_;  ///< of whoever is still reading for the present files
};

}  // namespace mirrane
