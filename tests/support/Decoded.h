// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "qvlib/Rows.h"
#include "support/Basics.h"

/// What a media file holds, as another program decodes it.
namespace support {

/// All pictures of a small file, luma only.
struct DecodedPictures {
    std::vector<qv::Ms> times;  ///< rising
    std::vector<std::vector<std::uint8_t>> luma;

    /// The picture that stands at time t.
    [[nodiscard]] const std::vector<std::uint8_t>& At(qv::Ms t) const;
};
DecodedPictures DecodePictures(const std::filesystem::path& file, int track = 0);

/// All sound at 48 kHz, mixed down to one channel.
std::vector<float> DecodeSound(const std::filesystem::path& file);

/// In dB; 200 for equal pictures.
double Psnr(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b);

/// Signal to error, in dB, of `is` against `wanted` over [from, to) samples.
double SoundSnr(const std::vector<float>& is, const std::vector<float>& wanted, std::size_t from, std::size_t to);

/// The shift, in samples from -reach to reach, at which `is` fits `wanted` best over [from, to).
int BestShift(const std::vector<float>& is, const std::vector<float>& wanted, std::size_t from, std::size_t to,
              int reach);

/// One line a packet of a picture track, in the file's order: "<ms> <K or _> <hash of its bytes>".
std::vector<std::string> PacketLines(const std::filesystem::path& file, int track = 0);

}  // namespace support
