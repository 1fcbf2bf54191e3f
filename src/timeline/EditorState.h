// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "base/World.h"
#include "qvlib/Rows.h"
#include "store/Grid.h"
#include "store/InteList.h"
#include "store/ProjectFile.h"
#include "timeline/AudioSegList.h"
#include "timeline/History.h"
#include "timeline/OneBased.h"
#include "timeline/SlideList.h"
#include "timeline/WaveTrack.h"

namespace mirrane {

/// All that one run of the editor holds. There is one in a process that edits; everyone who works on it gets it by
/// reference. Times are ms.
class EditorState {
public:
    /// @param world outlives this
    explicit EditorState(World& world)
        : world(world),
          gProject(world),
          gGrid(world),
          gInteList(world),
          gWaveTrack{{CWaveTrack(world, waveViews), CWaveTrack(world, waveViews)}},
          gHistory(world, gProjectFolder) {
        gGrid.Grid(ListView);
    }
    ~EditorState() = default;
    EditorState(const EditorState&) = delete;
    EditorState& operator=(const EditorState&) = delete;

    World& world;

    // Where things lie. No folder ends in a slash; empty: none yet.
    std::filesystem::path gProjectFolder;
    std::string gProjectFileName;  ///< "project.qvp" once a project is chosen
    std::string gAppMode;          ///< "qveditor" when the program started without a command line
    std::filesystem::path gAppDataFolder;
    std::filesystem::path gTempWorkFolder;
    std::filesystem::path gTempAudioFolder;

    // The project as it was recorded.
    CProjectFile gProject;
    GridTable ListView;  ///< what gGrid keeps its cells in
    CGrid gGrid;
    CInteList gInteList;
    std::int32_t gSlideCount = 0;
    bool mHasVideoRecords = false;  ///< of a camera; they pin Track 1

    // The project as it is edited.
    CSlideList gSlideList;
    CWaveViews waveViews;
    std::array<CWaveTrack, 2> gWaveTrack;       ///< Track 1, Track 2
    OneBased<std::filesystem::path> gSrcFiles;  ///< the first is the project's media.qv
    std::vector<bool> gSlideLoaded;             ///< a slide an element: Track 1 has its segments
    std::vector<std::int32_t> gSlideZoom;       ///< a slide an element: wave samples a pixel
    std::int32_t gBaseVolPercent = 100;         ///< volume of slides that are not loaded
    CHistory gHistory;                          ///< what was done to the tracks; its log lies in gProjectFolder
    std::int32_t gVolDialogValue = 100;         ///< in and out of frmWaveSegVol, percent

    // The play list that was made last.
    std::array<CAudioSegList, 2> gAudioSegs;  ///< Track 1, Track 2
    std::vector<qv::AudioRow> gAudioRows;
    std::vector<qv::FrameRow> gFrameRows;

    // What is going on.
    bool gIsSeeking = false;
    int busyDepth = 0;       ///< how many hold the editor busy
    bool isClosing = false;  ///< the editor is being closed: events that come now do nothing

    /// While true the editor does not close, and edits wait.
    [[nodiscard]] bool gIsBusy() const { return busyDepth > 0 || gIsSeeking; }
};

}  // namespace mirrane
