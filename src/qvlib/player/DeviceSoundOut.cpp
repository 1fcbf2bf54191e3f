// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "device/Cubeb.h"
#include "qvlib/ISoundOut.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

using Clock = std::chrono::steady_clock;

/// What the device is asked to hold: little enough for a prompt pause, enough for a busy machine.
constexpr std::uint32_t kHeldFrames = 50 * kSamplesPerMs;
/// Who has not answered or asked for sound for so long is taken for lost.
constexpr std::chrono::milliseconds kPatience{500};
/// The same until it has taken more than it holds: a device that slept, or is far away, may take seconds to begin.
constexpr std::chrono::milliseconds kFirstPatience{3000};
constexpr std::chrono::milliseconds kLookEvery{20};

/// What plays from a Start to its Stop: by the device, and once that is lost by a steady clock. The last one to fill is
/// gone before the next one begins.
class Run {
public:
    Run(int channels, ISoundOut::Fill fill) : channels_(channels), fill_(std::move(fill)) {}

    [[nodiscard]] int Channels() const { return channels_; }

    /// By the device. It gets silence when it is not its turn any more.
    void FillDevice(std::span<float> out) noexcept {
        isFilling_ = true;
        if (isDevicesTurn_) {
            fill_(out);
            pulled_ += static_cast<std::int64_t>(out.size()) / channels_;
        } else {
            std::ranges::fill(out, 0.0F);
        }
        isFilling_ = false;
    }

    /// The frames that the device has taken.
    [[nodiscard]] std::int64_t Pulled() const { return pulled_; }

    /// The device does not play, or not any more. Any thread.
    void Lose() noexcept { isLost_ = true; }
    [[nodiscard]] bool IsLost() const { return isLost_; }

    /// The device tells how many frames it has played by now.
    void SetDevicePosition(std::int64_t frames) {
        const std::lock_guard lock(mutex_);
        knownFrames_ = frames;
        knownAt_ = Clock::now();
    }

    /// Goes on without the device, from what is heard.
    void GoOnWithoutDevice() {
        Lose();
        EndDevicesTurn();
        const std::lock_guard lock(mutex_);
        lostAt_ = played_ = PlayedNow();
        steady_ = MakeSteadySoundOut();
        steady_->Start(channels_, fill_);
    }

    /// Nothing fills any more when it returns. Not while another thread is in GoOnWithoutDevice.
    void Stop() {
        EndDevicesTurn();
        const std::lock_guard lock(mutex_);
        played_ = PlayedNow();
        isStopped_ = true;
        if (steady_) steady_->Stop();
    }

    [[nodiscard]] std::int64_t Played() {
        const std::lock_guard lock(mutex_);
        if (!isStopped_) played_ = PlayedNow();
        return played_;
    }

private:
    void EndDevicesTurn() {
        isDevicesTurn_ = false;
        while (isFilling_) std::this_thread::yield();
    }

    /// Between two times that the device tells its position, time goes on; but never beyond what it was given.
    [[nodiscard]] std::int64_t PlayedNow() const {
        if (steady_) return lostAt_ + steady_->Played();
        if (knownFrames_ <= 0) return played_;
        const auto passed = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - knownAt_).count();
        return std::max(played_, std::min<std::int64_t>(pulled_, knownFrames_ + passed * kSamplesPerMs / 1000));
    }

    const int channels_;
    const ISoundOut::Fill fill_;

    std::atomic<bool> isDevicesTurn_ = true;
    std::atomic<bool> isFilling_ = false;  ///< the device is
    std::atomic<bool> isLost_ = false;
    std::atomic<std::int64_t> pulled_ = 0;

    std::mutex mutex_;  ///< for what follows; the device's thread stays away from it
    std::int64_t knownFrames_ = 0;
    Clock::time_point knownAt_;
    std::int64_t played_ = 0;  ///< the most that was told
    bool isStopped_ = false;
    std::int64_t lostAt_ = 0;
    std::shared_ptr<ISoundOut> steady_;  ///< once the device is lost
};

long OnData(cubeb_stream* /*stream*/, void* run, const void* /*input*/, void* output, long frames) noexcept {
    auto& to = *static_cast<Run*>(run);
    to.FillDevice({static_cast<float*>(output), static_cast<std::size_t>(frames * to.Channels())});
    return frames;
}

void OnState(cubeb_stream* /*stream*/, void* run, cubeb_state state) noexcept {
    if (state == CUBEB_STATE_ERROR) static_cast<Run*>(run)->Lose();
}

/// The default device. Each call lasts as long as the sound server likes, perhaps for ever.
class Device {
public:
    /// Connects to the sound server, ahead of the first Open.
    /// @returns false when there is none
    bool Connect() {
        if (!context_) context_ = ConnectToCubeb();
        return context_ != nullptr;
    }

    [[nodiscard]] const std::shared_ptr<Run>& Current() const { return run_; }
    [[nodiscard]] bool IsPlaying() const { return stream_ != nullptr; }

    /// Turns to a run, perhaps none; or looks how far the current one is.
    void Serve(const std::shared_ptr<Run>& run) {
        if (run != run_) {
            stream_.reset();
            run_ = run;
            if (run_ && !run_->IsLost()) Open();
        } else if (run_ && run_->IsLost()) {
            Disconnect();
        } else if (std::uint64_t frames = 0; stream_ && cubeb_stream_get_position(stream_.get(), &frames) == CUBEB_OK) {
            run_->SetDevicePosition(static_cast<std::int64_t>(frames));
        }
    }

private:
    /// The connection may be that of a server that is gone: then it is made once more.
    void Open() {
        const bool wasConnected = context_ != nullptr;
        if (Connect() && OpenStream()) return;
        Disconnect();
        if (wasConnected && Connect() && OpenStream()) return;
        Disconnect();
        run_->Lose();
    }

    bool OpenStream() {
        const bool isMono = run_->Channels() == 1;
        cubeb_stream_params params = {CUBEB_SAMPLE_FLOAT32NE, kSampleRate, isMono ? 1U : 2U,
                                      isMono ? CUBEB_LAYOUT_MONO : CUBEB_LAYOUT_STEREO, CUBEB_STREAM_PREF_NONE};
        std::uint32_t held = 0;
        if (cubeb_get_min_latency(context_.get(), &params, &held) != CUBEB_OK) held = 0;
        held = std::max(held, kHeldFrames);
        cubeb_stream* stream = nullptr;
        if (cubeb_stream_init(context_.get(), &stream, "Play list", nullptr, nullptr, nullptr, &params, held, OnData,
                              OnState, run_.get()) != CUBEB_OK) {
            return false;
        }
        stream_.reset(stream);
        return cubeb_stream_start(stream) == CUBEB_OK;
    }

    void Disconnect() {
        stream_.reset();
        context_.reset();
    }

    CubebContext context_;
    std::shared_ptr<Run> run_;  ///< outlives its stream
    CubebStream stream_;
};

/// The thread that deals with the device, so that nobody else ever waits for a sound server.
class DeviceThread {
public:
    DeviceThread() : thread_([desk = desk_] { Work(*desk); }) {}

    /// A thread that the server does not let go of is left to itself.
    ~DeviceThread() {
        std::unique_lock lock(desk_->mutex);
        desk_->isClosing = true;
        desk_->changed.notify_all();
        const bool isDone = desk_->changed.wait_for(lock, kPatience, [this] { return desk_->isDone; });
        lock.unlock();
        if (isDone) {
            thread_.join();
        } else {
            thread_.detach();
        }
    }
    DeviceThread(const DeviceThread&) = delete;
    DeviceThread& operator=(const DeviceThread&) = delete;

    /// Has the device play this and nothing else; or nothing.
    void Play(std::shared_ptr<Run> run) {
        const std::lock_guard lock(desk_->mutex);
        if (run && desk_->busySince && Clock::now() - *desk_->busySince > kFirstPatience) run->Lose();
        desk_->run = std::move(run);
        desk_->changed.notify_all();
    }

private:
    struct Desk {
        std::mutex mutex;
        std::condition_variable changed;
        std::shared_ptr<Run> run;
        std::optional<Clock::time_point> busySince;  ///< empty: waits for something to do
        bool isClosing = false;
        bool isDone = false;
    };

    static void Work(Desk& desk) {
        {
            Device device;
            device.Connect();
            while (const auto run = NextRun(desk, device)) device.Serve(*run);
        }
        const std::lock_guard lock(desk.mutex);
        desk.isDone = true;
        desk.changed.notify_all();
    }

    /// Waits until there is another run, or the current one must be looked after.
    /// @returns nothing to end
    static std::optional<std::shared_ptr<Run>> NextRun(Desk& desk, const Device& device) {
        std::unique_lock lock(desk.mutex);
        desk.busySince.reset();
        const auto isNews = [&] { return desk.isClosing || desk.run != device.Current(); };
        if (device.IsPlaying()) {
            desk.changed.wait_for(lock, kLookEvery, isNews);
        } else {
            desk.changed.wait(lock, isNews);
        }
        desk.busySince = Clock::now();
        if (desk.isClosing) return std::nullopt;
        return desk.run;
    }

    const std::shared_ptr<Desk> desk_ = std::make_shared<Desk>();
    std::thread thread_;
};

class DeviceSoundOut final : public ISoundOut {
public:
    explicit DeviceSoundOut(std::function<void(const std::string&)> log) : log_(std::move(log)) {}
    ~DeviceSoundOut() override { End(); }
    DeviceSoundOut(const DeviceSoundOut&) = delete;
    DeviceSoundOut& operator=(const DeviceSoundOut&) = delete;

    bool Start(int channels, Fill fill) override {
        End();
        const auto run = std::make_shared<Run>(channels, std::move(fill));
        {
            const std::lock_guard lock(mutex_);
            run_ = run;
            isStopping_ = false;
        }
        device_.Play(run);
        watcher_ = std::thread([this, run] { Watch(*run); });
        return true;
    }

    void Stop() override { End(); }

    [[nodiscard]] std::int64_t Played() const override {
        const std::lock_guard lock(mutex_);
        return run_ ? run_->Played() : 0;
    }

private:
    void End() {
        if (!watcher_.joinable()) return;
        {
            const std::lock_guard lock(mutex_);
            isStopping_ = true;
        }
        changed_.notify_all();
        watcher_.join();
        run_->Stop();
        device_.Play(nullptr);
    }

    /// Sees to it that time goes on when the device stops asking for sound.
    void Watch(Run& run) {
        std::int64_t pulled = 0;
        auto lastPull = Clock::now();
        std::unique_lock lock(mutex_);
        while (!changed_.wait_for(lock, kLookEvery, [this] { return isStopping_; })) {
            if (std::exchange(pulled, run.Pulled()) != pulled) lastPull = Clock::now();
            const auto patience = pulled > kHeldFrames ? kPatience : kFirstPatience;
            if (!run.IsLost() && Clock::now() - lastPull < patience) continue;
            lock.unlock();
            run.GoOnWithoutDevice();
            if (log_) log_(pulled == 0 ? kNoDevice : kLostDevice);
            return;
        }
    }

    static constexpr const char* kNoDevice = "there is no sound device: what is played is not heard";
    static constexpr const char* kLostDevice = "the sound device is lost: what is played is not heard from here on";

    const std::function<void(const std::string&)> log_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool isStopping_ = false;
    std::shared_ptr<Run> run_;  ///< the last one; written on the player's thread only
    std::thread watcher_;
    DeviceThread device_;
};

}  // namespace

std::shared_ptr<ISoundOut> MakeDeviceSoundOut(std::function<void(const std::string&)> log) {
    return std::make_shared<DeviceSoundOut>(std::move(log));
}

}  // namespace qv
