// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <stop_token>
#include <thread>
#include <utility>

#include "foreign/ForeignSound.h"
#include "qvlib/ISoundIn.h"
#include "sound/SoundFormat.h"

namespace qv {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBlockMs = 10;

class FileSoundIn final : public ISoundIn {
public:
    FileSoundIn(std::filesystem::path file, double speed) : file_(std::move(file)), speed_(speed) {}
    ~FileSoundIn() override { Close(); }
    FileSoundIn(const FileSoundIn&) = delete;
    FileSoundIn& operator=(const FileSoundIn&) = delete;

    std::optional<std::vector<SoundInDevice>> Devices() override {
        return std::vector<SoundInDevice>{{file_.filename().string(), file_.string()}};
    }

    bool Open(const std::string& id, int channels, Take take) override {
        Close();
        if (!id.empty() && id != file_.string()) return false;
        try {
            auto sound = std::make_shared<ForeignSound>(file_, channels, LateStart::Drop);
            thread_ = std::jthread([this, sound, channels, take = std::move(take)](const std::stop_token& stop) {
                Bring(*sound, channels, take, stop);
            });
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }

    void Close() override { thread_ = {}; }
    [[nodiscard]] bool IsLost() const override { return false; }
    [[nodiscard]] std::chrono::microseconds Latency() const override { return std::chrono::microseconds(0); }
    [[nodiscard]] double Speed() const override { return speed_; }

private:
    void Bring(ForeignSound& sound, int channels, const Take& take, const std::stop_token& stop) const {
        const auto blockTime =
            std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double, std::milli>(kBlockMs / speed_));
        std::vector<float> block(static_cast<std::size_t>(kBlockMs * kSamplesPerMs * channels));
        for (auto due = Clock::now() + blockTime; !stop.stop_requested(); due += blockTime) {
            std::fill(block.begin() + Read(sound, block), block.end(), 0.0F);
            std::this_thread::sleep_until(due);
            take(block);
        }
    }

    static std::ptrdiff_t Read(ForeignSound& sound, std::span<float> into) {
        try {
            return static_cast<std::ptrdiff_t>(sound.Read(into));
        } catch (const std::exception&) {
            return 0;
        }
    }

    const std::filesystem::path file_;
    const double speed_;
    std::jthread thread_;
};

}  // namespace

std::shared_ptr<ISoundIn> MakeFileSoundIn(std::filesystem::path file, double speed) {
    return std::make_shared<FileSoundIn>(std::move(file), speed);
}

}  // namespace qv
