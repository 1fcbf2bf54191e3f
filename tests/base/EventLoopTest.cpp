// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/EventLoop.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>

namespace mirrane {

using std::chrono::milliseconds;

TEST(EventLoop, RunsPostsInOrderAndNoTimerWithinItself) {
    EventLoop loop;
    std::string ran;
    loop.Post([&] {
        loop.Post([&] { ran += "c"; });
        ran += "a";
    });
    std::thread([&] { loop.Post([&] { ran += "b"; }); }).join();
    loop.RunEvents();
    EXPECT_EQ(ran, "ab");
    loop.RunEvents();
    EXPECT_EQ(ran, "abc");
    ran.clear();
    bool hasBeat = false;
    loop.Every(milliseconds(20), [&] {
        ran += "(";
        loop.RunUntil([&] { return hasBeat; }, std::chrono::seconds(5));
        ran += ")";
    });
    loop.Every(milliseconds(50), [&] { ran += std::exchange(hasBeat, true) ? "" : "."; });
    loop.RunFor(milliseconds(40));
    EXPECT_EQ(ran, "(.)");
}

}  // namespace mirrane
