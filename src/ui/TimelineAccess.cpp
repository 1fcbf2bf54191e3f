// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TimelineAccess.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <map>
#include <utility>

#include "ui/TimelineCanvas.h"

namespace mirrane {

namespace {

/// A segment as a reader meets it; invalid once it is gone.
class AccessibleSeg final : public QAccessibleInterface {
public:
    AccessibleSeg(TimelineCanvas& canvas, std::int32_t segIndex) : canvas_(&canvas), segIndex_(segIndex) {}

    [[nodiscard]] bool isValid() const override { return Seg() != nullptr; }
    [[nodiscard]] QObject* object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* childAt(int /*x*/, int /*y*/) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(canvas_.data());
    }
    [[nodiscard]] QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
    [[nodiscard]] QString text(QAccessible::Text what) const override {
        const CWaveSeg* seg = Seg();
        return what == QAccessible::Name && seg != nullptr ? canvas_->NameOfSeg(*seg) : QString();
    }
    void setText(QAccessible::Text /*what*/, const QString& /*text*/) override {}
    [[nodiscard]] QRect rect() const override {
        const CWaveSeg* seg = Seg();
        if (seg == nullptr) return {};
        const QRect place = canvas_->PlaceOfSeg(*seg);
        return {canvas_->mapToGlobal(place.topLeft()), place.size()};
    }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State now;
        const CWaveSeg* seg = Seg();
        now.invalid = seg == nullptr;
        now.selectable = true;
        now.focusable = true;
        now.focused = seg != nullptr && seg->selected() && canvas_->hasFocus();
        now.selected = seg != nullptr && seg->selected();
        now.disabled = canvas_ != nullptr && !canvas_->isEnabled();
        now.offscreen = seg != nullptr && !canvas_->rect().intersects(canvas_->PlaceOfSeg(*seg));
        return now;
    }
    [[nodiscard]] std::int32_t Number() const { return segIndex_; }

private:
    [[nodiscard]] const CWaveSeg* Seg() const {
        if (canvas_ == nullptr) return nullptr;
        for (const CWaveSeg* seg : canvas_->ShownSegs())
            if (seg->segIndex == segIndex_) return seg;
        return nullptr;
    }

    QPointer<TimelineCanvas> canvas_;
    std::int32_t segIndex_;
};

class AccessibleCanvas final : public QAccessibleWidget {
public:
    explicit AccessibleCanvas(TimelineCanvas& canvas)
        : QAccessibleWidget(&canvas, QAccessible::List), canvas_(canvas) {}
    ~AccessibleCanvas() override {
        for (const auto& [segIndex, known] : known_) QAccessible::deleteAccessibleInterface(known.id);
    }
    AccessibleCanvas(const AccessibleCanvas&) = delete;
    AccessibleCanvas& operator=(const AccessibleCanvas&) = delete;

    [[nodiscard]] int childCount() const override { return static_cast<int>(canvas_.ShownSegs().size()); }
    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        const std::vector<const CWaveSeg*> segs = canvas_.ShownSegs();
        if (index < 0 || index >= static_cast<int>(segs.size())) return nullptr;
        return Of(segs[static_cast<std::size_t>(index)]->segIndex);
    }
    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
        const CWaveSeg* seg = canvas_.SegAt(canvas_.mapFromGlobal(QPoint(x, y)));
        return seg != nullptr ? Of(seg->segIndex) : nullptr;
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        const auto* wanted = dynamic_cast<const AccessibleSeg*>(child);
        int index = 0;
        for (const CWaveSeg* seg : canvas_.ShownSegs()) {
            if (wanted != nullptr && seg->segIndex == wanted->Number()) return index;
            ++index;
        }
        return -1;
    }

private:
    /// What was registered belongs to the toolkit, which deletes it by its id.
    struct Known {
        AccessibleSeg* seg = nullptr;
        QAccessible::Id id = 0;
    };
    /// A reader keeps what it was given, so that a segment has one interface for good.
    [[nodiscard]] QAccessibleInterface* Of(std::int32_t segIndex) const {
        Known& known = known_[segIndex];
        if (known.seg == nullptr) {
            known.seg = new AccessibleSeg(canvas_, segIndex);
            known.id = QAccessible::registerAccessibleInterface(known.seg);
        }
        return known.seg;
    }

    TimelineCanvas& canvas_;
    mutable std::map<std::int32_t, Known> known_;
};

/// By its name first: the browser's objects have no type that could be asked for, and asking ends the program.
QAccessibleInterface* MakeInterface(const QString& /*className*/, QObject* object) {
    if (object == nullptr || object->objectName() != "picTrackGroup") return nullptr;
    auto* canvas = dynamic_cast<TimelineCanvas*>(object);
    return canvas != nullptr ? new AccessibleCanvas(*canvas) : nullptr;
}

}  // namespace

// Installing the same factory again changes nothing.
void OfferSegsToReaders() { QAccessible::installFactory(MakeInterface); }

void TimelineNews::Tell() {
    if (!QAccessible::isActive()) return;
    TellSelection();
    // What plays would be told all the time.
    if (canvas_.IsPlaying() || canvas_.accessibleDescription() == canvas_.NameOfCursor()) return;
    canvas_.setAccessibleDescription(canvas_.NameOfCursor());
}

void TimelineNews::TellSelection() {
    std::set<std::int32_t> now;
    int child = 0;
    for (const CWaveSeg* seg : canvas_.ShownSegs()) {
        const bool was = selected_.count(seg->segIndex) != 0;
        if (seg->selected()) now.insert(seg->segIndex);
        if (seg->selected() != was) Send(was ? QAccessible::SelectionRemove : QAccessible::SelectionAdd, child);
        if (seg->selected() && !was && canvas_.hasFocus()) Send(QAccessible::Focus, child);
        ++child;
    }
    if (std::exchange(selected_, now) != now) Send(QAccessible::SelectionWithin, -1);
}

/// @param child -1: the canvas itself
void TimelineNews::Send(QAccessible::Event what, int child) const {
    QAccessibleEvent event(&canvas_, what);
    event.setChild(child);
    QAccessible::updateAccessibility(&event);
}

}  // namespace mirrane
