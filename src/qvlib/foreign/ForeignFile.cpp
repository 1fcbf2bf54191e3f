// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignFile.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <string_view>

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include "sound/SoundFormat.h"

namespace qv {

namespace {

/// Containers of sound and moving pictures. Play lists and the like are left out: they make a demuxer open other files.
constexpr const char* kContainers =
    "aac,ac3,aiff,amr,ape,asf,au,av1,avi,caf,dts,dv,eac3,f4v,flac,flv,h264,hevc,ivf,m4v,matroska,mov,mp3,mpc,mpc8,"
    "mpeg,mpegts,mpegvideo,mxf,nsv,nut,obu,ogg,rm,tta,w64,wav,webm,wv,yuv4mpegpipe";

/// What can be told about a path before its bytes are looked at, in words for a user.
void CheckReadable(const std::filesystem::path& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) throw MediaError(path, "no such file");
    if (error) throw MediaError(path, error.message());
    if (std::filesystem::is_directory(status)) throw MediaError(path, "is a folder");
    if (access(path.c_str(), R_OK) != 0) throw MediaError(path, std::strerror(errno));
    if (std::filesystem::is_regular_file(status) && std::filesystem::file_size(path, error) == 0) {
        throw MediaError(path, "the file is empty");
    }
}

/// Of bytes that no demuxer takes: an MP4 file is of no use before its index is written, at the very end.
const char* WhyNotTaken(const std::filesystem::path& path) {
    std::array<char, 8> head{};
    std::ifstream(path, std::ios::binary).read(head.data(), head.size());
    const bool isMp4 = std::string_view(head.data() + 4, 4) == "ftyp";
    return isMp4 ? "is incomplete: it was cut off, or its recording never finished" : "not a media file";
}

av::Input OpenInput(const std::filesystem::path& path) {
    av::SilenceLog();
    av::Options options;
    options.Set("protocol_whitelist", "file");
    options.Set("format_whitelist", kContainers);
    AVFormatContext* opened = nullptr;
    const int result = avformat_open_input(&opened, ("file:" + path.string()).c_str(), nullptr, options.Get());
    if (result == AVERROR_INVALIDDATA || result == AVERROR(EINVAL)) throw MediaError(path, WhyNotTaken(path));
    constexpr const char* kBreaksOff = "is cut off or damaged in what tells its contents";
    if (result == AVERROR_EOF || result == AVERROR(EIO)) throw MediaError(path, kBreaksOff);
    av::Check(result, path);
    av::Input input(opened);
    if (avformat_find_stream_info(input.get(), nullptr) < 0) throw MediaError(path, kBreaksOff);
    return input;
}

bool IsMovingPicture(const AVStream& stream) {
    constexpr int kStill = AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS;
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & kStill) == 0 &&
           stream.codecpar->width > 0 && stream.codecpar->height > 0 &&
           avcodec_find_decoder(stream.codecpar->codec_id) != nullptr;
}

bool IsSound(const AVStream& stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO &&
           avcodec_find_decoder(stream.codecpar->codec_id) != nullptr;
}

/// Matroska tells the time of the first Opus packet; the sound begins behind what the decoder drops of it.
int OpusPreSkip(const AVCodecParameters& sound) {
    constexpr int kHeaderSize = 19;
    if (sound.codec_id != AV_CODEC_ID_OPUS || sound.extradata_size < kHeaderSize) return 0;
    return AV_RL16(sound.extradata + 10);
}

/// Containers round the time that a codec's delay takes. A sound that begins this little before the picture begins with
/// it, and the picture's whole milliseconds stay what they are.
constexpr std::int64_t kSameStartUs = 2000;

std::int64_t StartUs(const AVFormatContext& input, const AVStream& stream) {
    std::int64_t start = av_rescale_q(stream.start_time, stream.time_base, AV_TIME_BASE_Q);
    const int priming = UntoldPriming(*stream.codecpar);
    if (priming > 0) start += av_rescale(priming, AV_TIME_BASE, stream.codecpar->sample_rate);
    if (std::strstr(input.iformat->name, "matroska") != nullptr) {
        // Rounded as the demuxer rounds it when it takes it off the packets' times.
        const std::int64_t skipped = av_rescale_q(OpusPreSkip(*stream.codecpar), {1, kSampleRate}, stream.time_base);
        start += av_rescale_q(skipped, stream.time_base, AV_TIME_BASE_Q);
    }
    return start;
}

}  // namespace

int UntoldPriming(const AVCodecParameters& sound) {
    const bool first = sound.codec_id == AV_CODEC_ID_WMAV1;
    if ((!first && sound.codec_id != AV_CODEC_ID_WMAV2) || sound.sample_rate <= 0) return 0;
    // One frame, whose length goes by the rate.
    if (sound.sample_rate <= 16000) return 512;
    if (sound.sample_rate <= 22050 || (sound.sample_rate <= 32000 && first)) return 1024;
    if (sound.sample_rate <= 48000 || first) return 2048;
    return sound.sample_rate <= 96000 ? 4096 : 8192;
}

ForeignFile::ForeignFile(std::filesystem::path path) : path_(std::move(path)) {
    CheckReadable(path_);
    input_ = OpenInput(path_);
    tellsManyEnds_ = std::strstr(input_->iformat->name, "mp4") != nullptr;
    PickStreams();
}

void ForeignFile::PickStreams() {
    constexpr std::int64_t kUnknown = std::numeric_limits<std::int64_t>::max();
    std::int64_t earliest = kUnknown;
    for (unsigned i = 0; i < input_->nb_streams; ++i) {
        AVStream* stream = input_->streams[i];
        AVStream** place = nullptr;
        if (IsMovingPicture(*stream)) place = picture_ == nullptr ? &picture_ : &camera_;
        if (IsSound(*stream)) place = &sound_;
        if (place == nullptr || *place != nullptr) continue;
        *place = stream;
        if (stream->start_time == AV_NOPTS_VALUE || stream == camera_) continue;
        earliest = std::min(earliest, StartUs(*input_, *stream));
    }
    if (earliest != kUnknown) {
        const bool pictureIsKnown = picture_ != nullptr && picture_->start_time != AV_NOPTS_VALUE;
        const std::int64_t pictureStart = pictureIsKnown ? StartUs(*input_, *picture_) : earliest;
        zeroUs_ = pictureStart - earliest <= kSameStartUs ? pictureStart : earliest;
    } else if (input_->start_time != AV_NOPTS_VALUE) {
        zeroUs_ = input_->start_time;
    }
}

void ForeignFile::ReadOnly(const AVStream& stream) {
    for (unsigned i = 0; i < input_->nb_streams; ++i) {
        AVStream* other = input_->streams[i];
        other->discard = other == &stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

bool ForeignFile::Next(AVPacket& packet) {
    constexpr int kMostErrorsInARow = 100;  // want of memory among them: a damaged size asks for too much
    for (int errors = 0; errors < kMostErrorsInARow; ++errors) {
        av_packet_unref(&packet);
        const int result = av_read_frame(input_.get(), &packet);
        const AVIOContext* io = input_->pb;
        if (result < 0 && io != nullptr && io->error < 0 && io->error != AVERROR_EOF) av::Check(io->error, path_);
        if (result == AVERROR_EOF && !tellsManyEnds_) return false;
        if (result < 0) continue;
        if (input_->streams[packet.stream_index]->discard == AVDISCARD_DEFAULT) return true;
        errors = -1;
    }
    return false;
}

bool ForeignFile::SeekKey(const AVStream& stream, std::int64_t pts) {
    return av_seek_frame(input_.get(), stream.index, pts, AVSEEK_FLAG_BACKWARD) >= 0;
}

std::int64_t ForeignFile::UsFromZero(std::int64_t pts, AVRational timeBase) const {
    return av_rescale_q(pts, timeBase, AV_TIME_BASE_Q) - zeroUs_;
}

std::int64_t ForeignFile::MsFromZero(std::int64_t pts, AVRational timeBase) const {
    return RoundToMs(UsFromZero(pts, timeBase));
}

av::Codec OpenStreamDecoder(const ForeignFile& file, const AVStream& stream, int threads) {
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (stream.codecpar->codec_id == AV_CODEC_ID_AV1) {
        const AVCodec* dav1d = avcodec_find_decoder_by_name("libdav1d");
        if (dav1d != nullptr) decoder = dav1d;
    }
    if (decoder == nullptr) throw MediaError(file.Path(), "no decoder for this codec is installed");
    av::Codec context = av::NewCodec(decoder);
    av::Check(avcodec_parameters_to_context(context.get(), stream.codecpar), file.Path());
    context->pkt_timebase = stream.time_base;
    context->thread_count = threads;
    if (UntoldPriming(*stream.codecpar) > 0) context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    av::Check(avcodec_open2(context.get(), decoder, nullptr), file.Path());
    return context;
}

}  // namespace qv
