// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "qvlib/IQvLib.h"
#include "qvlib/Rows.h"

namespace qv {

/// What a long call is given: a way to be told to stop, and a way to tell how far it is.
struct Watch {
    std::stop_token stop;
    std::function<void(double)> progress;  ///< 0 to 1, never falling; called on any thread; may be empty
};

struct Chapter {
    Ms start = 0;
    std::string title;  ///< UTF-8; may be empty
};

/// What a recording made elsewhere holds.
struct RecordingInfo {
    bool hasPicture = false;
    bool hasSound = false;
    bool carried = false;      ///< its picture goes into a container without being encoded
    std::string pictureCodec;  ///< "vp9", "h264", ...; empty without a picture
    PictureDim picture;
    Ms duration = 0;                ///< to the end of its picture or its sound, whichever is longer
    std::string title;              ///< as its file tells, in UTF-8 as a rule; may be empty
    std::vector<Chapter> chapters;  ///< strictly rising, all before the end; the first may stand anywhere
};

struct ContainerRequest {
    std::filesystem::path recording;
    std::filesystem::path camera = {};  ///< a second recording whose picture becomes the camera; empty: none
    std::filesystem::path target;
    int bitrateKbit = 64;       ///< of the sound
    std::vector<Ms> keys = {};  ///< where keyframes are wanted: rising, from 0 to before the recording's end
    /// A wanted key goes to the recording's nearest keyframe when that is at most so many ms away. Else, and always where
    /// the picture has to be encoded, it is made at exactly its time. Wanted keys never fall together, and only a wanted 0
    /// goes to 0.
    Ms keysMayMove = 0;
};

struct ContainerMade {
    Ms duration = 0;       ///< the new file's length
    std::vector<Ms> keys;  ///< where the wanted keys came to lie: as many, in the same order, each a keyframe
};

/// For recordings of slides with a pointer or a speaker in a corner.
inline constexpr int kUsualSensitivity = 50;

/// Making a media.qv from a recording of any kind. Each call does its work before it returns, and reports a failure by
/// throwing std::runtime_error whose what() names the file and the reason; a call that is told to stop throws too.
/// Used by one thread.
class IQvRecordings {
public:
    virtual ~IQvRecordings() = default;

    [[nodiscard]] virtual RecordingInfo Probe(const std::filesystem::path& recording) = 0;

    /// Writes request.target: the picture carried over where its codec allows it, else encoded to VP9; the sound as Opus,
    /// or silence where there is none. The file is as long as the recording's picture or sound, whichever is longer: the
    /// last picture stands, silence follows the sound. Of a recording that breaks off, what is there is taken. One without
    /// a picture is refused. On failure there is no target.
    virtual ContainerMade MakeContainer(const ContainerRequest& request, const Watch& watch) = 0;

    /// Times at which a new slide comes up in the picture, rising, 0 not among them. A slide to which something is added
    /// (the next point of a list, a figure, a film) is none, nor is one that loses such a thing again; one that scrolls
    /// on to another text is.
    /// @param sensitivity 0 (nearly the whole picture must change) to 100 (a word is enough); see kUsualSensitivity
    /// @param minSlide    ms; a slide that stands for less is passed over
    [[nodiscard]] virtual std::vector<Ms> FindSlideChanges(const std::filesystem::path& recording, int sensitivity,
                                                           Ms minSlide, const Watch& watch) = 0;
};

}  // namespace qv
