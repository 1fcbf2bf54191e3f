// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/SlideListView.h"

#include "base/Trapped.h"

namespace mirrane::modSlideListView {

namespace {

struct Marked {
    int count = 0;
    std::int32_t first = 0;
};

Marked MarkedRows(const GridTable& table) {
    Marked marked;
    for (int row = 1; row <= table.Rows(); ++row) {
        if (!table.IsMarked(row)) continue;
        if (marked.count++ == 0) marked.first = row;
    }
    return marked;
}

}  // namespace

bool ListView_KeyDown(const EditContext& ctx) { return !ctx.state.gIsSeeking; }

void ListView_SelectAll(EditContext& ctx) {
    if (ctx.state.gIsSeeking) return;
    TrappedVoid(ctx.world(), "ListView_KeyUp", [&ctx] {
        GridTable& table = ctx.state.ListView;
        for (int row = 1; row <= table.Rows(); ++row) table.Mark(row, true);
        ctx.transport->SetToolbar();
    });
}

void ListView_SelectionChange(EditContext& ctx) {
    if (ctx.state.gIsSeeking || ctx.curSlide() == 0) return;
    TrappedVoid(ctx.world(), "ListView_SelectionChange", [&ctx] {
        const std::int32_t shown = ctx.curSlide();
        const Marked marked = MarkedRows(ctx.state.ListView);
        if (marked.count == 0) {
            ctx.state.gGrid.SelectedRow(shown);
        } else if (marked.count == 1 && marked.first != shown) {
            ctx.transport->ExecStop(StopAt::Here);
            ctx.slideView->LoadSlide(marked.first, WhileBusy::Refuse);
        }
        ctx.transport->SetToolbar();
    });
}

void ListView_ItemClick(EditContext& ctx) {
    if (ctx.state.gIsSeeking) return;
    TrappedVoid(ctx.world(), "ListView_ItemClick", [&ctx] {
        // What plays on needs its timer, or the slide's end would be missed.
        ctx.form.TmrFrame = ctx.transport->IsPlaying();
        ctx.transport->SetToolbar();
    });
}

void ChooseRow(EditContext& ctx, std::int32_t row) {
    if (!ctx.isIdle() || !ctx.form.IsEnabled(Control::ListView)) return;
    ctx.state.ListView.SetCurrentRow(row);
    ListView_SelectionChange(ctx);
    ListView_ItemClick(ctx);
}

}  // namespace mirrane::modSlideListView
