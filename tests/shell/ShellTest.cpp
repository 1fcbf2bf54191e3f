// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <utility>

#include "shell/ProgCtrl.h"

namespace mirrane {
TEST(ProgCtrl, FillsAndPointsInsideItsBorder) {
    constexpr int kWidth = 203;
    for (const auto& [value, filled] :
         {std::pair(0.5F, 100), std::pair(1.5F, 200), std::pair(0.001F, 0), std::pair(0.004F, 1)})
        EXPECT_EQ(QvProgCtrl::Filled(value, kWidth), filled) << value;
    struct Mouse {
        int x;
        float moved;  ///< -1: nothing
        float released;
    };
    for (const Mouse mouse : {Mouse{0, -1, 0}, {1, -1, 0}, {2, 0.005F, 0.005F}, {201, 1, 1}, {202, -1, 1}}) {
        EXPECT_FLOAT_EQ(QvProgCtrl::FractionAt(mouse.x, kWidth).value_or(-1), mouse.moved) << mouse.x;
        EXPECT_FLOAT_EQ(QvProgCtrl::FractionOfRelease(mouse.x, kWidth), mouse.released) << mouse.x;
    }
}

}  // namespace mirrane
