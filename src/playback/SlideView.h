// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "editing/EditContext.h"
#include "playback/Transport.h"
#include "playback/WebThumbnail.h"

namespace mirrane {

/// The pane of the shown slide: the player for a slide of the recording, the browser for a web page, which has no time.
class SlideView final : public ISlideView {
public:
    /// @param ctx, transport, lib outlive this
    SlideView(EditContext& ctx, Transport& transport, qv::IQvLib& lib) : ctx_(ctx), transport_(transport), lib_(lib) {}

    void LoadSlide(std::int32_t index, WhileBusy whileBusy) override;
    /// The browser has the page: until then the player stays in sight.
    void ie_DocumentComplete();
    /// It has not, or has lost it again.
    void ie_NavigateError();
    /// To be called each 100 ms: a page that has been in sight for a second gets its thumbnail, once.
    void tmrThumbnail_Timer();
    /// Whether a page is in sight that may be captured.
    [[nodiscard]] bool canCapture() const;
    /// Captures the page in sight; nothing while there is none.
    void CaptureWebThumbnail(Force force);

private:
    void ShowRecordedSlide(std::int32_t index);
    void ShowWebSlide(std::int32_t index);
    void Navigate(const std::string& file) const;
    void EnableEditing(bool on);
    void DropPage();

    EditContext& ctx_;
    Transport& transport_;
    qv::IQvLib& lib_;
    bool isPageThere_ = false;                   ///< that of the current row
    std::optional<std::uint32_t> tmrThumbnail_;  ///< the tick at which the page arrived
};

}  // namespace mirrane
