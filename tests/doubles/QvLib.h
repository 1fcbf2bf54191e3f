// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "qvlib/IQvLib.h"

namespace doubles {

/// A media file in any state, damaged ones included, whatever lies on the disk. Notes what was asked of it.
class QvLib final : public qv::IQvLib {
    using path = std::filesystem::path;

public:
    std::vector<qv::Ms> keys;
    bool leavesKeyList = true;  ///< false: ListIndex writes no file
    qv::Ms length = 0;
    int version = 1792;
    bool isSound = true;       ///< to the quick check
    bool isWholeSound = true;  ///< to the check of every byte
    qv::PictureDim size{1280, 720};
    int audioBitrate = 32;
    bool hasVideo = false;
    int freeTag = 0;
    std::vector<qv::Ms> thumbTimes;  ///< what ThumbTime answers, the last first, before -1
    std::string calls;               ///< "verifyQvFile media.qv, ": what does work, by file name

    [[nodiscard]] qv::Ms GetLength(const path& /*file*/) override { return length; }
    [[nodiscard]] qv::PictureDim GetFileHeaderDim(const path& /*file*/) override { return size; }
    [[nodiscard]] int GetFileFormatVersion(const path& /*file*/) override { return version; }
    [[nodiscard]] int GetAudioBitrate(const path& /*file*/) override { return audioBitrate; }
    [[nodiscard]] bool qvVideoExists(const path& /*file*/) override { return hasVideo; }
    [[nodiscard]] int GetFreeTag(const path& /*file*/) override { return freeTag; }
    void SetFreeTag(const path& file) override { freeTag = Noted("SetFreeTag ", file, 1); }
    [[nodiscard]] bool verifyQvFile(const path& file) override { return Noted("verifyQvFile ", file, isSound); }
    [[nodiscard]] bool verifyWholeQvFile(const path& file) override {
        return Noted("verifyWholeQvFile ", file, isWholeSound);
    }
    void ListIndex(const path& keyFile, const path& media) override {
        if (!Noted("ListIndex ", media, leavesKeyList)) return;
        std::ofstream list(keyFile, std::ios::binary);
        for (const qv::Ms key : keys) list << key << '\n';
    }
    void ThumbCreate(const path& media, const path& /*listFile*/) override { Noted("ThumbCreate ", media, 0); }
    [[nodiscard]] qv::Ms ThumbTime() override {
        if (thumbTimes.empty()) return -1;
        const qv::Ms time = thumbTimes.back();
        thumbTimes.pop_back();
        return time;
    }
    void BmpResizeImage(const path& bmp, const path& /*jpg*/) override { Noted("BmpResizeImage ", bmp, 0); }

private:
    template <typename Result>
    Result Noted(const char* call, const path& file, Result result) {
        calls += call + file.filename().string() + ", ";
        return result;
    }
};

}  // namespace doubles
