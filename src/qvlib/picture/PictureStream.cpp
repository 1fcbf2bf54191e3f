// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PictureStream.h"

#include <algorithm>
#include <deque>
#include <exception>
#include <limits>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "MediaError.h"
#include "jobs/BoundedQueue.h"
#include "picture/PicturePlan.h"
#include "picture/PictureSource.h"

namespace qv {

namespace {

/// Packets go to the other thread in batches: waking it for each one would cost more than copying it.
constexpr std::size_t kBatchPackets = 64;
constexpr std::size_t kBatchBytes = 1 << 20;
constexpr std::size_t kBatchesAhead = 4;

struct Made {
    PicturePacket packet;
    bool copied = false;
};
using Batch = std::vector<Made>;

/// Takes the packets that an Executor makes.
class Outlet {
public:
    Outlet(BoundedQueue<Batch>& queue, std::stop_token stop) : queue_(queue), stop_(std::move(stop)) {}

    void Put(PicturePacket packet, bool copied) {
        bytes_ += packet.data.size();
        batch_.push_back({std::move(packet), copied});
        if (batch_.size() >= kBatchPackets || bytes_ >= kBatchBytes) Flush();
    }

    void Flush() {
        if (stop_.stop_requested() || !queue_.Push(std::exchange(batch_, {}))) throw Abandoned();
        bytes_ = 0;
    }

private:
    BoundedQueue<Batch>& queue_;
    std::stop_token stop_;
    Batch batch_;
    std::size_t bytes_ = 0;
};

/// Carries out the steps of a plan, one after the other.
class Executor {
public:
    Executor(PictureSource& source, Outlet& out, const std::function<void(const std::string&)>& log)
        : source_(source), out_(out), log_(log) {}

    void Run(std::span<const PictureStep> plan) {
        while (!plan.empty()) {
            const auto isNew = [](const PictureStep& step) { return !step.goesOn; };
            const auto next = std::find_if(plan.begin() + 1, plan.end(), isNew);
            const auto chain = plan.first(static_cast<std::size_t>(next - plan.begin()));
            RunChain(chain);
            plan = plan.subspan(chain.size());
        }
    }

private:
    using Kind = PictureStep::Kind;

    /// A packet that was read but not let through yet.
    struct Waiting {
        PicturePacket packet;
        bool orphan = false;  ///< coded after a picture that is cut off
    };

    /// One step, or a Copy with those that go on from it.
    void RunChain(std::span<const PictureStep> chain) {
        const PictureStep& first = chain.front();
        if (first.kind == Kind::Copy) {
            Copy(chain, first.srcFrom);
        } else if (source_.StandsOnKey(first.srcFrom)) {
            CopyFromStandingKey(first);
        } else {
            Encode(first);
        }
    }

    /// The picture that stands at the step's start is a key's: its packet is right there too, and those behind it follow.
    void CopyFromStandingKey(const PictureStep& step) {
        PictureStep copy = step;
        copy.srcTo = std::max(step.srcTo, step.srcFrom + 1);
        Copy({&copy, 1}, source_.KeyAt(step.srcFrom));
    }

    /// Copies the packets of a chain, entering at a key that is shown at the chain's start. A packet is let through when
    /// kReorderDepth packets behind it have been seen, so that the chain's end can be found in time.
    void Copy(std::span<const PictureStep> chain, Ms key) {
        const Ms end = chain.back().srcTo;
        std::size_t behindEnd = 0;  // packets read since the first that is cut off
        source_.Enter(key);
        while (behindEnd < kReorderDepth) {
            const auto block = source_.Next();
            const bool isCutOff = block && block->time >= end;
            if (!block || (block->key && isCutOff)) break;
            if (isCutOff || behindEnd > 0) ++behindEnd;
            if (isCutOff) continue;
            const Ms time = block->time == key ? chain.front().srcFrom : block->time;
            waiting_.push_back({{time, block->key, {block->data.begin(), block->data.end()}}, behindEnd > 0});
            if (behindEnd == 0 && waiting_.size() > kReorderDepth) LetThrough(chain);
        }
        FinishCopy(chain);
    }

    /// Pictures that were coded after one that is cut off may refer to it. They are made anew, and with them every one
    /// that is shown after the first of them.
    void FinishCopy(std::span<const PictureStep> chain) {
        const auto orphan =
            std::find_if(waiting_.begin(), waiting_.end(), [](const Waiting& one) { return one.orphan; });
        auto kept = static_cast<std::size_t>(orphan - waiting_.begin());
        while (kept > 0 && kept < waiting_.size() && EarliestFrom(kept) < LatestBefore(kept)) --kept;
        const bool allKept = kept == waiting_.size();
        const Ms lost = allKept ? 0 : EarliestFrom(kept);
        for (; kept > 0; --kept) LetThrough(chain);
        waiting_.clear();
        if (allKept) return;
        for (const PictureStep& step : chain)
            if (lost < step.srcTo) Encode(Cut(step, std::max(lost, step.srcFrom)));
    }

    [[nodiscard]] Ms EarliestFrom(std::size_t index) const {
        Ms earliest = std::numeric_limits<Ms>::max();
        for (; index < waiting_.size(); ++index) earliest = std::min(earliest, waiting_[index].packet.time);
        return earliest;
    }

    [[nodiscard]] Ms LatestBefore(std::size_t index) const {
        Ms latest = 0;
        for (std::size_t i = 0; i < index; ++i) latest = std::max(latest, waiting_[i].packet.time);
        return latest;
    }

    static PictureStep Cut(PictureStep step, Ms from) {
        step.dstFrom += from - step.srcFrom;
        step.srcFrom = from;
        return step;
    }

    void LetThrough(std::span<const PictureStep> chain) {
        PicturePacket packet = std::move(waiting_.front().packet);
        waiting_.pop_front();
        const auto isLater = [&](const PictureStep& step) { return step.srcFrom <= packet.time; };
        const auto step = std::find_if(chain.rbegin(), chain.rend(), isLater);
        if (step == chain.rend()) return;  // shown before the stretch begins
        packet.time = step->dstFrom + (packet.time - step->srcFrom);
        out_.Put(std::move(packet), true);
    }

    /// Makes the pictures of an Encode or a Hold anew.
    void Encode(const PictureStep& step) {
        std::optional<PictureEncoder> encoder;
        const auto encodeOne = [&](const Picture& picture) {
            const bool isFirst = !encoder;
            if (isFirst) encoder.emplace(source_.Format(), picture);
            encoder->Send(picture, step.dstFrom + std::max(0, picture.time - step.srcFrom), isFirst);
            Drain(*encoder);
            return true;
        };
        const int damaged = source_.Decode(step.srcFrom, std::max(step.srcTo, step.srcFrom + 1), encodeOne);
        if (damaged > 0 && log_)
            log_(source_.Path().string() + ": " + std::to_string(damaged) + " damaged pictures after " +
                 std::to_string(step.srcFrom) + " ms");
        encoder->SendEnd();
        Drain(*encoder);
    }

    void Drain(PictureEncoder& encoder) {
        while (auto packet = encoder.Receive()) out_.Put(std::move(*packet), false);
    }

    PictureSource& source_;
    Outlet& out_;
    const std::function<void(const std::string&)>& log_;
    std::deque<Waiting> waiting_;  ///< in decoding order
};

}  // namespace

class PictureStream::Impl {
public:
    Impl(const PictureMix& mix, std::stop_token stop)
        : source_(mix.file, mix.camera),
          plan_(PlanPicture(mix.rows, source_.Keys())),
          log_(mix.log),
          stop_(std::move(stop)),
          onStop_(stop_, [this] { queue_.Close(); }),
          worker_([this] { Work(); }) {}

    ~Impl() { queue_.Close(); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    [[nodiscard]] const PictureFormat& Format() const { return source_.Format(); }
    [[nodiscard]] Counts Given() const { return given_; }

    bool Next(PicturePacket& packet) {
        while (at_ == batch_.size()) {
            auto batch = queue_.Pop();
            if (stop_.stop_requested()) throw Abandoned();
            if (!batch) {
                if (failure_) std::rethrow_exception(failure_);
                return false;
            }
            batch_ = std::move(*batch);
            at_ = 0;
        }
        Made& made = batch_[at_++];
        ++given_.all;
        given_.copied += made.copied ? 1 : 0;
        packet = std::move(made.packet);
        return true;
    }

private:
    void Work() {
        try {
            Outlet out(queue_, stop_);
            Executor(source_, out, log_).Run(plan_);
            out.Flush();
        } catch (...) {
            failure_ = std::current_exception();
        }
        queue_.Close();
    }

    PictureSource source_;
    std::vector<PictureStep> plan_;
    std::function<void(const std::string&)> log_;
    std::stop_token stop_;
    BoundedQueue<Batch> queue_{kBatchesAhead};
    std::exception_ptr failure_;  ///< written by the worker before it closes the queue
    Batch batch_;
    std::size_t at_ = 0;
    Counts given_;
    std::stop_callback<std::function<void()>> onStop_;
    std::jthread worker_;
};

PictureStream::PictureStream(const PictureMix& mix, std::stop_token stop)
    : impl_(std::make_unique<Impl>(mix, std::move(stop))) {}

PictureStream::~PictureStream() = default;

const PictureFormat& PictureStream::Format() const { return impl_->Format(); }

PictureStream::Counts PictureStream::Given() const { return impl_->Given(); }

bool PictureStream::Next(PicturePacket& packet) { return impl_->Next(packet); }

}  // namespace qv
