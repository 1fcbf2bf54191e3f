// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <iterator>
#include <memory>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/Numbers.h"
#include "base/World.h"

namespace mirrane {

class CWaveSeg;

/// The face of the wave segments: one view each, named by the segment's number.
class IWaveView {
public:
    virtual ~IWaveView() = default;
    /// Makes a hidden view. Its segment comes later, with Refresh.
    virtual void Load(std::int32_t segIndex) = 0;
    /// The segment may be gone already, and the view may be the one whose mouse event led here.
    virtual void Unload(std::int32_t segIndex) = 0;
    /// Paints the sound and the selection anew.
    virtual void Refresh(const CWaveSeg& seg) = 0;
    /// The segment was shown, hidden, moved or stretched. Its picture is the same.
    virtual void Place(const CWaveSeg& seg) = 0;
    /// Brings the two position lines of a track in front of its views.
    virtual void RaiseLines(std::int32_t trackIndex) = 0;
};

/// Which views are loaded, of all tracks together, and the face that shows them.
class CWaveViews {
public:
    /// @param face nullptr: nobody looks. It outlives this.
    void Face(IWaveView* face) { face_ = face; }
    [[nodiscard]] IWaveView* Face() const { return face_; }

    /// @throws std::runtime_error when the number has a view already
    void Load(std::int32_t segIndex);
    void Unload(std::int32_t segIndex);
    [[nodiscard]] bool IsLoaded(std::int32_t segIndex) const { return loaded_.contains(segIndex); }

private:
    IWaveView* face_ = nullptr;
    std::set<std::int32_t> loaded_;
};

/// The sound of a segment as it is drawn.
struct CSamples {
    std::vector<std::int16_t> PCM;  ///< one peak, 0 to 32767, for each kSampleMs
};

/// What a wave segment is. Times in ms, on the timeline of the whole project.
struct WaveSegRecord {
    std::int32_t segIndex = 0;    ///< names segment and view; unique over both tracks
    std::int32_t slideIndex = 0;  ///< 1-based
    std::int32_t trackIndex = 0;  ///< 0: Track 1, 1: Track 2
    Ms pos = 0;
    Ms posEnd = 0;  ///< exclusive
    CSamples samples = {};
    std::filesystem::path srcFile = {};
    Ms srcPos = 0;
    Ms srcPosEnd = 0;
    std::int32_t volPercent = 100;
};

/// Where a view lies on its track's canvas, in pixels.
struct WavePlace {
    int Left = 0;
    int Width = 0;
};

/// One wave segment of the timeline. What its view has to follow at once has setters, which tell it.
class CWaveSeg : public WaveSegRecord {
public:
    /// @param views outlive the segment
    CWaveSeg(const CWaveViews& views, WaveSegRecord record, WavePlace place)
        : WaveSegRecord(std::move(record)), views_(views), place_(place) {}

    [[nodiscard]] bool selected() const { return isSelected_; }
    void selected(bool on);
    [[nodiscard]] bool Visible() const { return isVisible_; }
    void Visible(bool on);
    [[nodiscard]] int Left() const { return place_.Left; }
    [[nodiscard]] int Width() const { return place_.Width; }
    void Place(WavePlace place);

    /// Begins at another time; the length stays. @throws std::overflow_error, with nothing changed
    void move(Ms newPos);
    /// Has its view painted anew.
    void Refresh() const;

private:
    const CWaveViews& views_;
    WavePlace place_;
    bool isSelected_ = false;
    bool isVisible_ = false;
};

/// The segments of a track, by position from 1 and by segIndex. A segment stays where it is in memory until it is
/// removed. A position or number that is not there throws std::out_of_range.
class WaveSegs {
    using Store = std::vector<std::unique_ptr<CWaveSeg>>;

public:
    template <typename Seg>
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = CWaveSeg;
        using difference_type = std::ptrdiff_t;
        using pointer = Seg*;
        using reference = Seg&;

        Iterator() = default;
        explicit Iterator(Store::const_iterator at) : at_(at) {}
        Seg& operator*() const { return **at_; }
        Seg* operator->() const { return at_->get(); }
        Iterator& operator++() {
            ++at_;
            return *this;
        }
        Iterator operator++(int) {
            const Iterator before = *this;
            ++at_;
            return before;
        }
        friend bool operator==(const Iterator&, const Iterator&) = default;

    private:
        Store::const_iterator at_;
    };

    [[nodiscard]] std::int32_t Count() const { return static_cast<std::int32_t>(segs_.size()); }
    [[nodiscard]] CWaveSeg& item(std::int32_t position) { return *segs_[Offset(position)]; }
    [[nodiscard]] const CWaveSeg& item(std::int32_t position) const { return *segs_[Offset(position)]; }
    [[nodiscard]] CWaveSeg& byKey(std::int32_t segIndex) const;
    /// nullptr: not there.
    [[nodiscard]] CWaveSeg* Find(std::int32_t segIndex) const;

    /// @param before the 1-based position that it gets, at most Count() + 1
    /// @throws std::invalid_argument when its number is taken
    void Insert(std::unique_ptr<CWaveSeg> seg, std::int32_t before);
    void Remove(std::int32_t position);

    [[nodiscard]] auto begin() { return Iterator<CWaveSeg>(segs_.cbegin()); }
    [[nodiscard]] auto end() { return Iterator<CWaveSeg>(segs_.cend()); }
    [[nodiscard]] auto begin() const { return Iterator<const CWaveSeg>(segs_.cbegin()); }
    [[nodiscard]] auto end() const { return Iterator<const CWaveSeg>(segs_.cend()); }

private:
    [[nodiscard]] std::size_t Offset(std::int32_t position) const;

    Store segs_;
    std::unordered_map<std::int32_t, CWaveSeg*> bySegIndex_;
};

/// The keys held while something is selected.
enum class SelectShift { None = 0, Shift = 1, Control = 2 };

/// What the user edits of one track: its segments, sorted by slide and, within a slide, by pos; of equal ones the shorter,
/// then the one with the lower number, stands first. There may be gaps; that segments of a track do not overlap is up to
/// those who put them.
class CWaveTrack {
public:
    /// @param views of both tracks; outlive this, as does the world
    CWaveTrack(World& world, CWaveViews& views) : world_(world), views_(views) {}

    WaveSegs items;
    std::int32_t maxSegIndex = 0;  ///< the highest segIndex of items; stays when the last one is removed
    bool trackSelected = false;

    [[nodiscard]] std::int32_t Count() const { return items.Count(); }
    /// The 1-based position of a segment, -1 when it is not here.
    [[nodiscard]] std::int32_t getItemIndex(std::int32_t segIndex) const;

    /// Takes a new segment, hidden and unselected, whose view is loaded. One that would stand ahead of a segment of its
    /// slide on another track is left out, after a message; its view stays loaded.
    /// @throws std::invalid_argument when its number is taken
    bool Add(WaveSegRecord record, WavePlace place = {});
    void Remove(std::int32_t position);
    void RemoveAll();

    /// Shows the segments of a slide and hides all others. @returns whether one was shown
    bool SwitchSlide(std::int32_t slideIndex);
    /// Selects a segment alone; with Shift besides those that are selected; with Control inverts its selection.
    void SelectSeg(std::int32_t segIndex, SelectShift shift = SelectShift::None);
    void SelectAll();
    void DeSelectAll();
    /// Moves the segments of a slide and of all behind it. Nothing stops them at 0.
    void ShiftPos(std::int32_t fromSlide, Ms delta);

private:
    void SetSelected(bool on);

    World& world_;
    CWaveViews& views_;
};

}  // namespace mirrane
