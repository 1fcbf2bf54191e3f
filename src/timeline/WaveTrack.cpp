// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/WaveTrack.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <tuple>

namespace mirrane {

namespace {

/// Where two begin together, one lies under the end of the other: the shorter one goes first, so that it is heard.
bool StandsBefore(const WaveSegRecord& a, const WaveSegRecord& b) {
    return std::tie(a.pos, a.posEnd, a.segIndex) < std::tie(b.pos, b.posEnd, b.segIndex);
}

}  // namespace

void CWaveViews::Load(std::int32_t segIndex) {
    if (!loaded_.insert(segIndex).second)
        throw std::runtime_error("The view " + std::to_string(segIndex) + " is already loaded");
    if (face_ != nullptr) face_->Load(segIndex);
}

void CWaveViews::Unload(std::int32_t segIndex) {
    loaded_.erase(segIndex);
    if (face_ != nullptr) face_->Unload(segIndex);
}

void CWaveSeg::selected(bool on) {
    if (isSelected_ == on) return;
    isSelected_ = on;
    Refresh();
}

void CWaveSeg::Visible(bool on) {
    if (isVisible_ == on) return;
    isVisible_ = on;
    if (views_.Face() != nullptr) views_.Face()->Place(*this);
}

void CWaveSeg::Place(WavePlace place) {
    place_ = place;
    if (views_.Face() != nullptr) views_.Face()->Place(*this);
}

void CWaveSeg::move(Ms newPos) {
    posEnd = CheckedAdd(newPos, CheckedSub(posEnd, pos));
    pos = newPos;
}

void CWaveSeg::Refresh() const {
    if (views_.Face() != nullptr) views_.Face()->Refresh(*this);
}

CWaveSeg& WaveSegs::byKey(std::int32_t segIndex) const {
    CWaveSeg* seg = Find(segIndex);
    if (seg == nullptr) throw std::out_of_range("There is no segment " + std::to_string(segIndex));
    return *seg;
}

CWaveSeg* WaveSegs::Find(std::int32_t segIndex) const {
    const auto found = bySegIndex_.find(segIndex);
    return found == bySegIndex_.end() ? nullptr : found->second;
}

void WaveSegs::Insert(std::unique_ptr<CWaveSeg> seg, std::int32_t before) {
    const auto at = segs_.begin() + (before > Count() ? Count() : static_cast<std::ptrdiff_t>(Offset(before)));
    if (!bySegIndex_.emplace(seg->segIndex, seg.get()).second)
        throw std::invalid_argument("There is a segment " + std::to_string(seg->segIndex) + " already");
    segs_.insert(at, std::move(seg));
}

void WaveSegs::Remove(std::int32_t position) {
    const auto at = segs_.begin() + static_cast<std::ptrdiff_t>(Offset(position));
    bySegIndex_.erase((*at)->segIndex);
    segs_.erase(at);
}

std::size_t WaveSegs::Offset(std::int32_t position) const {
    if (position < 1 || position > Count()) throw std::out_of_range("Subscript out of range");
    return static_cast<std::size_t>(position) - 1;
}

std::int32_t CWaveTrack::getItemIndex(std::int32_t segIndex) const {
    std::int32_t position = 0;
    for (const CWaveSeg& seg : items) {
        ++position;
        if (seg.segIndex == segIndex) return position;
    }
    return -1;
}

bool CWaveTrack::Add(WaveSegRecord record, WavePlace place) {
    maxSegIndex = std::max(maxSegIndex, record.segIndex);
    auto seg = std::make_unique<CWaveSeg>(views_, std::move(record), place);
    seg->Refresh();
    std::int32_t before = 1;
    for (const CWaveSeg& other : items) {
        if (other.slideIndex > seg->slideIndex) break;
        if (other.slideIndex == seg->slideIndex && StandsBefore(*seg, other)) {
            if (other.trackIndex == seg->trackIndex) break;
            ShowFailure(world_, "TrackIndex mismatch!", "CWaveTrack.Add");
            return true;
        }
        ++before;
    }
    const std::int32_t trackIndex = seg->trackIndex;
    items.Insert(std::move(seg), before);
    if (views_.Face() != nullptr) views_.Face()->RaiseLines(trackIndex);
    return true;
}

void CWaveTrack::Remove(std::int32_t position) {
    const std::int32_t segIndex = items.item(position).segIndex;
    items.Remove(position);
    views_.Unload(segIndex);
    if (segIndex != maxSegIndex || Count() == 0) return;
    maxSegIndex = 0;
    for (const CWaveSeg& seg : items) maxSegIndex = std::max(maxSegIndex, seg.segIndex);
}

void CWaveTrack::RemoveAll() {
    while (Count() > 0) {
        const std::int32_t segIndex = items.item(Count()).segIndex;
        items.Remove(Count());
        views_.Unload(segIndex);
    }
    maxSegIndex = 0;
}

bool CWaveTrack::SwitchSlide(std::int32_t slideIndex) {
    bool isOneShown = false;
    for (CWaveSeg& seg : items) {
        seg.Visible(seg.slideIndex == slideIndex);
        isOneShown = isOneShown || seg.Visible();
    }
    return isOneShown;
}

void CWaveTrack::SelectSeg(std::int32_t segIndex, SelectShift shift) {
    CWaveSeg& seg = items.byKey(segIndex);
    if (shift == SelectShift::None) DeSelectAll();
    seg.selected(shift != SelectShift::Control || !seg.selected());
}

void CWaveTrack::SelectAll() { SetSelected(true); }

void CWaveTrack::DeSelectAll() { SetSelected(false); }

void CWaveTrack::SetSelected(bool on) {
    for (CWaveSeg& seg : items) seg.selected(on);
}

void CWaveTrack::ShiftPos(std::int32_t fromSlide, Ms delta) {
    for (CWaveSeg& seg : items)
        if (seg.slideIndex >= fromSlide) seg.move(CheckedAdd(seg.pos, delta));
}

}  // namespace mirrane
