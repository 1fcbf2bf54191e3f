// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "qvlib/IPlayer.h"
#include "qvlib/Rows.h"
#include "timeline/AudioSegList.h"
#include "timeline/EditorState.h"

/// Flattens the tracks into the rows that preview and save both work from: what is seen, and what is heard.
///
///     Track 2            [== b ==]
///     Track 1   [====== a ======== ][= c =]        the recording's sound; the picture follows it
///     heard     | a     | b      | a| c   |        the audio rows: Track 2 wins, nothing is mixed
namespace mirrane::modPlayList {

/// The save library takes no more.
inline constexpr std::size_t kMostAudioRows = 128;

/// The 1-based position of a path, compared byte for byte; -1 when it is not there.
[[nodiscard]] std::int32_t FindSrcFile(const OneBased<std::filesystem::path>& files, const std::filesystem::path& path);

/// Track 1 and Track 2.
using AudioTracks = std::array<CAudioSegList, 2>;

/// A segment of one of the tracks.
struct AudioPlace {
    std::int32_t track = -1;  ///< 0 or 1; -1: silence
    std::int32_t index = -1;  ///< 1-based

    friend bool operator==(const AudioPlace&, const AudioPlace&) = default;
};

/// What is heard at a time: the first segment of Track 2 there, else of Track 1.
[[nodiscard]] AudioPlace FindAudioAt(const AudioTracks& gAudioSegs, Ms time);

/// When what is heard at a time, as FindAudioAt tells it, ends: with its segment, or earlier where Track 2 sets in; of
/// silence where any segment sets in, at the latest at the timeline's end.
/// @throws std::logic_error when that is not later than `time`
[[nodiscard]] Ms NextAudioEdge(const AudioTracks& gAudioSegs, Ms duration, Ms time, AudioPlace heard);

/// The blocks of PlayList.txt, a row a line, lines end in CRLF:
///
///     S, <index from 0>, <path>
///     F, <pos>, <posEnd>, <srcPos>, <srcPosEnd>, <isSlideStart>
///     A, <pos>, <posEnd>, <fileIndex from 0>, <srcPos>, <srcPosEnd>, <volPercent>
///
/// A path stands there byte for byte, but a line break in it, which would tear its row, as %0D or %0A. Nothing turns
/// that back: a reader that opens the path is told that there is no such file.
[[nodiscard]] std::string ToText(std::span<const std::filesystem::path> sources);
[[nodiscard]] std::string ToText(std::span<const qv::FrameRow> rows);
[[nodiscard]] std::string ToText(std::span<const qv::AudioRow> rows);

enum class MuteAudio { No, Yes };

/// Makes gAudioSegs, gFrameRows and gAudioRows of the tracks and slides, writes them to gTempWorkFolder/PlayList.txt, and
/// gives them to the player. A file that cannot be written is only told in the log.
/// @param muteAudio Yes: every row has volume 0
/// @param player    nullptr: there is none
/// @returns false after a message. Then the rows and the player's play list are as they were; the file ends with the
///          last block that could be made.
bool SetPlayList(EditorState& state, MuteAudio muteAudio, qv::IPlayer* player);

}  // namespace mirrane::modPlayList
