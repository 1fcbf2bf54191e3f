// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/FrameRate.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <vector>

#include "foreign/ForeignFile.h"

namespace qv {

namespace {

constexpr int kConstant = 1;
constexpr int kNoSound = 0;
constexpr int kVariable = -2;
constexpr int kUnreadable = -3;

/// Takes times in rising order and watches the steps between them. Containers round times to ms, so that even steps
/// differ by one; two allows for a rounding at both ends.
class Steps {
public:
    /// @returns false when the steps are not even
    bool Add(std::int64_t us) {
        constexpr std::int64_t kRoundingUs = 2000;
        if (count_++ > 0) {
            const std::int64_t step = us - last_;
            shortest_ = count_ == 2 ? step : std::min(shortest_, step);
            longest_ = count_ == 2 ? step : std::max(longest_, step);
        }
        last_ = us;
        return longest_ - shortest_ <= kRoundingUs;
    }

private:
    std::int64_t count_ = 0;
    std::int64_t last_ = 0;
    std::int64_t shortest_ = 0;
    std::int64_t longest_ = 0;
};

/// The same for times that come in decoding order; a packet without one spoils them all.
class ReorderedSteps {
public:
    void Add(std::int64_t time, const ForeignFile& file, AVRational timeBase) {
        constexpr std::size_t kMostReordered = 32;
        even_ = even_ && time != AV_NOPTS_VALUE;
        if (!even_) return;
        waiting_.push(file.UsFromZero(time, timeBase));
        if (waiting_.size() > kMostReordered) TakeFirst();
    }
    /// So far.
    [[nodiscard]] bool Even() const { return even_; }
    [[nodiscard]] bool EvenToTheEnd() {
        while (even_ && !waiting_.empty()) TakeFirst();
        return even_;
    }

private:
    void TakeFirst() {
        even_ = steps_.Add(waiting_.top());
        waiting_.pop();
    }

    std::priority_queue<std::int64_t, std::vector<std::int64_t>, std::greater<>> waiting_;
    Steps steps_;
    bool even_ = true;
};

/// Some containers tell the time of showing with few packets only, others that of decoding with none.
bool IsEven(ForeignFile& file) {
    const AVStream& stream = *file.PictureStream();
    file.ReadOnly(stream);
    ReorderedSteps shown;
    ReorderedSteps decoded;
    const av::Packet packet = av::NewPacket();
    while ((shown.Even() || decoded.Even()) && file.Next(*packet)) {
        shown.Add(packet->pts, file, stream.time_base);
        decoded.Add(packet->dts, file, stream.time_base);
    }
    return shown.EvenToTheEnd() || decoded.EvenToTheEnd();
}

}  // namespace

int IsWmvConstFrmRate(const std::filesystem::path& path) noexcept {
    try {
        ForeignFile file(path);
        if (file.SoundStream() == nullptr) return kNoSound;
        if (file.PictureStream() == nullptr) return kConstant;
        return IsEven(file) ? kConstant : kVariable;
    } catch (const std::exception&) {
        return kUnreadable;
    }
}

}  // namespace qv
