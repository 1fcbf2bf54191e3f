// SPDX-License-Identifier: GPL-3.0-or-later
#include "NewProject.h"

#include <iostream>
#include <stdexcept>

#include "BuildingSite.h"
#include "Common.h"
#include "JobWatcher.h"
#include "ProjectView.h"
#include "SlideList.h"
#include "Thumbnails.h"
#include "base/Files.h"
#include "store/Template.h"
#include "store/Time.h"

namespace tool {

namespace {

using mirrane::InFolder;
using std::filesystem::path;

/// Chapters and lists tell times that somebody rounded or clicked: a tenth of a second either way is not seen, and spares
/// a slide that has a keyframe there the encoder. Changes found in the picture are exact already; at a keyframe ahead of
/// one, the slide would begin with the picture, and have the thumbnail, of the slide before it.
constexpr qv::Ms kToldSlidesMayMove = 100;

/// A project in the making.
class Maker {
public:
    Maker(const Context& context, const NewArguments& arguments, const path& folder)
        : arguments_(arguments),
          folder_(folder),
          watcher_("Looking at the recording"),
          site_(tools_.world, folder),
          engine_(OpenEngine(context)) {}

    /// @throws std::exception with the folder as it was before
    void Make() {
        PlanSlides();
        MakeMedia();
        mirrane::CProjectFile project(tools_.world);
        MakeDocument(project);
        MakePictures(project);
        if (!ApplyProjectTemplate(tools_.world, project, site_.Folder()))
            throw std::runtime_error(folder_.string() + ": the page's files could not be copied");
        site_.Finish();
    }

    [[nodiscard]] const std::vector<Slide>& Slides() const { return slides_; }
    [[nodiscard]] const char* Origin() const { return origin_; }
    [[nodiscard]] qv::Ms Duration() const { return duration_; }

private:
    void PlanSlides() {
        if (!arguments_.slides.empty()) slides_ = ReadSlideFile(arguments_.slides);
        const qv::RecordingInfo info = engine_.recordings->Probe(arguments_.media);
        if (!info.hasPicture) throw std::runtime_error(arguments_.media.string() + ": has no picture, only sound");
        title_ = CleanTitle(!arguments_.title.empty() ? arguments_.title : info.title);
        if (!arguments_.slides.empty()) {
            CheckSlidesEnd(slides_, info.duration, arguments_.slides);
            origin_ = "list";
        } else if (slides_ = SlidesOfChapters(info.chapters); !slides_.empty()) {
            origin_ = "chapters";
        } else {
            FindSlides();
        }
        CompleteSlides(slides_);
    }

    void FindSlides() {
        origin_ = "picture";
        mayMove_ = 0;
        watcher_.Begin("Finding slides");
        for (const qv::Ms start : engine_.recordings->FindSlideChanges(arguments_.media, arguments_.sensitivity,
                                                                       arguments_.minSlide, Watch()))
            slides_.push_back({.start = start});
    }

    void MakeMedia() {
        watcher_.Begin("Making media.qv");
        qv::ContainerRequest request{.recording = arguments_.media,
                                     .camera = arguments_.camera,
                                     .target = InFolder(site_.Folder(), "media.qv"),
                                     .bitrateKbit = arguments_.bitrateKbit,
                                     .keysMayMove = arguments_.exact ? 0 : mayMove_};
        for (const Slide& slide : slides_) request.keys.push_back(slide.start);
        const qv::ContainerMade made = engine_.recordings->MakeContainer(request, Watch());
        for (std::size_t i = 0; i < slides_.size(); ++i) slides_[i].start = made.keys.at(i);
        duration_ = engine_.lib->GetLength(request.target);
    }

    void MakeDocument(mirrane::CProjectFile& project) {
        const path pattern = InFolder(tools_.world.host.ProgramFolder(), "default.qvp");
        const path document = InFolder(site_.Folder(), "project.qvp");
        if (!mirrane::modFiles::CopyFileOver(tools_.world, pattern, document))
            throw std::runtime_error(pattern.string() + ": cannot be copied");
        if (!project.Load(document)) throw std::runtime_error(pattern.string() + ": is no project document");
        const qv::PictureDim size = engine_.lib->GetFileHeaderDim(InFolder(site_.Folder(), "media.qv"));
        project.title = title_.empty() ? mirrane::TitleOfFolder(folder_) : title_;
        project.screenSize = std::to_string(size.width) + "x" + std::to_string(size.height);
        project.audioBitrate = std::to_string(arguments_.bitrateKbit);
        project.duration(duration_);
        project.RemoveIndex(mirrane::CProjectFile::kAllRows);
        const std::string now = GetNowString(tools_.world.clock.Now());
        for (const Slide& slide : slides_) {
            mirrane::CIndexItem item;
            item.title = slide.title;
            item.pos = std::to_string(slide.start);
            item.RecDate = now;
            project.AddIndex(std::move(item));
        }
        if (!project.Save({})) throw AlreadyTold();
    }

    void MakePictures(const mirrane::CProjectFile& project) {
        mirrane::GridTable table;
        mirrane::CGrid grid(tools_.world);
        grid.Grid(table);
        FillGrid(grid, project);
        MakeThumbnails(tools_, *engine_.lib, watcher_, grid, site_.Folder());
    }

    qv::Watch Watch() {
        return {watcher_.StopToken(), [this](double done) { watcher_.Show(static_cast<int>(done * 100)); }};
    }

    const NewArguments& arguments_;
    const path& folder_;
    ToolWorld tools_;
    JobWatcher watcher_;  ///< ahead of the site, so that whoever ends the program does not keep it from being cleared
    BuildingSite site_;   ///< ahead of the engine, whose threads write there until it goes
    qv::Engine engine_;
    std::string title_;
    std::vector<Slide> slides_;
    const char* origin_ = "";
    qv::Ms mayMove_ = kToldSlidesMayMove;
    qv::Ms duration_ = 0;
};

/// The folder as a path with a name, whatever way it was written: "x/", ".".
path Named(const path& folder) {
    const path whole = absolute(folder).lexically_normal();
    return whole.has_filename() ? whole : whole.parent_path();
}

void PrintProject(const Context& context, const path& folder, const Maker& maker) {
    if (!context.json) {
        std::cout << folder.string() << ": " << maker.Slides().size() << " slides, "
                  << mirrane::CTime::GetString(maker.Duration(), "ms") << '\n';
        return;
    }
    Json slides = Json::array();
    for (const Slide& slide : maker.Slides()) slides.push_back({{"title", slide.title}, {"pos", slide.start}});
    PrintJson({{"folder", folder.string()},
               {"duration", maker.Duration()},
               {"slidesFrom", maker.Origin()},
               {"slides", slides}});
}

}  // namespace

int New(const Context& context, const NewArguments& arguments) {
    const path folder = Named(arguments.folder);
    Maker maker(context, arguments, folder);
    maker.Make();
    PrintProject(context, arguments.folder, maker);
    return kDone;
}

int Demo(const Context& context, const path& folder) {
    mirrane::SystemHost host;
    NewArguments arguments;
    arguments.media = InFolder(InFolder(host.ProgramFolder(), "demo"), "demo.webm");
    arguments.folder = folder;
    return New(context, arguments);
}

}  // namespace tool
