// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/World.h"
#include "timeline/AudioSegList.h"
#include "timeline/WaveTrack.h"

namespace mirrane {

/// The kinds of actions; Word gives the word of the log.
enum class Action { Insert, Remove, Split, Move, VolAdjust };
/// "Insert", "Remove", "Split", "Move", "VolAdjust"
[[nodiscard]] std::string Word(Action action);

/// What an action was told besides its segment; 0 where it was told nothing.
struct ActionDetail {
    Ms posDif = 0;
    std::int32_t volDif = 0;
    Ms split = 0;
};

/// How recorded actions are done and undone: with the operations that did them. None of them records anything. Each
/// returns false when it failed; the user was told.
class IReplay {
public:
    virtual ~IReplay() = default;
    /// Shows the slide that the next action belongs to, and waits until it is there.
    virtual bool ShowSlide(std::int32_t slideIndex) = 0;
    virtual bool Insert(const CAudioSeg& record) = 0;
    virtual bool Remove(std::int32_t segIndex) = 0;
    virtual bool Split(std::int32_t segIndex, Ms split) = 0;
    virtual bool Merge(std::int32_t newSegIndex, Ms split, std::int32_t trackIndex) = 0;
    virtual bool Move(std::int32_t segIndex, Ms posDif) = 0;
    virtual bool VolAdjust(std::int32_t segIndex, std::int32_t volDif) = 0;
};

/// What was done to the timeline, to be undone and redone: action by action, in groups that one command made. Every
/// action, undo and redo is also a line of the step log, step_log_mix.txt in the project folder.
class CHistory {
public:
    /// @param projectFolder where the step log lies; read at each write
    CHistory(World& world, const std::filesystem::path& projectFolder) : world_(world), projectFolder_(projectFolder) {}
    /// Ends the step log, if one was begun.
    ~CHistory();
    CHistory(const CHistory&) = delete;
    CHistory& operator=(const CHistory&) = delete;

    /// Forgets everything.
    void ActionReset();
    /// Groups do not nest. An action outside of a group is a group of its own.
    void StartGroup();
    void EndGroup();
    /// Records an action on a segment, with the values that it has now. What was undone cannot be redone any more.
    void ActionAdd(Action action, const WaveSegRecord& seg, ActionDetail detail);

    [[nodiscard]] bool CanUndo() const { return curIndex_ != 0; }
    [[nodiscard]] bool CanRedo() const { return lastIndex_ != curIndex_; }
    /// Undoes the newest group, newest action first. Stops at an action that fails; those before it stay undone.
    void Undo(IReplay& replay);
    /// Redoes the group that was undone last, oldest action first. Stops at an action that fails.
    void Redo(IReplay& replay);

    /// Of the newest action in force; 0 when all is undone.
    [[nodiscard]] std::int32_t curIndex() const { return curIndex_; }
    /// Of the newest action that can be redone.
    [[nodiscard]] std::int32_t lastIndex() const { return lastIndex_; }
    [[nodiscard]] std::int32_t lastGroupId() const { return lastGroupId_; }

private:
    static constexpr char kLogName[] = "step_log_mix.txt";

    struct Entry {
        std::int32_t groupId = 0;
        Action action = Action::Insert;
        CAudioSeg record;
    };

    [[nodiscard]] const Entry& At(std::int32_t index) const { return entries_[static_cast<std::size_t>(index) - 1]; }
    bool UndoStep(IReplay& replay);
    bool RedoStep(IReplay& replay);
    void WriteStepLog(const Entry& entry, const std::string& suffix);
    void StartLog();
    void AppendToLog(const std::string& text) const;

    World& world_;
    const std::filesystem::path& projectFolder_;
    std::vector<Entry> entries_;
    std::int32_t lastGroupId_ = 0;
    std::int32_t lastIndex_ = 0;
    std::int32_t curIndex_ = 0;
    bool inGroup_ = false;
    bool logStarted_ = false;
};

/// A group that is open as long as this lives.
class HistoryGroup {
public:
    explicit HistoryGroup(CHistory& history) : history_(history) { history_.StartGroup(); }
    ~HistoryGroup() { history_.EndGroup(); }
    HistoryGroup(const HistoryGroup&) = delete;
    HistoryGroup& operator=(const HistoryGroup&) = delete;

private:
    CHistory& history_;
};

}  // namespace mirrane
