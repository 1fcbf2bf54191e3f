// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "editing/EditContext.h"
#include "media/AvDevices.h"
#include "qvlib/IQvCapture.h"

namespace mirrane {

/// Where a take goes.
struct TakeTarget {
    std::filesystem::path recFile;  ///< the .qva; made when the recorder starts
    Ms mRecStartPos = 0;            ///< on the timeline
    int bitrateKbit = 0;
};

/// The rules of the dialog frmRecAudio: one button that starts the recorder and stops it, the meter, the time, and what
/// is wrong with the sound, in plain words, while it can still be put right.
class RecAudio {
public:
    /// Of the meter volLevel, from soft to loud.
    static constexpr int kBars = 21;

    /// Opens the selected input, so that the meter moves. @param ctx, capture outlive this
    RecAudio(EditContext& ctx, qv::IQvCapture& capture, TakeTarget target);
    /// Stops the recorder and closes the input; what was recorded is final.
    ~RecAudio();
    RecAudio(const RecAudio&) = delete;
    RecAudio& operator=(const RecAudio&) = delete;

    /// How many bars are lit, from the left.
    [[nodiscard]] int lit() const { return lit_; }
    /// How many were lit at most since the input was opened, or the recorder started.
    [[nodiscard]] int peak() const { return peak_; }
    /// Sound was louder than can be recorded, since then.
    [[nodiscard]] bool isOverloaded() const { return isOverloaded_; }
    [[nodiscard]] const std::string& lRecTime() const { return lRecTime_; }
    /// What the user should know now; empty: all is well.
    [[nodiscard]] const std::string& lAdvice() const { return lAdvice_; }
    /// The recorder runs.
    [[nodiscard]] bool mRecording() const { return hold_.has_value(); }
    /// The dialog has to go.
    [[nodiscard]] bool isDone() const { return isDone_; }

    /// What there is to listen to; empty names are left out.
    [[nodiscard]] const std::vector<AvDevice>& inputs() const { return inputs_; }
    /// Index of the one that is listened to; -1: not among them.
    [[nodiscard]] int input() const { return input_; }
    /// Listens to another one from now on, and remembers it; nothing while the recorder runs.
    void ChooseInput(int index);

    /// What is told of an input that is gone or cannot be used; empty: it works.
    [[nodiscard]] static std::string Failure(World& world, const qv::CaptureState& state);

    /// Starts the recorder with the picture running, or stops it and ends the dialog.
    void cmdRec_Click();
    /// Each 100 ms while the dialog is there.
    void tmrGetVol_Timer();
    void tmrRecording_Timer();

private:
    void ReadInputs();
    void OpenInput();
    void Start();
    [[nodiscard]] std::string AdviceFor(const qv::CaptureState& state) const;
    [[nodiscard]] std::string Word(const char* key) const;

    EditContext& ctx_;
    qv::IQvCapture& capture_;
    TakeTarget target_;
    std::vector<AvDevice> inputs_;
    int input_ = -1;
    int lit_ = 0;
    int peak_ = 0;
    bool isOverloaded_ = false;
    std::string lRecTime_;
    std::string lAdvice_;
    std::optional<BusyHold> hold_;  ///< there: the recorder runs
    std::uint32_t mStartTick_ = 0;
    bool isDone_ = false;
};

}  // namespace mirrane
