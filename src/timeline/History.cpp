// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/History.h"

#include <exception>
#include <fstream>
#include <string_view>

#include "base/Text.h"

namespace mirrane {

namespace {

constexpr std::size_t kMostOldLog = 32768;  ///< UTF-16 units of a log that is left as it is
constexpr std::string_view kLogHeader =
    "GID,    Action,     seg,    track,  slide,  pos,    end,    split,  posDif, sPos,   sEnd,   volDif, File\r\n";

/// Blanks ahead of a text until it has that width; a longer one stays as it is.
std::string PadField(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string Column(std::int32_t value, std::size_t width) { return PadField(std::to_string(value), width) + '\t'; }

CAudioSeg ToRecord(const WaveSegRecord& seg, const ActionDetail& detail) {
    CAudioSeg record;
    record.pos = seg.pos;
    record.posEnd = seg.posEnd;
    record.srcFile = seg.srcFile;
    record.srcPos = seg.srcPos;
    record.srcPosEnd = seg.srcPosEnd;
    record.segIndex = seg.segIndex;
    record.slideIndex = seg.slideIndex;
    record.trackIndex = seg.trackIndex;
    record.volPercent = seg.volPercent;
    record.posDif = detail.posDif;
    record.volDif = detail.volDif;
    record.split = detail.split;
    return record;
}

}  // namespace

std::string Word(Action action) {
    switch (action) {
        case Action::Insert:
            return "Insert";
        case Action::Remove:
            return "Remove";
        case Action::Split:
            return "Split";
        case Action::Move:
            return "Move";
        case Action::VolAdjust:
            break;
    }
    return "VolAdjust";
}

CHistory::~CHistory() {
    if (logStarted_) AppendToLog("=== End (" + GetNowString(world_.clock.Now()) + ") ===\r\n");
}

void CHistory::ActionReset() {
    entries_.clear();
    lastGroupId_ = 0;
    lastIndex_ = 0;
    curIndex_ = 0;
}

void CHistory::StartGroup() {
    inGroup_ = true;
    ++lastGroupId_;
}

void CHistory::EndGroup() {
    if (curIndex_ == 0 || At(curIndex_).groupId != lastGroupId_) --lastGroupId_;
    inGroup_ = false;
}

void CHistory::ActionAdd(Action action, const WaveSegRecord& seg, ActionDetail detail) {
    if (!inGroup_) ++lastGroupId_;
    entries_.resize(static_cast<std::size_t>(curIndex_));  // what could be redone is gone
    entries_.push_back({lastGroupId_, action, ToRecord(seg, detail)});
    lastIndex_ = ++curIndex_;
    WriteStepLog(entries_.back(), "");
}

void CHistory::Undo(IReplay& replay) {
    if (!CanUndo()) return;
    const std::int32_t group = At(curIndex_).groupId;
    while (curIndex_ >= 1 && At(curIndex_).groupId == group) {
        if (!UndoStep(replay)) return;
        --curIndex_;
    }
}

void CHistory::Redo(IReplay& replay) {
    if (!CanRedo()) return;
    const std::int32_t group = At(curIndex_ + 1).groupId;
    while (curIndex_ < lastIndex_ && At(curIndex_ + 1).groupId == group) {
        ++curIndex_;
        if (!RedoStep(replay)) return;
    }
}

bool CHistory::UndoStep(IReplay& replay) {
    const Entry& entry = At(curIndex_);
    const CAudioSeg& record = entry.record;
    if (!replay.ShowSlide(record.slideIndex)) return false;
    WriteStepLog(entry, "(U)");
    switch (entry.action) {
        case Action::Insert:
            return replay.Remove(record.segIndex);
        case Action::Remove:
            return replay.Insert(record);
        case Action::Split:
            return replay.Merge(record.segIndex, record.split, record.trackIndex);
        case Action::Move:
            return replay.Move(record.segIndex, CheckedSub(0, record.posDif));
        case Action::VolAdjust:
            break;
    }
    return replay.VolAdjust(record.segIndex, CheckedSub(0, record.volDif));
}

bool CHistory::RedoStep(IReplay& replay) {
    const Entry& entry = At(curIndex_);
    const CAudioSeg& record = entry.record;
    if (!replay.ShowSlide(record.slideIndex)) return false;
    WriteStepLog(entry, "(R)");
    switch (entry.action) {
        case Action::Insert:
            return replay.Insert(record);
        case Action::Remove:
            return replay.Remove(record.segIndex);
        case Action::Split:
            return replay.Split(record.segIndex, record.split);
        case Action::Move:
            return replay.Move(record.segIndex, record.posDif);
        case Action::VolAdjust:
            break;
    }
    return replay.VolAdjust(record.segIndex, record.volDif);
}

void CHistory::WriteStepLog(const Entry& entry, const std::string& suffix) {
    if (projectFolder_.empty()) return;
    if (!logStarted_) StartLog();
    const CAudioSeg& record = entry.record;
    AppendToLog(Column(entry.groupId, 4) + PadField(PadField(Word(entry.action) + suffix, 6), 8) + '\t' +
                Column(record.segIndex, 6) + Column(record.trackIndex, 5) + Column(record.slideIndex, 5) +
                Column(record.pos, 6) + Column(record.posEnd, 6) + Column(record.split, 6) + Column(record.posDif, 6) +
                Column(record.srcPos, 6) + Column(record.srcPosEnd, 6) + Column(record.volDif, 4) +
                record.srcFile.string() + "\r\n");
}

void CHistory::StartLog() {
    logStarted_ = true;
    const std::filesystem::path file = InFolder(projectFolder_, kLogName);
    try {
        const std::string old = FileExists(file) ? ReadFile(file) : std::string();
        const std::size_t length = TextLength(old);
        // The cut falls where it falls, in the middle of a line as a rule.
        if (length > kMostOldLog)
            world_.disk.Write(file, std::string_view(old).substr(TextPrefix(old, length - kMostOldLog - 1).size()));
    } catch (const std::exception&) {  // then it stays long
    }
    AppendToLog("\r\n=== Begin (" + GetNowString(world_.clock.Now()) + ") ===\r\n" + std::string(kLogHeader));
}

void CHistory::AppendToLog(const std::string& text) const {
    // No folder would come out as the root of all. A log that cannot be written keeps nobody from working.
    if (projectFolder_.empty()) return;
    std::ofstream(InFolder(projectFolder_, kLogName), std::ios::binary | std::ios::app) << text;
}

}  // namespace mirrane
