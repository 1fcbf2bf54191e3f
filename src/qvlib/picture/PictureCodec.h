// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qvlib/Rows.h"

struct AVFrame;

namespace qv {

/// The codecs whose pictures are carried over packet by packet. Anything else is encoded to VP9 when a container is made.
enum class PictureCodec { Vp8, Vp9, Av1, H264 };

/// A picture track as the container describes it.
struct PictureFormat {
    PictureCodec codec = PictureCodec::Vp9;
    int width = 0;                           ///< pixels
    int height = 0;                          ///< pixels
    std::vector<std::uint8_t> codecPrivate;  ///< Matroska CodecPrivate (avcC, av1C, ...); may be empty
};

/// One decoded picture; shared, never written to after it was made. Empty when default-made.
struct Picture {
    std::shared_ptr<const AVFrame> frame;
    Ms time = 0;  ///< the time that was sent with its packet
};

/// One packet of a picture track, in decoding order.
struct PicturePacket {
    Ms time = 0;  ///< when it is shown
    bool key = false;
    std::vector<std::uint8_t> data;
};

/// Decodes one picture track. Damaged packets are counted and passed over, never fatal.
///
///     Send, Receive until empty, Send, ... SendEnd, Receive until empty
class PictureDecoder {
public:
    /// @param threads 1 gives each picture at once (best for single pictures); more may delay them
    PictureDecoder(const PictureFormat& format, int threads);
    ~PictureDecoder();
    PictureDecoder(const PictureDecoder&) = delete;
    PictureDecoder& operator=(const PictureDecoder&) = delete;

    void Send(Ms time, bool key, std::span<const std::uint8_t> data);
    void SendEnd();
    /// The next picture in the order of showing; nothing when more packets are needed or all have come out.
    [[nodiscard]] std::optional<Picture> Receive();
    /// Forgets everything, to start anew at a keyframe.
    void Reset();
    /// Packets that the codec refused since the start.
    [[nodiscard]] int Damaged() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// Encodes a short piece of a track so that its packets can stand between copied packets of the same track: same codec,
/// size, pixel format and colour description as the pictures sent, no packet refers to anything before the piece, order
/// of showing equals order of coding, and every keyframe decodes from itself alone (H.264: parameter sets in band, under
/// ids of their own, in the sample layout that like.codecPrivate tells). Quality: above 40 dB against the picture sent.
class PictureEncoder {
public:
    /// @throws MediaError when no encoder takes pictures like these
    PictureEncoder(const PictureFormat& like, const Picture& first);
    ~PictureEncoder();
    PictureEncoder(const PictureEncoder&) = delete;
    PictureEncoder& operator=(const PictureEncoder&) = delete;

    /// Times rise. The first picture becomes a keyframe in any case.
    void Send(const Picture& picture, Ms time, bool forceKey);
    void SendEnd();
    /// Nothing when more pictures are needed or all have come out.
    [[nodiscard]] std::optional<PicturePacket> Receive();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// The Matroska codec id ("V_VP9"); and back.
[[nodiscard]] std::string CodecIdOf(PictureCodec codec);
[[nodiscard]] std::optional<PictureCodec> PictureCodecOf(const std::string& codecId);

/// Whether a packet that is marked as a key can really be decoded without what came before (H.264: an IDR picture, with
/// samples laid out as codecPrivate tells).
[[nodiscard]] bool StartsDecoding(const PictureFormat& format, std::span<const std::uint8_t> data);

}  // namespace qv
