// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/SetPos.h"

#include <algorithm>
#include <stdexcept>

#include "base/Trapped.h"
#include "editing/Commands.h"
#include "editing/Layout.h"

namespace mirrane {

namespace {

struct Field {
    std::size_t digits;
    std::int32_t most;
    Ms unit;
};

constexpr std::array<Field, SetPos::kFields> kFieldsOfTime{
    {{1, 9, 3600000}, {2, 59, 60000}, {2, 59, 1000}, {1, 9, 100}}};

std::string Padded(std::int32_t value, std::size_t digits) {
    const std::string text = std::to_string(value);
    return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
}

bool Fits(const Field& field, const std::string& text) {
    try {
        const std::int32_t value = IntegerPrefix(text);
        return value >= 0 && value <= field.most;
    } catch (const std::overflow_error&) {
        return false;
    }
}

}  // namespace

SetPos::SetPos(EditContext& ctx) : ctx_(ctx) { ResetTxtTime(PositionInSlide()); }

void SetPos::ResetTxtTime(Ms ms) {
    ms = std::max(ms, 0);
    for (std::size_t i = 0; i < kFields; ++i) {
        texts_.at(i) = Padded(ms / kFieldsOfTime.at(i).unit, kFieldsOfTime.at(i).digits);
        ms %= kFieldsOfTime.at(i).unit;
    }
}

bool SetPos::txtTime_Change(std::size_t field, const std::string& text) {
    if (!Fits(kFieldsOfTime.at(field), text)) return false;
    texts_.at(field) = text;
    return true;
}

void SetPos::VScroll_Change(std::size_t field, int steps) {
    const Field& its = kFieldsOfTime.at(field);
    const std::int32_t value = IntegerPrefix(texts_.at(field)) + std::clamp(steps, -its.most, its.most);
    texts_.at(field) = Padded(std::clamp(value, 0, its.most), its.digits);
}

void SetPos::cmdSet_Click() {
    if (!ctx_.isIdle() || !ctx_.hasTimeline()) return;
    const CSlideList& slides = ctx_.state.gSlideList;
    if (!slides.GetUrl(ctx_.curSlide()).empty()) return;
    TrappedVoid(ctx_.world(), "cmdSet_Click", [&] {
        modCommands::Pause(ctx_);
        Ms time = modLayout::SlideStart(ctx_);
        for (std::size_t i = 0; i < kFields; ++i) {
            const Field& field = kFieldsOfTime.at(i);
            if (texts_.at(i).empty()) texts_.at(i) = Padded(0, field.digits);
            time = CheckedAdd(time, CheckedMul(IntegerPrefix(texts_.at(i)), field.unit));
        }
        time = CeilToGrid(time);
        if (time < slides.GetEnd(ctx_.curSlide())) return ctx_.transport->qvSeekTo(time);
        ShowMessage(ctx_.world(), GetResString(ctx_.world(), "frmMixSetPos", "msgOutOfRange", "Out of range!"));
        ResetTxtTime(PositionInSlide());
    });
}

Ms SetPos::PositionInSlide() const { return CheckedSub(ctx_.transport->Position(), modLayout::SlideStart(ctx_)); }

void lPlayInfo_Click(EditContext& ctx) {
    if (!ctx.isIdle()) return;
    const auto show = [&ctx](bool on) {
        ctx.form.isSetPosOpen = on;
        ctx.form.Changed();
    };
    show(false);  // one that is open shows an old time
    modCommands::Pause(ctx);
    show(true);
}

}  // namespace mirrane
