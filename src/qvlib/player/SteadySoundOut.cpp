// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "qvlib/ISoundOut.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBlock{10};
constexpr std::int64_t kBlockFrames = kBlock.count() * kSamplesPerMs;

class SteadySoundOut final : public ISoundOut {
public:
    SteadySoundOut() = default;
    ~SteadySoundOut() override { Stop(); }
    SteadySoundOut(const SteadySoundOut&) = delete;
    SteadySoundOut& operator=(const SteadySoundOut&) = delete;

    bool Start(int channels, Fill fill) override {
        Stop();
        stopping_ = false;
        pulled_ = 0;
        begun_ = Clock::now().time_since_epoch().count();
        stoppedAt_ = 0;
        thread_ = std::thread([this, channels, fill = std::move(fill)] { Pull(channels, fill); });
        return true;
    }

    void Stop() override {
        if (!thread_.joinable()) return;
        stoppedAt_ = Clock::now().time_since_epoch().count();
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

    [[nodiscard]] std::int64_t Played() const override {
        const Clock::rep stopped = stoppedAt_;
        const Clock::duration passed((stopped != 0 ? stopped : Clock::now().time_since_epoch().count()) - begun_);
        const auto us = std::chrono::duration_cast<std::chrono::microseconds>(passed).count();
        return std::min<std::int64_t>(pulled_, us * kSamplesPerMs / 1000);
    }

private:
    void Pull(int channels, const Fill& fill) {
        std::vector<float> block(static_cast<std::size_t>(kBlockFrames * channels));
        auto due = Clock::now();
        std::unique_lock lock(mutex_);
        while (!stopping_) {
            lock.unlock();
            fill(block);
            pulled_ += kBlockFrames;
            due += kBlock;
            lock.lock();
            changed_.wait_until(lock, due, [this] { return stopping_; });
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    std::atomic<std::int64_t> pulled_ = 0;
    std::atomic<Clock::rep> begun_ = 0;
    std::atomic<Clock::rep> stoppedAt_ = 0;  ///< 0: runs
    std::thread thread_;
};

}  // namespace

std::shared_ptr<ISoundOut> MakeSteadySoundOut() { return std::make_shared<SteadySoundOut>(); }

}  // namespace qv
