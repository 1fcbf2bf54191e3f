// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/Opus.h"

#include <opus.h>

#include <algorithm>
#include <string>
#include <thread>

#include "sound/SoundFormat.h"

namespace qv {
namespace {

/// No packet of 20 ms is larger.
constexpr int kMaxPacketBytes = 1275;

/// All that the codec can do. Below 7 it no longer looks at what it hears (speech or music, how tonal) before it chooses
/// its tools, and at 7 the noise that is left over the ear's threshold grows by up to 1 dB, for a fiftieth of the time
/// at 64 kbit/s.
constexpr int kComplexity = 10;

/// The codec's request for one of its modes; it has no name in the codec's public headers.
constexpr int kForceModeRequest = 11002;

/// The mode in that request's numbers: speech 1000, hybrid 1001, music 1002. A packet tells it in its first five bits.
opus_int32 ModeOf(const OpusPacket& packet) {
    const int config = packet[0] >> 3;
    return config >= 16 ? 1002 : config >= 12 ? 1001 : 1000;
}

void Check(const char* call, int code) {
    if (code < 0) throw OpusError(call, code);
}

std::vector<std::max_align_t> Room(int bytes) {
    return std::vector<std::max_align_t>((static_cast<std::size_t>(bytes) + sizeof(std::max_align_t) - 1) /
                                         sizeof(std::max_align_t));
}

OpusEncoder* AsEncoder(std::vector<std::max_align_t>& state) { return reinterpret_cast<OpusEncoder*>(state.data()); }
OpusDecoder* AsDecoder(std::vector<std::max_align_t>& state) { return reinterpret_cast<OpusDecoder*>(state.data()); }

}  // namespace

OpusError::OpusError(const char* call, int code)
    : std::runtime_error(std::string("opus: ") + call + ": " + opus_strerror(code)) {}

int EncodeSettings::ThreadCount() const {
    return threads > 0 ? threads : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

OpusEncoderHandle::OpusEncoderHandle(const EncodeSettings& settings)
    : state_(Room(opus_encoder_get_size(settings.channels))),
      bitrate_(std::clamp(settings.bitrateKbit, 6, 510) * 1000) {
    OpusEncoder* encoder = AsEncoder(state_);
    Check("encoder", opus_encoder_init(encoder, kSampleRate, settings.channels, OPUS_APPLICATION_AUDIO));
    Check("complexity", opus_encoder_ctl(encoder, OPUS_SET_COMPLEXITY(kComplexity)));
    Check("variable rate", opus_encoder_ctl(encoder, OPUS_SET_VBR(1)));
    Check("free rate", opus_encoder_ctl(encoder, OPUS_SET_VBR_CONSTRAINT(0)));
    opus_int32 delay = 0;
    Check("delay", opus_encoder_ctl(encoder, OPUS_GET_LOOKAHEAD(&delay)));
    if (delay != kPreSkip) throw OpusError("delay", OPUS_UNIMPLEMENTED);
}

void OpusEncoderHandle::Encode(std::span<const float> frame, OpusPacket& packet, const OpusPacket* model) {
    OpusEncoder* encoder = AsEncoder(state_);
    const bool like = model != nullptr && !model->empty();
    const int bandwidth = like ? opus_packet_get_bandwidth(model->data()) : OPUS_AUTO;
    // A codec that does not know this request goes on choosing its mode by itself.
    opus_encoder_ctl(encoder, kForceModeRequest, like ? ModeOf(*model) : OPUS_AUTO);
    const int rate = like ? std::max(bitrate_, static_cast<int>(model->size()) * 8 * (1000 / kPacketMs)) : bitrate_;
    Check("bit rate", opus_encoder_ctl(encoder, OPUS_SET_BITRATE(rate)));
    Check("bandwidth", opus_encoder_ctl(encoder, OPUS_SET_BANDWIDTH(bandwidth)));
    packet.resize(kMaxPacketBytes);
    const int bytes = opus_encode_float(encoder, frame.data(), kPacketSamples, packet.data(), kMaxPacketBytes);
    Check("encode", bytes);
    packet.resize(static_cast<std::size_t>(bytes));
}

OpusDecoderHandle::OpusDecoderHandle(int channels) : state_(Room(opus_decoder_get_size(channels))) {
    Check("decoder", opus_decoder_init(AsDecoder(state_), kSampleRate, channels));
}

void OpusDecoderHandle::Reset() { Check("reset", opus_decoder_ctl(AsDecoder(state_), OPUS_RESET_STATE)); }

bool OpusDecoderHandle::Decode(std::span<const std::uint8_t> packet, std::span<float> out) {
    const auto bytes = static_cast<opus_int32>(std::min<std::size_t>(packet.size(), 1 << 20));
    // No bytes at all would mean a lost packet to the codec, which it makes up for.
    const bool good = bytes > 0 && opus_decode_float(AsDecoder(state_), packet.data(), bytes, out.data(),
                                                     kPacketSamples, 0) == kPacketSamples;
    if (!good) std::ranges::fill(out, 0.0F);
    return good;
}

std::vector<std::uint8_t> MakeOpusHead(int channels) {
    const auto low = [](int value) { return static_cast<std::uint8_t>(value & 0xff); };
    return {'O',
            'p',
            'u',
            's',
            'H',
            'e',
            'a',
            'd',
            1,  // version
            low(channels),
            low(kPreSkip),
            low(kPreSkip >> 8),
            low(kSampleRate),
            low(kSampleRate >> 8),
            low(kSampleRate >> 16),
            0,
            0,
            0,   // gain
            0};  // mapping family: mono or stereo
}

}  // namespace qv
