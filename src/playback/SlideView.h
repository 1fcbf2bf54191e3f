// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editing/EditContext.h"
#include "playback/Transport.h"

namespace mirrane {

/// The pane of the shown slide: the player for a slide of the recording, the browser for a web page, which has no time.
class SlideView final : public ISlideView {
public:
    /// @param ctx, transport outlive this
    SlideView(EditContext& ctx, Transport& transport) : ctx_(ctx), transport_(transport) {}

    void LoadSlide(std::int32_t index, WhileBusy whileBusy) override;
    /// The browser has the page: until then the player stays in sight.
    void ie_DocumentComplete();

private:
    void ShowRecordedSlide(std::int32_t index);
    void ShowWebSlide(std::int32_t index);
    void Navigate(const std::string& file) const;
    void EnableEditing(bool on);

    EditContext& ctx_;
    Transport& transport_;
};

/// Whether the address of a page stays inside the project's folder: relative, without a scheme and without "..".
[[nodiscard]] bool IsInProject(const std::string& url);

}  // namespace mirrane
