// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/AudioImport.h"

#include <memory>

#include "base/Text.h"
#include "base/Trapped.h"
#include "editing/Commands.h"
#include "editing/Placement.h"
#include "editing/Selection.h"
#include "media/Job.h"
#include "media/ScratchFile.h"

namespace mirrane::modAudioImport {

namespace fs = std::filesystem;

namespace {

constexpr char kForm[] = "frmMixEditor";
constexpr int kTrack2 = 1;

/// How a file becomes a .qva, by the last three letters of its name.
enum class Road { Wave, Wmv, Transcode, None };

std::string LastThree(const fs::path& file) {
    const std::string& name = file.native();
    return AsciiLower(name.size() > 3 ? name.substr(name.size() - 3) : name);
}

/// @returns None after a message
Road RoadOf(MediaContext& media, const fs::path& source) {
    constexpr int kBadPath = -3;
    constexpr int kChangingRate = -2;
    constexpr int kNoSound = 0;
    const std::string ext = LastThree(source);
    if (ext == "wav") return Road::Wave;
    if (ext == "wma") return Road::Wmv;
    if (ext != "wmv") return Road::Transcode;
    switch (media.mixEdit.IsWmvConstFrmRate(source)) {
        case kBadPath:
            ShowFailure(media.world(),
                        GetResString(media.world(), kForm, "msgInvalidPath", "Import failed! Path is not valid!"));
            return Road::None;
        case kChangingRate:
        case kNoSound:
            return Road::Transcode;
        default:
            return Road::Wmv;
    }
}

/// One of the two jobs of an import.
JobView ViewOf(MediaContext& media, const std::string& step, const char* key, const char* defaultText) {
    World& world = media.world();
    const std::string head = step.empty() ? step : FilledText(world, "msgStepNum", "Step %s", step) + " - ";
    return {.title = GetResString(world, kForm, "msgImportAudio", "Import Audio"),
            .text = [&world, head, key, defaultText](
                        int percent) { return head + FilledText(world, key, defaultText, std::to_string(percent)); },
            .progress = [&media] { return media.mixEdit.GetImportProgress(); }};
}

void Refuse(MediaContext& media, const char* key, const char* defaultText) {
    ShowFailure(media.world(), GetResString(media.world(), kForm, key, defaultText), "Add Media");
}

/// What to install; in a plain box where there is no window.
void TellMissingCodec(MediaContext& media) {
    const std::string text = GetResString(media.world(), "frmCommon", "msgInstallWME",
                                          "Import failed! No codec for the sound of this file is installed.");
    if (media.edit.form.face.showMsgLink)
        media.edit.form.face.showMsgLink(text);
    else
        ShowFailure(media.world(), text, "Add Media");
}

/// Whether there is something to hear in a file. @returns false after a message
bool HasSound(MediaContext& media, const fs::path& source) {
    const qv::SoundKind kind = media.mixEdit.qvSoundKind(source);
    if (kind == qv::SoundKind::Unreadable)
        Refuse(media, "msgUnsupportedFormat", "Import failed! Unsupported video/audio format!");
    if (kind == qv::SoundKind::NoSound)
        Refuse(media, "msgNoAudioChannel", "Import failed! This video has no audio channel!");
    if (kind == qv::SoundKind::NoDecoder) TellMissingCodec(media);
    return kind == qv::SoundKind::Sound;
}

/// Decodes a file's sound to a WAV. @returns nothing after a message
std::unique_ptr<ScratchFile> DecodeToWave(MediaContext& media, const fs::path& source) {
    if (!HasSound(media, source)) return nullptr;
    try {
        auto wave = std::make_unique<ScratchFile>(media.world(), "_qv_", ".wav");
        const BusyCursor busy(media.world());
        const JobView view = ViewOf(media, "1/2", "msgTranscoding", "Transcoding... (%s%)");
        if (RunJob(media, view, [&] { media.mixEdit.qvTranscode(source, wave->Path()); })) return wave;
    } catch (const std::exception&) {
        // The message below says all that the user can do about it.
    }
    TellFailure(media, "msgTranscodeFailure", "Failed to import audio because of transcoding error!");
    return nullptr;
}

/// Makes the .qva. @returns its length; 0, with no file left, after a message
Ms ConvertToQva(MediaContext& media, const fs::path& work, const fs::path& target, const std::string& step) {
    const JobView view = ViewOf(media, step, "msgImporting", "Importing... (%s%)");
    const bool isDone = RunJob(media, view, [&] {
        if (LastThree(work) == "wav") {
            media.mixEdit.qvImportWave(work, target);
        } else {
            media.mixEdit.qvImportWmv(work, target);
        }
    });
    const Ms length = isDone ? media.mixEdit.qvaGetDuration(target) : 0;
    if (length > 0) return length;
    modFiles::DeleteFileIfAny(media.world(), target);
    TellFailure(media, "msgImportFailure", "Failed to import audio!");
    return 0;
}

Imported Import(MediaContext& media, const fs::path& source) {
    const fs::path target = TargetOf(media.state().gTempAudioFolder, source);
    const Road road = RoadOf(media, source);
    if (road == Road::None) return {};
    if (road != Road::Transcode) return {.file = target, .length = ConvertToQva(media, source, target, "")};
    const std::unique_ptr<ScratchFile> wave = DecodeToWave(media, source);
    if (!wave) return {};
    return {.file = target, .length = ConvertToQva(media, wave->Path(), target, "2/2")};
}

void LayDown(MediaContext& media, const Imported& imported) {
    EditContext& edit = media.edit;
    const Ms pos = modPlacement::ImportQvaFile(edit, imported.file, modPlacement::PlacementPos(edit), imported.length,
                                               modPlacement::Existing::Push);
    modCommands::SeekAfterEdit(edit, CheckedSub(pos, media.state().gSlideList.GetPos(edit.curSlide())));
    modSelection::imgTrackPanel_Click(edit, kTrack2);
}

}  // namespace

fs::path TargetOf(const fs::path& gTempAudioFolder, const fs::path& source) {
    const auto named = [&](const std::string& name) { return InFolder(gTempAudioFolder, name + ".qva"); };
    const auto isTaken = [](const fs::path& path) { return FileExists(path) || FolderExists(path); };
    fs::path target = named(source.filename().string());
    for (int n = 2; isTaken(target); ++n)
        target = named(source.stem().string() + "(" + std::to_string(n) + ")" + source.extension().string());
    return target;
}

Imported ImportAudioFile(MediaContext& media, const fs::path& source) {
    try {
        const Imported imported = Import(media, source);
        return imported.length > 0 ? imported : Imported{};
    } catch (const std::exception& failure) {
        ShowFailure(media.world(), ErrorText(failure), "ImportAudioFile");
        return {};
    }
}

void cmdImportAudio_Click(MediaContext& media) {
    constexpr char kPatterns[] = "*.asf;*.avi;*.mpg;*.wmv;*.mp3;*.wav;*.wma";
    EditContext& edit = media.edit;
    if (!edit.isIdle() || !edit.hasTimeline()) return;
    TrappedVoid(media.world(), "cmdImportAudio_Click", [&] {
        // While it plays, the next slide may come up, and its waveform is a job of its own.
        if (edit.transport->IsPlaying()) edit.transport->ExecPlay();
        const std::string title = GetResString(media.world(), kForm, "msgSelectMedia", "Select an audio/video file");
        const std::string filter =
            FilledText(media.world(), "msgMediaFiles", "Media files (%s)", kPatterns) + "|" + kPatterns;
        const auto source = media.openMediaFile.Choose(title, filter, media.world().host.ProgramFolder());
        if (!source) return;
        if (!FileExists(*source)) {
            ShowMessage(media.world(),
                        FilledText(media.world(), "msgNoFile", "\"%s\" does not exist!", source->string()));
            return;
        }
        const Imported imported = ImportAudioFile(media, *source);
        if (imported.length > 0 && !IsGivenUp(media)) LayDown(media, imported);
    });
}

}  // namespace mirrane::modAudioImport
