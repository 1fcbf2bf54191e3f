// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "editing/EditContext.h"
#include "qvlib/IPlayer.h"
#include "qvlib/IQvLib.h"
#include "qvlib/IQvMixEdit.h"
#include "store/MediaCheck.h"

namespace mirrane {

/// The window of a long job, such as frmProgress: a caption, a line of text, a bar. The user cannot close it.
class IProgressWindow {
public:
    virtual ~IProgressWindow() = default;
    /// Shows it with an empty bar.
    virtual void Init(const std::string& title, const std::string& text) = 0;
    /// @param percent 0 to 100
    virtual void Set(int percent, const std::string& text) = 0;
    /// Takes it away.
    virtual void Finish() = 0;
};

/// The dialog that asks for a media file.
class IOpenMediaFile {
public:
    virtual ~IOpenMediaFile() = default;
    /// @param filter "Media files (*.wav;*.wma)|*.wav;*.wma"
    /// @returns nothing when the user gave up
    virtual std::optional<std::filesystem::path> Choose(const std::string& title, const std::string& filter,
                                                        const std::filesystem::path& startFolder) = 0;
};

/// What the pipelines work with, beside the editing itself. There is one in a run; all it names outlives it.
struct MediaContext {
    EditContext& edit;
    qv::IQvLib& lib;
    qv::IQvMixEdit& mixEdit;
    qv::IPlayer& player;
    modMediaQv::MediaContext& check;
    IProgressWindow& frmProgress;
    IProgressWindow& frmCreateThumb;
    IOpenMediaFile& openMediaFile;

    int freeTag = 0;            ///< of the media file, as it was when the project was opened
    bool isJobRunning = false;  ///< a loop waits for the engine; there is one frmProgress
    bool isSaving = false;
    bool isLeaving = false;  ///< the program is told to end: a save that can still be given up is given up

    [[nodiscard]] EditorState& state() const { return edit.state; }
    [[nodiscard]] World& world() const { return edit.state.world; }
};

}  // namespace mirrane
