// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/Faces.h"
#include "foreign/ForeignProbe.h"
#include "foreign/Import.h"
#include "picture/SlideChanges.h"

namespace qv {

namespace {

using std::filesystem::path;

/// Being told to stop, and a wrong argument, are told as the contract says.
template <typename Deed>
auto Guarded(const Deed& deed) {
    try {
        return deed();
    } catch (const Abandoned&) {
        throw std::runtime_error("stopped; nothing was written");
    } catch (const std::logic_error& error) {
        throw std::runtime_error(error.what());
    }
}

class QvRecordings : public IQvRecordings {
public:
    [[nodiscard]] RecordingInfo Probe(const path& recording) override {
        const Recording found = ProbeRecording(recording);
        RecordingInfo info;
        info.hasSound = found.hasSound;
        info.duration = found.durationMs;
        if (found.picture) {
            info.hasPicture = true;
            info.carried = found.picture->carried.has_value();
            info.pictureCodec = found.picture->codecName;
            info.picture = {found.picture->width, found.picture->height};
        }
        info.title = found.title;
        info.chapters = found.chapters;
        return info;
    }

    ContainerMade MakeContainer(const ContainerRequest& request, const Watch& watch) override {
        return Guarded([&] { return qv::MakeContainer(request, JobContext{watch}); });
    }

    [[nodiscard]] std::vector<Ms> FindSlideChanges(const path& recording, int sensitivity, Ms minSlide,
                                                   const Watch& watch) override {
        return Guarded([&] { return qv::FindSlideChanges(recording, sensitivity, minSlide, JobContext{watch}); });
    }
};

}  // namespace

std::unique_ptr<IQvRecordings> MakeQvRecordings() { return std::make_unique<QvRecordings>(); }

}  // namespace qv
