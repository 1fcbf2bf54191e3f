// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "picture/PictureCodec.h"

namespace qv {

inline constexpr int kThumbWidth = 160;   ///< pixels at most
inline constexpr int kThumbHeight = 120;  ///< pixels at most

/// Writes a picture as a JPEG file that keeps its shape within maxWidth x maxHeight; a smaller one stays as it is. The
/// file appears under its name only when it is whole; one of that name is replaced.
/// @throws MediaError when the file cannot be written
void WriteJpeg(const Picture& picture, int maxWidth, int maxHeight, const std::filesystem::path& path);

/// Writes the thumbnail of a BMP file as a JPEG file, within kThumbWidth x kThumbHeight.
/// @throws MediaError when there is no such BMP file, it is damaged, or the JPEG file cannot be written
void BmpResizeImage(const std::filesystem::path& bmp, const std::filesystem::path& jpg);

}  // namespace qv
