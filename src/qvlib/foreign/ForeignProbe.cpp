// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignProbe.h"

#include <algorithm>

#include "foreign/ForeignFile.h"
#include "foreign/ForeignPicture.h"

namespace qv {

namespace {

std::optional<RecordedPicture> Describe(const std::filesystem::path& path, const AVStream* stream, PictureTrack track) {
    if (stream == nullptr) return std::nullopt;
    const ForeignPicture picture(path, track);
    RecordedPicture described;
    described.codecName = avcodec_get_name(stream->codecpar->codec_id);
    if (picture.Carried()) described.carried = picture.Format().codec;
    described.width = picture.Format().width;
    described.height = picture.Format().height;
    return described;
}

/// Files without a length of their own, or with one that was guessed from the bit rate.
bool LengthIsUncertain(const AVFormatContext& input) {
    return input.duration == AV_NOPTS_VALUE || input.duration <= 0 ||
           input.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE;
}

std::int64_t EndUsByReading(ForeignFile& file) {
    const av::Packet packet = av::NewPacket();
    std::int64_t end = 0;
    while (file.Next(*packet)) {
        const AVStream* stream = file.Input().streams[packet->stream_index];
        const std::int64_t pts = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        const bool counts = stream == file.PictureStream() || stream == file.SoundStream();
        if (!counts || pts == AV_NOPTS_VALUE) continue;
        const std::int64_t length = std::max<std::int64_t>(0, packet->duration);
        end = std::max(end, file.UsFromZero(pts + length, stream->time_base));
    }
    return end;
}

std::int64_t EndUsAsTold(const ForeignFile& file) {
    const AVFormatContext& input = file.Input();
    const std::int64_t start = input.start_time != AV_NOPTS_VALUE ? input.start_time : file.ZeroUs();
    return start + input.duration - file.ZeroUs();
}

std::string TitleOf(const AVChapter& chapter) {
    const AVDictionaryEntry* title = av_dict_get(chapter.metadata, "title", nullptr, 0);
    return title != nullptr ? title->value : "";
}

std::vector<Chapter> ChaptersOf(const ForeignFile& file) {
    std::vector<Chapter> chapters;
    const AVFormatContext& input = file.Input();
    for (unsigned i = 0; i < input.nb_chapters; ++i) {
        const AVChapter& chapter = *input.chapters[i];
        const std::int64_t start = file.MsFromZero(chapter.start, chapter.time_base);
        chapters.push_back({static_cast<Ms>(std::max<std::int64_t>(0, start)), TitleOf(chapter)});
    }
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](const Chapter& a, const Chapter& b) { return a.start < b.start; });
    return chapters;
}

}  // namespace

Recording ProbeRecording(const std::filesystem::path& path) {
    ForeignFile file(path);
    if (file.PictureStream() == nullptr && file.SoundStream() == nullptr) {
        throw MediaError(path, "holds neither picture nor sound that can be decoded");
    }
    Recording recording;
    recording.picture = Describe(path, file.PictureStream(), PictureTrack::Picture);
    recording.camera = Describe(path, file.CameraStream(), PictureTrack::Camera);
    recording.hasSound = file.SoundStream() != nullptr;
    if (recording.hasSound) recording.channels = file.SoundStream()->codecpar->ch_layout.nb_channels;
    recording.startOffsetMs = static_cast<Ms>(RoundToMs(file.ZeroUs()));
    recording.chapters = ChaptersOf(file);
    const std::int64_t endUs = LengthIsUncertain(file.Input()) ? EndUsByReading(file) : EndUsAsTold(file);
    recording.durationMs = static_cast<Ms>(std::max<std::int64_t>(0, RoundToMs(endUs)));
    return recording;
}

}  // namespace qv
