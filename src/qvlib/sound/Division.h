// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace qv {

/// a / b rounded towards minus infinity; b > 0. FloorDiv(-1, 8) == -1.
[[nodiscard]] constexpr std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
    return a >= 0 ? a / b : -((b - 1 - a) / b);
}

/// a / b rounded towards plus infinity; b > 0. CeilDiv(-1, 8) == 0.
[[nodiscard]] constexpr std::int64_t CeilDiv(std::int64_t a, std::int64_t b) { return -FloorDiv(-a, b); }

}  // namespace qv
