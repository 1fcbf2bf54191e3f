// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <filesystem>
#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include "MediaError.h"

/// The door to FFmpeg's libraries: their structs as owners, their error codes as exceptions.
namespace qv::av {

struct Free {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};

using Packet = std::unique_ptr<AVPacket, Free>;
using Frame = std::unique_ptr<AVFrame, Free>;
using Codec = std::unique_ptr<AVCodecContext, Free>;
using Input = std::unique_ptr<AVFormatContext, Free>;  ///< a file open for reading
using Scaler = std::unique_ptr<SwsContext, Free>;
using Resampler = std::unique_ptr<SwrContext, Free>;

/// Named options for a codec or a demuxer; what was not taken is left in it.
class Options {
public:
    Options() = default;
    ~Options() { av_dict_free(&dict_); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    void Set(const char* name, const std::string& value) { av_dict_set(&dict_, name, value.c_str(), 0); }
    void Set(const char* name, int value) { av_dict_set_int(&dict_, name, value, 0); }
    [[nodiscard]] AVDictionary** Get() { return &dict_; }

private:
    AVDictionary* dict_ = nullptr;
};

/// FFmpeg's words for an error code.
[[nodiscard]] std::string ErrorText(int code);

/// Hands a result through; a negative one is an error of the file (or of what stands in its place).
/// @throws MediaError with FFmpeg's words
int Check(int result, const std::filesystem::path& file);

/// @throws std::bad_alloc
[[nodiscard]] Packet NewPacket();
/// @throws std::bad_alloc
[[nodiscard]] Frame NewFrame();
/// A frame with its own buffers for a picture of that size.
/// @throws std::bad_alloc
[[nodiscard]] Frame NewPictureFrame(AVPixelFormat format, int width, int height);
/// A context that is not opened yet.
/// @throws std::bad_alloc
[[nodiscard]] Codec NewCodec(const AVCodec* codec);

/// Gives the codec a padded copy of these bytes as its extradata; none when size is 0.
void SetExtradata(AVCodecContext& codec, const std::uint8_t* data, std::size_t size);

/// The format without "full range" in its name (AV_PIX_FMT_YUVJ420P and its like): what the colour range says better.
[[nodiscard]] AVPixelFormat WithRangeTold(AVPixelFormat format);
/// Of the frame's colour range, or of its format's name.
[[nodiscard]] bool IsFullRange(const AVFrame& frame);

/// Copies frames into another size or pixel format; quickest while the kind of frames stays the same. In packed RGB two
/// neighbours share their colour, as they do in nearly all recordings: for colours of their own it takes five times as long.
class PictureScaler {
public:
    /// @param filter SWS_BICUBIC, SWS_AREA, ...
    explicit PictureScaler(int filter) : filter_(filter) {}

    /// Colour range and matrix of both frames are respected: set those of `to` first. Times and the rest of it stay.
    /// @param to from NewPictureFrame: what lies between its lines is written to as well
    /// @throws MediaError when there is no such conversion
    void Scale(const AVFrame& from, AVFrame& to);

private:
    int filter_;
    std::array<int, 10> kind_{};  ///< what scaler_ was made for
    Scaler scaler_;
};

/// Turns FFmpeg's own messages off: a library does not write on its user's terminal. Called by everything here that
/// opens something.
void SilenceLog();

}  // namespace qv::av
