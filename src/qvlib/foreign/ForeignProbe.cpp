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

/// The end of what is there from here on; 0 when nothing is.
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

/// By its streams; where they are silent, by the file as a whole.
std::int64_t EndUsAsTold(const ForeignFile& file) {
    std::int64_t last = 0;
    bool isTold = true;
    for (const AVStream* stream : {file.PictureStream(), file.SoundStream()}) {
        if (stream == nullptr) continue;
        isTold = isTold && stream->duration > 0 && stream->start_time != AV_NOPTS_VALUE;
        if (isTold) last = std::max(last, file.UsFromZero(stream->start_time + stream->duration, stream->time_base));
    }
    if (isTold) return last;
    const AVFormatContext& input = file.Input();
    const std::int64_t start = input.start_time != AV_NOPTS_VALUE ? input.start_time : file.ZeroUs();
    return start + input.duration - file.ZeroUs();
}

/// What the file tells is believed when picture or sound go on to about there. It may have been cut off, or tell the end
/// of something else, titles for instance, or that of its own times and not of what is in it: then it is read through.
std::int64_t EndUs(const std::filesystem::path& path) {
    constexpr std::int64_t kRoundingUs = 30'000;
    ForeignFile file(path);
    if (LengthIsUncertain(file.Input())) return EndUsByReading(file);
    const AVStream* stream = file.PictureStream() != nullptr ? file.PictureStream() : file.SoundStream();
    const std::int64_t told = EndUsAsTold(file);
    const std::int64_t last = av_rescale_q(told + file.ZeroUs(), AV_TIME_BASE_Q, stream->time_base);
    if (file.SeekKey(*stream, last) && std::abs(EndUsByReading(file) - told) <= kRoundingUs) return told;
    ForeignFile afresh(path);
    return EndUsByReading(afresh);
}

std::string TitleOf(const AVDictionary* metadata) {
    const AVDictionaryEntry* title = av_dict_get(metadata, "title", nullptr, 0);
    return title != nullptr ? title->value : "";
}

/// Of several at the same time the first counts, for instance a part and not its first section.
std::vector<Chapter> ChaptersOf(const ForeignFile& file, Ms end) {
    std::vector<Chapter> chapters;
    const AVFormatContext& input = file.Input();
    for (unsigned i = 0; i < input.nb_chapters; ++i) {
        const AVChapter& chapter = *input.chapters[i];
        const std::int64_t start = file.MsFromZero(chapter.start, chapter.time_base);
        chapters.push_back({static_cast<Ms>(std::max<std::int64_t>(0, start)), TitleOf(chapter.metadata)});
    }
    std::erase_if(chapters, [end](const Chapter& chapter) { return chapter.start >= end; });
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](const Chapter& a, const Chapter& b) { return a.start < b.start; });
    const auto isDoubled = [](const Chapter& a, const Chapter& b) { return a.start == b.start; };
    chapters.erase(std::unique(chapters.begin(), chapters.end(), isDoubled), chapters.end());
    return chapters;
}

}  // namespace

Recording ProbeRecording(const std::filesystem::path& path) {
    const ForeignFile file(path);
    if (file.PictureStream() == nullptr && file.SoundStream() == nullptr) {
        throw MediaError(path, "holds neither picture nor sound that can be decoded");
    }
    Recording recording;
    recording.picture = Describe(path, file.PictureStream(), PictureTrack::Picture);
    recording.camera = Describe(path, file.CameraStream(), PictureTrack::Camera);
    recording.hasSound = file.SoundStream() != nullptr;
    if (recording.hasSound) recording.channels = file.SoundStream()->codecpar->ch_layout.nb_channels;
    recording.startOffsetMs = static_cast<Ms>(RoundToMs(file.ZeroUs()));
    recording.durationMs = static_cast<Ms>(std::max<std::int64_t>(0, RoundToMs(EndUs(path))));
    recording.title = TitleOf(file.Input().metadata);
    recording.chapters = ChaptersOf(file, recording.durationMs);
    return recording;
}

}  // namespace qv
