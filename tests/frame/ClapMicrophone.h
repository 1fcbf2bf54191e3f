// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

#include "qvlib/ISoundIn.h"

namespace doubles {

/// A microphone before which somebody claps; what it hears comes in late, as the device tells.
class ClapMicrophone final : public qv::ISoundIn {
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kBlock{10};
    static constexpr std::chrono::milliseconds kLate{60};
    static constexpr std::chrono::milliseconds kClap{20};

public:
    std::optional<std::vector<qv::SoundInDevice>> Devices() override { return {{{"Clap", "c"}}}; }
    bool Open(const std::string& /*id*/, int /*channels*/, Take take) override {
        hearing_ = std::jthread([this, take = std::move(take)](const std::stop_token& stop) { Hear(stop, take); });
        return true;
    }
    void Close() override { hearing_ = {}; }
    [[nodiscard]] bool IsLost() const override { return false; }
    [[nodiscard]] std::chrono::microseconds Latency() const override { return kLate; }

    void Clap() { clap_ = Clock::now(); }

private:
    void Hear(const std::stop_token& stop, const Take& take) const {
        for (Clock::time_point heard = Clock::now(); !stop.stop_requested(); heard += kBlock) {
            std::this_thread::sleep_until(heard + kBlock + kLate);
            std::vector<float> block(480);
            for (std::size_t i = 0; i < block.size(); ++i) {
                const auto since = heard + std::chrono::microseconds(i * 1000 / 48) - clap_.load();
                if (since >= since.zero() && since < kClap) block[i] = i % 96 < 48 ? 0.5F : -0.5F;
            }
            take(block);
        }
    }

    std::atomic<Clock::time_point> clap_ = Clock::time_point::max() - std::chrono::hours(1);
    std::jthread hearing_;
};

}  // namespace doubles
