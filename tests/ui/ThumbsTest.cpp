// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Thumbs.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThreadPool>

#include "support/Basics.h"

namespace mirrane {
namespace {

void Arrive() {
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::sendPostedEvents();
}

TEST(Thumbs, AreReadBesideTheWindowAndKeptUntilTheyAreReadAnew) {
    const QString file = QString::fromStdString((support::TestFolder() / "5.png").string());
    const auto write = [&file](QColor colour) {
        QImage image(4, 3, QImage::Format_RGB32);
        image.fill(colour);
        return image.save(file);
    };
    int arrived = 0;
    auto thumbs = std::make_unique<Thumbs>([&arrived] { ++arrived; });
    const auto shown = [&] { return thumbs->Of(file).isNull() ? QColor() : thumbs->Of(file).pixelColor(1, 1); };

    EXPECT_EQ(shown(), QColor());
    Arrive();
    EXPECT_EQ(shown(), QColor()) << "there is no such file";
    ASSERT_TRUE(write(Qt::red));
    thumbs->ReadAnew();
    EXPECT_EQ(shown(), QColor());
    thumbs->ReadAnew();
    ASSERT_TRUE(write(Qt::blue));
    Arrive();
    EXPECT_EQ(shown(), QColor()) << "what was read may be of the former file";
    Arrive();
    EXPECT_EQ(shown(), QColor(Qt::blue));
    EXPECT_EQ(arrived, 2);

    ASSERT_TRUE(write(Qt::green));
    thumbs->ReadAnew();
    EXPECT_EQ(shown(), QColor(Qt::blue));
    Arrive();
    EXPECT_EQ(shown(), QColor(Qt::green));
    thumbs->ReadAnew();
    (void)shown();
    thumbs.reset();
    Arrive();
    EXPECT_EQ(arrived, 3);
}

}  // namespace
}  // namespace mirrane
