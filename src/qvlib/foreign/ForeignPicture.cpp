// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignPicture.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <limits>

#include "foreign/ForeignFile.h"
#include "foreign/LeadIn.h"
#include "foreign/PacketForm.h"
#include "foreign/RisingTimes.h"

namespace qv {

namespace {

/// Containers that tell when a packet is decoded but not when it is shown.
bool TellsNoShowingTimes(const AVInputFormat& format) {
    return (format.flags & AVFMT_NOTIMESTAMPS) != 0 || std::strcmp(format.name, "avi") == 0 ||
           std::strcmp(format.name, "h264") == 0;
}

std::optional<PacketForm> ChooseForm(const ForeignFile& file, const AVStream& stream) {
    const bool reordered = stream.codecpar->video_delay > 0;
    if (reordered && TellsNoShowingTimes(*file.Input().iformat)) return std::nullopt;
    return PacketForm::For(stream);
}

/// The times of decoding, taken in turn, are those of showing: for files that tell only the former.
class TimesInTurn {
public:
    void Push(std::int64_t dts) {
        waiting_.push_back(dts);
        if (waiting_.size() > kMostDelayed) waiting_.pop_front();
    }
    [[nodiscard]] std::int64_t Take() {
        if (waiting_.empty()) return AV_NOPTS_VALUE;
        const std::int64_t time = waiting_.front();
        waiting_.pop_front();
        return time;
    }

private:
    static constexpr std::size_t kMostDelayed = 64;  ///< by reordering and by the decoder's threads
    std::deque<std::int64_t> waiting_;
};

/// Pixels that are not square are made so: the width that shows them in their shape.
int SquareWidth(const AVStream& stream) {
    const AVRational shape =
        stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : stream.codecpar->sample_aspect_ratio;
    const int width = stream.codecpar->width;
    constexpr int kMostStretch = 4;
    if (shape.num <= 0 || shape.den <= 0 || shape.num == shape.den) return width;
    if (shape.num > kMostStretch * shape.den || shape.den > kMostStretch * shape.num) return width;
    return static_cast<int>(av_rescale(width, shape.num, shape.den) + 1) / 2 * 2;
}

bool IsRgb(AVPixelFormat format) {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    return description != nullptr && (description->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

}  // namespace

struct ForeignPicture::Impl {
    Impl(const std::filesystem::path& path, PictureTrack track);

    void ReadOn();
    void TakePacket(const AVPacket& taken);
    void EndLeadIn(Ms end);
    void Emit(PicturePacket&& own);

    void DecodeOn();
    void TakeFrame(const AVFrame& frame);
    [[nodiscard]] std::int64_t TimeOf(std::int64_t pts);
    [[nodiscard]] av::Frame MakeEven(const AVFrame& frame);

    ForeignFile file;
    AVStream* stream;
    PictureFormat format;
    RisingTimes times;
    std::int64_t lastTime = 0;  ///< ms from zero of what was read last
    bool pictureSeen = false;
    int damaged = 0;
    bool ended = false;
    av::Packet packet = av::NewPacket();

    std::optional<PacketForm> form;  ///< set: carried
    std::unique_ptr<LeadIn> leadIn;
    bool copying = false;  ///< a key was copied, so the packets that follow can be
    std::deque<PicturePacket> packets;

    av::Codec decoder;  ///< set: not carried
    std::optional<TimesInTurn> inTurn;
    av::PictureScaler scaler{SWS_BICUBIC};
    std::deque<Picture> pictures;
};

ForeignPicture::Impl::Impl(const std::filesystem::path& path, PictureTrack track)
    : file(path), stream(track == PictureTrack::Picture ? file.PictureStream() : file.CameraStream()) {
    if (stream == nullptr) throw MediaError(path, "has no such picture track");
    file.ReadOnly(*stream);
    form = ChooseForm(file, *stream);
    if (form) {
        format = form->Format();
        return;
    }
    decoder = OpenStreamDecoder(file, *stream, 0);
    if (stream->codecpar->video_delay > 0 && TellsNoShowingTimes(*file.Input().iformat)) inTurn.emplace();
    format = {PictureCodec::Vp9, SquareWidth(*stream), stream->codecpar->height, {}};
}

std::int64_t ForeignPicture::Impl::TimeOf(std::int64_t pts) {
    if (pts != AV_NOPTS_VALUE) {
        lastTime = file.MsFromZero(pts, stream->time_base);
    } else {
        const AVRational rate = stream->avg_frame_rate;
        lastTime += rate.num > 0 && rate.den > 0 ? av_rescale(1000, rate.den, rate.num) : 1;
    }
    constexpr std::int64_t kFarthest = std::numeric_limits<Ms>::max() / 2;
    lastTime = std::clamp(lastTime, -kFarthest, kFarthest);
    return lastTime;
}

// ---- carried packets -------------------------------------------------------------------------------------------

void ForeignPicture::Impl::ReadOn() {
    if (file.Next(*packet)) {
        TakePacket(*packet);
        return;
    }
    EndLeadIn(std::numeric_limits<Ms>::max());
    ended = true;
}

void ForeignPicture::Impl::TakePacket(const AVPacket& taken) {
    std::optional<Bytes> data = form->Convert(taken);
    if (!data || (taken.flags & AV_PKT_FLAG_CORRUPT) != 0) ++damaged;
    if (!data) return;
    const std::int64_t time = TimeOf(taken.pts != AV_NOPTS_VALUE ? taken.pts : taken.dts);
    PicturePacket own{static_cast<Ms>(time), StartsDecoding(format, *data), std::move(*data)};
    const bool hidden = (taken.flags & AV_PKT_FLAG_DISCARD) != 0;
    if (own.key) {
        EndLeadIn(own.time);
        copying = !hidden;
    }
    if (copying) {
        Emit(std::move(own));
        return;
    }
    if (!leadIn) leadIn = std::make_unique<LeadIn>(format);
    leadIn->Send(own, hidden);
    for (PicturePacket& encoded : leadIn->Take()) Emit(std::move(encoded));
}

void ForeignPicture::Impl::EndLeadIn(Ms end) {
    if (!leadIn) return;
    for (PicturePacket& encoded : leadIn->Finish(end)) Emit(std::move(encoded));
    leadIn.reset();
}

void ForeignPicture::Impl::Emit(PicturePacket&& own) {
    own.time = times.Next(own.time);
    packets.push_back(std::move(own));
}

// ---- decoded pictures ------------------------------------------------------------------------------------------

void ForeignPicture::Impl::DecodeOn() {
    ended = !file.Next(*packet);
    if (!ended && packet->size == 0) return;
    if (!ended && inTurn) inTurn->Push(packet->dts);
    const int sent = avcodec_send_packet(decoder.get(), ended ? nullptr : packet.get());
    if (sent == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (sent < 0 && sent != AVERROR(EAGAIN) && sent != AVERROR_EOF) ++damaged;
    const av::Frame frame = av::NewFrame();
    for (;;) {
        const int result = avcodec_receive_frame(decoder.get(), frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
        if (result < 0) {
            ++damaged;
            continue;
        }
        TakeFrame(*frame);
    }
}

void ForeignPicture::Impl::TakeFrame(const AVFrame& frame) {
    const std::int64_t guess = pictureSeen ? AV_NOPTS_VALUE : frame.best_effort_timestamp;
    const std::int64_t told = frame.pts != AV_NOPTS_VALUE ? frame.pts : guess;
    const std::int64_t before = lastTime;
    std::int64_t now = TimeOf(inTurn ? inTurn->Take() : told);
    if (pictureSeen) now = std::max(now, before + 1);
    lastTime = now;
    pictureSeen = true;
    const Ms time = times.Next(now);
    av::Frame even = MakeEven(frame);
    pictures.push_back({std::shared_ptr<const AVFrame>(std::move(even)), time});
}

av::Frame ForeignPicture::Impl::MakeEven(const AVFrame& frame) {
    const auto from = static_cast<AVPixelFormat>(frame.format);
    av::Frame even = av::NewFrame();
    if (av::WithRangeTold(from) == AV_PIX_FMT_YUV420P && frame.width == format.width && frame.height == format.height) {
        av::Check(av_frame_ref(even.get(), &frame), file.Path());
        even->format = AV_PIX_FMT_YUV420P;
        even->color_range = av::IsFullRange(frame) ? AVCOL_RANGE_JPEG : frame.color_range;
        return even;
    }
    even = av::NewPictureFrame(AV_PIX_FMT_YUV420P, format.width, format.height);
    even->color_range = av::IsFullRange(frame) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    even->colorspace = frame.colorspace;
    even->color_primaries = frame.color_primaries;
    even->color_trc = frame.color_trc;
    if (IsRgb(from)) {
        constexpr int kHdLines = 720;
        even->color_range = AVCOL_RANGE_MPEG;
        even->colorspace = format.height >= kHdLines ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    }
    scaler.Scale(frame, *even);
    return even;
}

// ----------------------------------------------------------------------------------------------------------------

ForeignPicture::ForeignPicture(const std::filesystem::path& file, PictureTrack track)
    : impl_(std::make_unique<Impl>(file, track)) {}

ForeignPicture::~ForeignPicture() = default;

bool ForeignPicture::Carried() const { return impl_->form.has_value(); }

const PictureFormat& ForeignPicture::Format() const { return impl_->format; }

std::optional<PicturePacket> ForeignPicture::ReadPacket() {
    if (!impl_->form) return std::nullopt;
    while (impl_->packets.empty() && !impl_->ended) impl_->ReadOn();
    if (impl_->packets.empty()) return std::nullopt;
    PicturePacket packet = std::move(impl_->packets.front());
    impl_->packets.pop_front();
    return packet;
}

std::optional<Picture> ForeignPicture::ReadPicture() {
    if (!impl_->decoder) return std::nullopt;
    while (impl_->pictures.empty() && !impl_->ended) impl_->DecodeOn();
    if (impl_->pictures.empty()) return std::nullopt;
    Picture picture = std::move(impl_->pictures.front());
    impl_->pictures.pop_front();
    return picture;
}

int ForeignPicture::Damaged() const { return impl_->damaged; }

}  // namespace qv
