// SPDX-License-Identifier: GPL-3.0-or-later
#include "ProjectInfo.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "Common.h"
#include "ProjectView.h"
#include "store/ThumbList.h"
#include "store/Time.h"

namespace tool {

namespace {

using mirrane::InFolder;
using mirrane::IntegerPrefix;
using mirrane::CTime::GetString;
using std::filesystem::path;

/// What is told of a media file.
struct MediaFacts {
    int formatVersion = 0;
    qv::PictureDim picture;
    std::string pictureCodec;
    bool hasCamera = false;
    int bitrateKbit = 0;
    int freeTag = 0;
    std::uintmax_t bytes = 0;
};

MediaFacts ReadFacts(qv::Engine& engine, const path& media) {
    const qv::RecordingInfo info = engine.recordings->Probe(media);
    return {.formatVersion = engine.lib->GetFileFormatVersion(media),
            .picture = engine.lib->GetFileHeaderDim(media),
            .pictureCodec = info.pictureCodec,
            .hasCamera = engine.lib->qvVideoExists(media),
            .bitrateKbit = engine.lib->GetAudioBitrate(media),
            .freeTag = engine.lib->GetFreeTag(media),
            .bytes = file_size(media)};
}

Json TracksOf(const MediaFacts& facts) {
    Json tracks = Json::array();
    tracks.push_back({{"kind", "picture"},
                      {"codec", facts.pictureCodec},
                      {"width", facts.picture.width},
                      {"height", facts.picture.height}});
    if (facts.hasCamera) tracks.push_back({{"kind", "camera"}});
    tracks.push_back({{"kind", "sound"}, {"codec", "opus"}, {"bitrate", facts.bitrateKbit}});
    return tracks;
}

Json SlidesOf(mirrane::CGrid& grid) {
    Json slides = Json::array();
    for (int row = 1; row <= grid.Rows(); ++row) {
        const mirrane::CIndexItem item = grid.item(row);
        slides.push_back({{"title", item.title},
                          {"pos", IntegerPrefix(item.pos)},
                          {"posEnd", IntegerPrefix(grid.GetEnd(row))},
                          {"len", IntegerPrefix(grid.GetLen(row))},
                          {"url", item.Url},
                          {"recdate", item.RecDate}});
    }
    return slides;
}

void PrintSlides(mirrane::CGrid& grid) {
    std::cout << "\n   # " << std::setw(12) << "start" << std::setw(12) << "length"
              << "  title\n";
    for (int row = 1; row <= grid.Rows(); ++row) {
        const mirrane::CIndexItem item = grid.item(row);
        const bool isTimed = !mirrane::IsOffTimeline(item.pos, item.Url);
        std::cout << std::setw(4) << row << ' ' << std::setw(12)
                  << (isTimed ? GetString(IntegerPrefix(item.pos), "ms") : "-") << std::setw(12)
                  << (isTimed ? GetString(IntegerPrefix(grid.GetLen(row)), "ms") : "-") << "  " << item.title
                  << (item.Url.empty() ? "" : " (" + item.Url + ")") << '\n';
    }
}

void PrintInfo(const MediaFacts& facts, ProjectView& project) {
    std::cout << "title      " << project.Document().title << "\nversion    " << project.Document().version
              << ", media file " << facts.formatVersion / 256 << '.' << facts.formatVersion % 256 << "\nduration   "
              << GetString(project.Duration(), "ms") << "\npicture    " << facts.pictureCodec << ", "
              << facts.picture.width << 'x' << facts.picture.height << "\ncamera     "
              << (facts.hasCamera ? "yes" : "none") << "\nsound      opus, " << facts.bitrateKbit
              << " kbit/s\nmedia.qv   " << facts.bytes << " bytes\nfree tag   " << facts.freeTag << '\n';
    PrintSlides(project.Grid());
}

using Lines = std::vector<std::string>;

std::string Named(const mirrane::CIndexItem& item) { return "\"" + item.title + "\" at " + item.pos + " ms"; }

/// The rows with a place on the timeline against each other and the keyframes.
void CompareRows(const mirrane::CProjectFile& document, const std::vector<qv::Ms>& keys, Lines& odds) {
    std::optional<qv::Ms> previous;
    for (const mirrane::CIndexItem& item : document.items) {
        if (mirrane::IsOffTimeline(item.pos, item.Url)) continue;
        const qv::Ms pos = IntegerPrefix(item.pos);
        if (!previous && pos != 0) odds.push_back(Named(item) + " is the first one, and not at 0");
        if (previous && pos <= *previous) odds.push_back(Named(item) + " is no later than the one before it");
        if (!std::binary_search(keys.begin(), keys.end(), pos))
            odds.push_back(Named(item) + ": there is no keyframe in the media file");
        previous = pos;
    }
}

/// What document and media file tell differently.
Lines Compare(const ProjectView& project, qv::IQvLib& lib, const path& media) {
    Lines odds;
    try {
        const qv::Ms told = project.Duration();
        const qv::Ms real = lib.GetLength(media);
        if (told != real)
            odds.push_back("the duration is " + std::to_string(told) + " ms, that of the media file " +
                           std::to_string(real) + " ms");
    } catch (const std::runtime_error&) {
        odds.push_back("\"" + project.Document().durationText + "\" is no duration");
    }
    CompareRows(project.Document(), ReadKeys(lib, media), odds);
    return odds;
}

std::size_t CountMissingThumbnails(const mirrane::CProjectFile& document, const path& folder) {
    return static_cast<std::size_t>(std::count_if(document.items.begin(), document.items.end(), [&](const auto& item) {
        return !mirrane::IsOffTimeline(item.pos, item.Url) &&
               !mirrane::FileExists(mirrane::ThumbnailOf(folder, IntegerPrefix(item.pos)));
    }));
}

/// Compares a project's document with its sound media file. @returns the result for scripts
Json VerifyDocument(const Context& context, qv::IQvLib& lib, const path& folder) {
    ToolWorld tools;
    tools.user.goesOn = true;  // what Load finds is told, and the rest is looked at all the same
    const ProjectView project(tools, folder);
    const path file = InFolder(folder, "project.qvp");
    Lines odds = Compare(project, lib, InFolder(folder, "media.qv"));
    for (const std::string& line : odds) std::cerr << "qvtool: " << file.string() << ": " << line << '\n';
    const std::size_t missing = CountMissingThumbnails(project.Document(), folder);
    if (missing > 0)
        std::cerr << "qvtool: note: " << folder.string() << ": " << missing << " slides have no thumbnail\n";
    odds.insert(odds.begin(), tools.user.told.begin(), tools.user.told.end());
    if (!context.json && odds.empty())
        std::cout << file.string() << ": agrees with it, " << project.Document().items.size() << " slides\n";
    return {{"agrees", odds.empty()}, {"odds", odds}, {"missingThumbnails", missing}};
}

}  // namespace

int Info(const Context& context, const path& folder) {
    ToolWorld tools;
    ProjectView project(tools, folder);
    const qv::Ms duration = project.Duration();
    project.ReadIndex();
    qv::Engine engine = OpenEngine(context);
    const MediaFacts facts = ReadFacts(engine, InFolder(folder, "media.qv"));
    if (!context.json) {
        PrintInfo(facts, project);
        return kDone;
    }
    PrintJson({{"folder", folder.string()},
               {"title", project.Document().title},
               {"version", project.Document().version},
               {"formatVersion", facts.formatVersion},
               {"duration", duration},
               {"tracks", TracksOf(facts)},
               {"bytes", facts.bytes},
               {"freeTag", facts.freeTag},
               {"slides", SlidesOf(project.Grid())}});
    return kDone;
}

int Verify(const Context& context, const path& given, bool whole) {
    const qv::Engine engine = OpenEngine(context);
    const path file = MediaOf(given);
    const bool isSound = whole ? engine.lib->verifyWholeQvFile(file) : engine.lib->verifyQvFile(file);
    if (isSound && !context.json) std::cout << file.string() << ": sound\n";
    Json result = {{"file", file.string()}, {"check", whole ? "whole" : "quick"}, {"sound", isSound}};
    bool agrees = true;
    if (isSound && file != given && mirrane::FileExists(InFolder(given, "project.qvp"))) {
        result["document"] = VerifyDocument(context, *engine.lib, given);
        agrees = result["document"]["agrees"];
    }
    if (context.json) PrintJson(result);
    return isSound && agrees ? kDone : kFailed;
}

}  // namespace tool
