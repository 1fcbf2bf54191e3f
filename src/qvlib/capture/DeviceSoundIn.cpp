// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <atomic>
#include <string_view>
#include <utility>

#include "device/Cubeb.h"
#include "device/PatientThread.h"
#include "qvlib/ISoundIn.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// A sound server that has not answered for so long is given up.
constexpr auto kPatience = 3s;
/// An input that has brought nothing for so long is lost. A busy machine may be late; what it then brings is not lost.
constexpr auto kSilentFor = 5s;
/// What the device is asked to hold. It brings a quarter of it at a time.
constexpr std::uint32_t kHeldFrames = 40 * kSamplesPerMs;

/// What comes in between one Open and its Close.
class Line {
public:
    Line(int channels, ISoundIn::Take take) : channels_(channels), take_(std::move(take)) {}

    /// The device's thread.
    void Bring(std::span<const float> sound) noexcept {
        isTaking_ = true;
        if (!isClosed_) take_(sound);
        isTaking_ = false;
        lastSound_ = Clock::now().time_since_epoch().count();
    }

    /// Nothing is taken any more when it returns.
    void Close() {
        isClosed_ = true;
        while (isTaking_) std::this_thread::yield();
    }

    [[nodiscard]] int Channels() const { return channels_; }

    void Lose() noexcept { isLost_ = true; }
    [[nodiscard]] bool IsLost() const {
        return isLost_ || Clock::now() - Clock::time_point(Clock::duration(lastSound_)) > kSilentFor;
    }

    void SetLatency(std::chrono::microseconds latency) { latencyUs_ = latency.count(); }
    [[nodiscard]] std::chrono::microseconds Latency() const { return std::chrono::microseconds(latencyUs_); }

private:
    const int channels_;
    const ISoundIn::Take take_;
    std::atomic<bool> isClosed_ = false;
    std::atomic<bool> isTaking_ = false;
    std::atomic<bool> isLost_ = false;
    std::atomic<std::int64_t> latencyUs_ = 0;
    std::atomic<Clock::rep> lastSound_ = Clock::now().time_since_epoch().count();
};

long OnData(cubeb_stream* /*stream*/, void* line, const void* input, void* /*output*/, long frames) noexcept {
    auto& to = *static_cast<Line*>(line);
    to.Bring({static_cast<const float*>(input), static_cast<std::size_t>(frames * to.Channels())});
    return frames;
}

void OnState(cubeb_stream* /*stream*/, void* line, cubeb_state state) noexcept {
    if (state == CUBEB_STATE_ERROR) static_cast<Line*>(line)->Lose();
}

/// The list as the sound server gives it, for as long as it is looked at.
class Listing {
public:
    explicit Listing(cubeb* context) : context_(context) {
        isThere_ = cubeb_enumerate_devices(context, CUBEB_DEVICE_TYPE_INPUT, &listing_) == CUBEB_OK;
        for (std::size_t i = 0; isThere_ && i < listing_.count; ++i) {
            const cubeb_device_info& info = listing_.device[i];
            if (info.state != CUBEB_DEVICE_STATE_DISABLED && info.device_id != nullptr) devices_.push_back(&info);
        }
        std::ranges::stable_sort(devices_, {}, Rank);
    }
    ~Listing() {
        if (isThere_) cubeb_device_collection_destroy(context_, &listing_);
    }
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;

    /// False when the sound system could not tell.
    [[nodiscard]] bool IsThere() const { return isThere_; }
    /// The usual one first.
    [[nodiscard]] const std::vector<const cubeb_device_info*>& Devices() const { return devices_; }
    /// @param id empty: the usual one. @returns nullptr when there is no such device
    [[nodiscard]] const cubeb_device_info* Find(const std::string& id) const {
        const auto found =
            std::ranges::find_if(devices_, [&](const auto* info) { return id.empty() || info->device_id == id; });
        return found == devices_.end() ? nullptr : *found;
    }

private:
    /// Microphones before what the machine itself plays, and both before what is not plugged in.
    static int Rank(const cubeb_device_info* info) {
        if (info->state != CUBEB_DEVICE_STATE_ENABLED) return 3;
        if (info->preferred != CUBEB_DEVICE_PREF_NONE) return 0;
        return std::string_view(info->device_id).ends_with(".monitor") ? 2 : 1;
    }

    cubeb* context_;
    bool isThere_ = false;
    cubeb_device_collection listing_{};
    std::vector<const cubeb_device_info*> devices_;
};

/// The connection to the sound server, on the thread that may wait for it.
class Server : public std::enable_shared_from_this<Server> {
public:
    explicit Server(std::function<void(PatientThread::Deed)> post) : post_(std::move(post)) {}
    ~Server() { Disconnect(); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// One that knows no device may be a connection that has died: it is made anew, unless it is in use.
    std::optional<std::vector<SoundInDevice>> Devices() {
        auto devices = List();
        if (!stream_ && (!devices || devices->empty())) {
            Disconnect();
            devices = List();
        }
        return devices;
    }

    bool Open(const std::string& id, const std::shared_ptr<Line>& line) {
        Close();
        bool isOpen = OpenStream(id, line);
        if (!isOpen) {
            Disconnect();
            isOpen = OpenStream(id, line);
        }
        if (!isOpen) Close();
        return isOpen;
    }

    void Close() {
        stream_.reset();
        line_.reset();
    }

private:
    bool Connect() {
        if (context_) return true;
        context_ = ConnectToCubeb();
        if (!context_) return false;
        cubeb_register_device_collection_changed(context_.get(), CUBEB_DEVICE_TYPE_INPUT, OnChange, this);
        return true;
    }

    void Disconnect() {
        Close();
        if (context_)
            cubeb_register_device_collection_changed(context_.get(), CUBEB_DEVICE_TYPE_INPUT, nullptr, nullptr);
        context_.reset();
    }

    std::optional<std::vector<SoundInDevice>> List() {
        if (!Connect()) return std::nullopt;
        const Listing listing(context_.get());
        if (!listing.IsThere()) return std::nullopt;
        std::vector<SoundInDevice> devices;
        for (const cubeb_device_info* info : listing.Devices())
            devices.push_back({info->friendly_name ? info->friendly_name : "", info->device_id});
        return devices;
    }

    bool OpenStream(const std::string& id, const std::shared_ptr<Line>& line) {
        if (!Connect()) return false;
        const Listing listing(context_.get());
        const cubeb_device_info* device = listing.Find(id);
        if (device == nullptr) return false;
        const bool isMono = line->Channels() == 1;
        cubeb_stream_params params = {CUBEB_SAMPLE_FLOAT32NE, kSampleRate, isMono ? 1U : 2U,
                                      isMono ? CUBEB_LAYOUT_MONO : CUBEB_LAYOUT_STEREO, CUBEB_STREAM_PREF_NONE};
        std::uint32_t held = 0;
        if (cubeb_get_min_latency(context_.get(), &params, &held) != CUBEB_OK) held = 0;
        line_ = line;
        openId_ = device->device_id;
        cubeb_stream* stream = nullptr;
        if (cubeb_stream_init(context_.get(), &stream, "Recording", device->devid, &params, nullptr, nullptr,
                              std::max(held, kHeldFrames), OnData, OnState, line.get()) != CUBEB_OK)
            return false;
        stream_.reset(stream);
        if (cubeb_stream_start(stream) != CUBEB_OK) return false;
        // Where the sound system does not tell, what it has brought is taken to have just been heard.
        std::uint32_t late = 0;
        if (cubeb_stream_get_input_latency(stream, &late) == CUBEB_OK)
            line->SetLatency(std::chrono::microseconds(std::int64_t{late} * 1000 / kSamplesPerMs));
        return true;
    }

    /// A server may go on with another input where ours was: that would be another voice.
    static void OnChange(cubeb* /*context*/, void* server) noexcept {
        auto& self = *static_cast<Server*>(server);
        self.post_([weak = self.weak_from_this()] {
            if (const auto server = weak.lock()) server->LookForDevice();
        });
    }

    void LookForDevice() {
        if (!stream_) return;
        const Listing listing(context_.get());
        if (listing.Find(openId_) == nullptr) line_->Lose();
    }

    const std::function<void(PatientThread::Deed)> post_;
    CubebContext context_;
    std::shared_ptr<Line> line_;  ///< outlives its stream
    std::string openId_;
    CubebStream stream_;
};

class DeviceSoundIn final : public ISoundIn {
public:
    explicit DeviceSoundIn(std::function<void(const std::string&)> log) : log_(std::move(log)) {}
    ~DeviceSoundIn() override {
        Close();
        thread_.Do([server = std::exchange(server_, nullptr)]() mutable { server.reset(); });
    }
    DeviceSoundIn(const DeviceSoundIn&) = delete;
    DeviceSoundIn& operator=(const DeviceSoundIn&) = delete;

    std::optional<std::vector<SoundInDevice>> Devices() override {
        using Answer = std::optional<std::vector<SoundInDevice>>;
        const auto answer = std::make_shared<Answer>();
        const bool isAnswered = thread_.Do([answer, server = server_] { *answer = server->Devices(); });
        if (isAnswered && *answer) return *answer;
        Log(isAnswered ? "there is no sound system to record with" : "the sound system does not answer");
        return std::nullopt;
    }

    bool Open(const std::string& id, int channels, Take take) override {
        Close();
        line_ = std::make_shared<Line>(channels, std::move(take));
        const auto isOpen = std::make_shared<bool>(false);
        const bool isAnswered = thread_.Do([=, line = line_, server = server_] { *isOpen = server->Open(id, line); });
        if (isAnswered && *isOpen) return true;
        Log(isAnswered ? "the sound input cannot be opened" : "the sound system does not answer");
        Close();
        return false;
    }

    void Close() override {
        if (!line_) return;
        line_->Close();
        line_.reset();
        thread_.Do([server = server_] { server->Close(); });
    }

    [[nodiscard]] bool IsLost() const override { return line_ && line_->IsLost(); }
    [[nodiscard]] std::chrono::microseconds Latency() const override { return line_ ? line_->Latency() : 0us; }

private:
    void Log(const char* line) const {
        if (log_) log_(line);
    }

    const std::function<void(const std::string&)> log_;
    PatientThread thread_{kPatience};
    std::shared_ptr<Server> server_ = std::make_shared<Server>(thread_.Poster());
    std::shared_ptr<Line> line_;  ///< changed only while nobody asks from another thread
};

}  // namespace

std::shared_ptr<ISoundIn> MakeDeviceSoundIn(std::function<void(const std::string&)> log) {
    return std::make_shared<DeviceSoundIn>(std::move(log));
}

}  // namespace qv
