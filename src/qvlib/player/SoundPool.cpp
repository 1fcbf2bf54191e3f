// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/SoundPool.h"

#include <algorithm>
#include <utility>

namespace qv {

namespace {

class Lent : public OpusPackets {
public:
    explicit Lent(std::shared_ptr<OpusPackets> packets) : packets_(std::move(packets)) {}

    [[nodiscard]] int Channels() const override { return packets_->Channels(); }
    [[nodiscard]] std::int64_t Samples() const override { return packets_->Samples(); }
    bool Read(std::int64_t n, std::vector<std::uint8_t>& data) override { return packets_->Read(n, data); }

private:
    std::shared_ptr<OpusPackets> packets_;
};

bool IsSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

std::unique_ptr<OpusPackets> SoundPool::Open(const std::filesystem::path& file) {
    struct stat facts {};
    const bool isThere = stat(file.c_str(), &facts) == 0;
    const auto found = std::ranges::find(kept_, file, &Kept::file);
    if (found != kept_.end() && isThere && IsSame(found->facts, facts) && found->packets.use_count() == 1) {
        kept_.splice(kept_.begin(), kept_, found);
        return std::make_unique<Lent>(kept_.front().packets);
    }
    if (found != kept_.end()) kept_.erase(found);
    kept_.push_front({file, facts, OpenSound(file)});
    if (kept_.size() > kMostKept) kept_.pop_back();
    return std::make_unique<Lent>(kept_.front().packets);
}

}  // namespace qv
