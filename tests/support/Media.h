// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "picture/PictureCodec.h"

struct AVFrame;

/// Media files and pictures made for tests.
namespace support {

/// Has ffmpeg make folder/name of these arguments.
/// @throws std::runtime_error with ffmpeg's words
std::filesystem::path MakeMedia(const std::filesystem::path& folder, const std::string& name, const std::string& args);

/// Overwrites `count` bytes from a third of the file on.
void Damage(const std::filesystem::path& file, std::size_t count);

/// ffmpeg arguments for a source of pictures that bear their number, 0 to 49, as brightness; 30 a second.
std::string NumberedPictures(int count, const std::string& size = "64x48");
/// The number that such a picture bears, after whatever codec.
int NumberOn(const qv::Picture& picture);

/// A slide with a pointer: sharp strokes of text, a soft gradient, an arrow that has moved step places on.
/// @param format any planar AVPixelFormat of YUV
qv::Picture DrawSlide(int width, int height, int format, int step);

/// The samples of one plane of planar YUV, line by line, brought to 8 bits.
std::vector<std::uint8_t> Samples(const AVFrame& frame, int plane);

}  // namespace support
