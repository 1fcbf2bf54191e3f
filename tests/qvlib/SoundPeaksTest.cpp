// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/Peaks.h"

#include <atomic>
#include <cmath>

#include "sound/SoundFormat.h"
#include "support/Basics.h"
#include "support/SoundFixtures.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using support::Pcm;
using support::SharedSound;

/// A file whose packets lie in memory, and how often they were opened.
class PeaksTest : public testing::Test {
protected:
    PeaksTest() {
        Pcm pcm = support::Speech(40);
        pcm.resize(pcm.size() - 1000);
        for (std::size_t i = 0; i < 1000; ++i) pcm[4600 + i] = i / 50 % 2 == 0 ? 1.6F : -1.6F;  // beyond full scale
        sound_ = support::Encode(support::InStereo(pcm), {2, 32});
        whole_ = support::Decode(sound_->packets, 2, sound_->samples);
        support::WriteBytes(file_, std::vector<std::uint8_t>(300000, 7));
    }

    std::vector<std::int16_t> Peaks(Ms start, Ms end, int count) {
        PeakRequest request{file_, start, end, count, cache_};
        request.open = [this] {
            ++opened_;
            return support::Open(sound_);
        };
        return SamplePeaks(request, {});
    }

    /// Whether the same was asked before, or something was decoded for it.
    bool Decodes(Ms start, Ms end) {
        opened_ = 0;
        static_cast<void>(Peaks(start, end, 10));
        return opened_ > 0;
    }

    /// The slow truth: from all samples of the widened part, decoded from the sound's beginning.
    int Wanted(double fromMs, double toMs) const {
        const auto from = std::max<std::int64_t>(0, static_cast<std::int64_t>(std::floor(fromMs / 8)) * 384);
        const auto to = std::min(static_cast<std::int64_t>(std::ceil(toMs / 8)) * 384, sound_->samples);
        float loudest = 0;
        for (std::int64_t i = 2 * from; i < 2 * to; ++i)
            loudest = std::max(loudest, std::abs(whole_[static_cast<std::size_t>(i)]));
        return static_cast<int>(std::min(32767L, std::lrint(loudest * 32768)));
    }

    fs::path folder_ = support::TestFolder();
    fs::path file_ = folder_ / "lecture.qva";
    fs::path cache_ = folder_ / "cache";
    SharedSound sound_;
    Pcm whole_;
    std::atomic<int> opened_ = 0;
};

TEST_F(PeaksTest, EachPartIsTheLoudestSampleOfItsQuanta) {
    const std::tuple<Ms, Ms, int> cases[] = {{32768, 32776, 1}, {0, 40000, 625},  {17, 39017, 100},
                                             {1000, 1001, 3},   {333, 20000, 7},  {39000, 45000, 40},
                                             {-500, 500, 10},   {32760, 32770, 1}};
    for (const auto& [start, end, count] : cases) {
        const auto peaks = Peaks(start, end, count);
        ASSERT_EQ(std::ssize(peaks), count);
        const double part = static_cast<double>(end - start) / count;
        for (int i = 0; i < count; ++i) {
            const int wanted = Wanted(start + part * i, start + part * (i + 1));
            EXPECT_NEAR(peaks[static_cast<std::size_t>(i)], wanted, 0.02 * wanted + 1) << i << " from " << start;
        }
    }
    EXPECT_EQ(Peaks(96, 104, 1), (std::vector<std::int16_t>{32767})) << "saturates";
    EXPECT_EQ(Peaks(41000, 42000, 2), (std::vector<std::int16_t>{0, 0})) << "behind the end";
    EXPECT_TRUE(Peaks(0, 40000, 0).empty());
    EXPECT_EQ(Peaks(500, 500, 2), (std::vector<std::int16_t>{0, 0})) << "no time at all";
}

TEST_F(PeaksTest, KeptAndFreshAreTheSame) {
    const auto kept = [&] { return Peaks(0, 40000, 5000); };
    const fs::path folder = std::exchange(cache_, fs::path());
    const auto fresh = kept();
    cache_ = folder;
    static_cast<void>(Peaks(20000, 21000, 10));
    EXPECT_FALSE(Decodes(19000, 22000)) << "what lies beside was learned, too";
    EXPECT_TRUE(Decodes(38000, 39000)) << "what lies far away was not";
    EXPECT_EQ(kept(), fresh);
    EXPECT_FALSE(Decodes(0, 40000));
    EXPECT_EQ(kept(), fresh);
}

TEST_F(PeaksTest, AChangedFileIsLearnedAnew) {
    const std::vector<std::uint8_t> bytes(300000, 7);
    const auto time = fs::last_write_time(file_);
    const auto learnsAnew = [&](std::size_t at, std::size_t size, int ms) {
        std::vector<std::uint8_t> changed = bytes;
        changed[at] = 8;
        changed.resize(size, 7);
        bool decodes = false;
        for (const auto& [contents, written] :
             {std::pair{bytes, time}, {changed, time + std::chrono::milliseconds(ms)}}) {
            support::WriteBytes(file_, contents);
            fs::last_write_time(file_, written);
            decodes = Decodes(0, 1000);
        }
        return decodes;
    };
    EXPECT_FALSE(learnsAnew(150000, bytes.size(), 0)) << "nothing that is looked at";
    EXPECT_TRUE(learnsAnew(10, bytes.size(), 0)) << "a byte at the beginning";
    EXPECT_TRUE(learnsAnew(299990, bytes.size(), 0)) << "a byte at the end";
    EXPECT_TRUE(learnsAnew(150000, bytes.size() + 1, 0)) << "the size";
    EXPECT_TRUE(learnsAnew(150000, bytes.size(), 1)) << "the time";
}

TEST_F(PeaksTest, ADamagedSoundIsSilentThere) {
    for (std::size_t n = 500; n < 550; ++n) sound_->packets[n] = {0xff, 0xff};
    const auto peaks = Peaks(10000, 11000, 10);
    EXPECT_EQ(*std::max_element(peaks.begin() + 1, peaks.end() - 1), 0);
    EXPECT_GT(Peaks(9000, 9900, 1)[0], 100);
}

}  // namespace
}  // namespace qv
