// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Thumbs.h"

#include <QCoreApplication>
#include <QThreadPool>
#include <utility>

namespace mirrane {

Thumbs::Thumbs(std::function<void()> arrived) : arrived_(std::move(arrived)), self_(std::make_shared<Thumbs*>(this)) {}

QImage Thumbs::Of(const QString& file) {
    if (!asked_.contains(file)) Read(file);
    return images_.value(file);
}

void Thumbs::ReadAnew() {
    asked_.clear();
    self_ = std::make_shared<Thumbs*>(this);
}

void Thumbs::Read(const QString& file) {
    asked_.insert(file);
    QThreadPool::globalInstance()->start([file, reader = std::weak_ptr(self_)] {
        const auto take = [file, reader, image = QImage(file)] {
            if (const auto self = reader.lock()) (*self)->Take(file, image);
        };
        QMetaObject::invokeMethod(qApp, take, Qt::QueuedConnection);
    });
}

void Thumbs::Take(const QString& file, const QImage& image) {
    images_.insert(file, image);
    arrived_();
}

}  // namespace mirrane
