// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/Peaks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <random>

#include "sound/PeakCache.h"
#include "sound/SoundFormat.h"
#include "support/Containers.h"
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
    struct Case {
        Ms start, end;
        int count;
    };
    for (const Case& one : {Case{32768, 32776, 1}, Case{0, 40000, 625}, Case{17, 39017, 100}, Case{1000, 1001, 3},
                            Case{333, 20000, 7}, Case{39000, 45000, 40}, Case{-500, 500, 10}, Case{32760, 32770, 1}}) {
        const auto peaks = Peaks(one.start, one.end, one.count);
        ASSERT_EQ(std::ssize(peaks), one.count);
        const double part = static_cast<double>(one.end - one.start) / one.count;
        for (int i = 0; i < one.count; ++i) {
            const int wanted = Wanted(one.start + part * i, one.start + part * (i + 1));
            EXPECT_NEAR(peaks[static_cast<std::size_t>(i)], wanted, 0.02 * wanted + 1)
                << "part " << i << " of " << one.count << " from " << one.start;
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
    const std::vector<std::uint8_t> bytes = support::ReadBytes(file_);
    const auto time = fs::last_write_time(file_);
    const auto write = [&](const std::vector<std::uint8_t>& contents) {
        support::WriteBytes(file_, contents);
        fs::last_write_time(file_, time);
    };
    const auto learnsAnew = [&](std::size_t at, std::uint8_t value, std::size_t size) {
        write(bytes);
        static_cast<void>(Decodes(0, 1000));
        std::vector<std::uint8_t> changed = bytes;
        changed[at] = value;
        changed.resize(size, 7);
        write(changed);
        return Decodes(0, 1000);
    };
    EXPECT_FALSE(learnsAnew(0, 7, bytes.size())) << "nothing changed";
    EXPECT_TRUE(learnsAnew(10, 8, bytes.size())) << "a byte at the beginning";
    EXPECT_TRUE(learnsAnew(299990, 8, bytes.size())) << "a byte at the end";
    EXPECT_TRUE(learnsAnew(0, 7, bytes.size() + 1)) << "the size";
    write(bytes);
    EXPECT_TRUE(Decodes(0, 1000));
    fs::last_write_time(file_, time + std::chrono::milliseconds(1));
    EXPECT_TRUE(Decodes(0, 1000)) << "the time";
}

TEST_F(PeaksTest, ADamagedCacheIsWrittenAnew) {
    const auto wanted = Peaks(0, 40000, 100);
    const fs::path kept = fs::directory_iterator(cache_)->path();
    const std::vector<std::uint8_t> good = support::ReadBytes(kept);
    std::mt19937 random(3);  // NOLINT(cert-msc51-cpp)
    for (int round = 0; round < 40; ++round) {
        std::vector<std::uint8_t> bad = good;
        // Bytes of the header, then any; every third time, something is cut off or is too much.
        if (round % 3 == 0) bad.resize(random() % (2 * bad.size()));
        if (round % 3 != 0) bad[round < 30 ? static_cast<std::size_t>(round) * 2 : random() % bad.size()] ^= 0x55;
        support::WriteBytes(kept, bad);
        opened_ = 0;
        ASSERT_EQ(Peaks(0, 40000, 100), wanted) << "round " << round;
        EXPECT_GT(opened_, 0) << "round " << round;
        EXPECT_EQ(support::ReadBytes(kept), good) << "round " << round;
    }
}

TEST_F(PeaksTest, AFolderThatTakesNothingCostsTimeOnly) {
    support::WriteBytes(cache_, {1, 2, 3});  // a file where the folder should be
    const auto first = Peaks(0, 40000, 100);
    EXPECT_EQ(Peaks(0, 40000, 100), first);
    EXPECT_EQ(support::ReadBytes(cache_).size(), 3U);
}

TEST_F(PeaksTest, ADamagedSoundIsSilentThere) {
    for (std::size_t n = 500; n < 550; ++n) sound_->packets[n] = {0xff, 0xff};
    const auto peaks = Peaks(10000, 11000, 10);
    EXPECT_EQ(*std::max_element(peaks.begin() + 1, peaks.end() - 1), 0);
    EXPECT_GT(Peaks(9000, 9900, 1)[0], 100);
}

TEST(PeakCacheTest, TheOldestAreDroppedFirst) {
    const fs::path folder = support::TestFolder();
    const auto now = fs::file_time_type::clock::now();
    for (int age = 0; age < 5; ++age) {
        const fs::path file = folder / (std::to_string(age) + ".peaks");
        support::WriteBytes(file, std::vector<std::uint8_t>(100));
        fs::last_write_time(file, now - std::chrono::hours(age));
    }
    support::WriteBytes(folder / "of another.kind", std::vector<std::uint8_t>(1000));
    TrimPeakCache(folder, 250);
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(folder)) left.push_back(entry.path().filename());
    std::ranges::sort(left);
    EXPECT_EQ(left, (std::vector<std::string>{"0.peaks", "1.peaks", "of another.kind"}));
}

}  // namespace
}  // namespace qv
