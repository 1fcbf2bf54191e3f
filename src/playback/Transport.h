// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "editing/EditContext.h"
#include "qvlib/IPlayer.h"

namespace mirrane {

/// Plays the edited lecture slide by slide, and keeps slider, cursor and time label with it.
///
///     stopped at a place <--> playing --> seeking --> stopped, or playing again
class Transport final : public ITransport {
public:
    /// How long a seek may take before it counts as finished.
    static constexpr std::uint32_t kSeekPatienceMs = 5000;

    /// @param ctx, player outlive this. The end of each seek comes from the player until Disconnect.
    Transport(EditContext& ctx, qv::IPlayer& player);

    /// Gives the player the media file; seeks that were under way tell nothing any more. Position is 0.
    bool Open(const std::filesystem::path& media);
    /// The player tells nothing any more; a seek that is under way counts as over.
    void Disconnect();

    [[nodiscard]] Ms Position() const override { return player_.Position(); }
    [[nodiscard]] bool IsPlaying() const override { return player_.State() == qv::PlayState::Playing; }
    void ExecPlay() override;
    void ExecStop(StopAt where) override;
    void qvSeekTo(Ms ms) override;
    void SeekInSlide(Ms ms) override;
    void SetPosInfo(Ms ms) override;
    void SetMuted(bool on) override { isMuted_ = on; }
    void SetToolbar() override;

    // What the user presses: nothing while the editor is busy or the button is disabled.
    void cmdPlay_Click();
    void cmdStop_Click();
    void cmdPrev_Click();
    void cmdNext_Click();
    /// To be called each 100 ms: does nothing while nothing plays, or another window has the user. Also the watchdog of
    /// seeks.
    void TmrFrame_Timer();
    void OnSeekFinish();

    /// @param ms in the slide
    void SetSliderPos(Ms ms);
    /// The tool tip of the slider. @param fraction 0 to 1
    [[nodiscard]] std::string ProgCtrlTip(float fraction) const;
    /// The slider was let go. @param fraction 0 to 1
    void ProgCtrl_MouseUp(float fraction);

    /// Of the shown slide, as slider and label know it.
    void SetSlideLen(Ms mSlideLen) { mSlideLen_ = mSlideLen; }
    /// Whatever would have gone on behind a seek does not.
    void DropResume() { gResumeAfterSeek_ = false; }

private:
    void LockForSeek();
    void UnlockAfterSeek();
    bool BeginSeek(Ms ms, std::int32_t slide);
    void FailSeek();
    void PlayerSeekFinished();
    void WatchSeek();
    void ShowReached();
    void MakeCurrent(std::int32_t slide);

    void ShowStopped();
    void GoTo(std::int32_t slide);
    void Tick();
    void EndSlide(Ms end);
    void ShowTimes(Ms msInSlide);

    /// Start of the shown slide; -1: it has no time.
    [[nodiscard]] Ms SlideStart() const;
    [[nodiscard]] bool MayClick(Control button) const { return ctx_.isIdle() && ctx_.form.IsEnabled(button); }

    EditContext& ctx_;
    qv::IPlayer& player_;
    bool gResumeAfterSeek_ = false;
    Ms mSlideLen_ = 0;
    bool isMuted_ = false;
    bool isTicking_ = false;                  ///< TmrFrame_Timer runs
    bool isLocked_ = false;                   ///< the user waits for a seek
    std::optional<std::uint32_t> seekStart_;  ///< tick at which the player was sent
    int givenUp_ = 0;                         ///< seeks whose end may still come, and means nothing then
};

}  // namespace mirrane
