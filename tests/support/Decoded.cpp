// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Decoded.h"

#include <cmath>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace support {

namespace {

qv::Ms ToMs(const std::string& seconds) { return static_cast<qv::Ms>(std::lround(std::stod(seconds) * 1000)); }

std::string TrackOption(int track) { return "v:" + std::to_string(track); }

}  // namespace

const std::vector<std::uint8_t>& DecodedPictures::At(qv::Ms t) const {
    const auto behind = std::upper_bound(times.begin(), times.end(), t);
    if (behind == times.begin()) throw std::out_of_range("no picture at " + std::to_string(t));
    return luma[static_cast<std::size_t>(behind - times.begin() - 1)];
}

DecodedPictures DecodePictures(const std::filesystem::path& file, int track) {
    DecodedPictures pictures;
    std::istringstream times(Output("ffprobe -v error -select_streams " + TrackOption(track) +
                                    " -show_entries frame=pts_time -of csv=p=0 " + Quoted(file)));
    for (std::string line; std::getline(times, line);)
        if (!line.empty()) pictures.times.push_back(ToMs(line));
    const std::string bytes = Output("ffmpeg -v error -i " + Quoted(file) + " -map 0:" + TrackOption(track) +
                                     " -fps_mode passthrough -vf extractplanes=y -f rawvideo -");
    if (pictures.times.empty() || bytes.size() % pictures.times.size() != 0)
        throw std::runtime_error(file.string() + ": pictures and times do not fit");
    const std::size_t size = bytes.size() / pictures.times.size();
    for (std::size_t at = 0; at < bytes.size(); at += size)
        pictures.luma.emplace_back(bytes.begin() + static_cast<long>(at), bytes.begin() + static_cast<long>(at + size));
    return pictures;
}

std::vector<float> DecodeSound(const std::filesystem::path& file) {
    const std::string bytes = Output("ffmpeg -v error -i " + Quoted(file) + " -vn -ac 1 -ar 48000 -f f32le -");
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

double Psnr(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    if (a.size() != b.size()) return 0;
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return sum == 0 ? 200 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / sum);
}

double SoundSnr(const std::vector<float>& is, const std::vector<float>& wanted, std::size_t from, std::size_t to) {
    double signal = 1e-12;
    double error = 1e-12;
    for (std::size_t i = from; i < to; ++i) {
        const double difference = is.at(i) - wanted.at(i);
        signal += wanted[i] * wanted[i];
        error += difference * difference;
    }
    return 10 * std::log10(signal / error);
}

int BestShift(const std::vector<float>& is, const std::vector<float>& wanted, std::size_t from, std::size_t to,
              int reach) {
    int best = 0;
    double bestSum = -1;
    for (int shift = -reach; shift <= reach; ++shift) {
        double sum = 0;
        for (std::size_t i = from; i < to; ++i)
            sum += wanted.at(i) * is.at(static_cast<std::size_t>(static_cast<long>(i) + shift));
        if (sum > bestSum) {
            bestSum = sum;
            best = shift;
        }
    }
    return best;
}

std::vector<std::string> PacketLines(const std::filesystem::path& file, int track) {
    std::istringstream text(
        Output("ffprobe -v error -select_streams " + TrackOption(track) +
               " -show_data_hash sha256 -show_entries packet=pts_time,flags,data_hash -of csv=p=0 " + Quoted(file)));
    std::vector<std::string> lines;
    std::string time;
    std::string flags;
    std::string hash;
    while (std::getline(text, time, ',') && std::getline(text, flags, ',') && std::getline(text, hash))
        lines.push_back(std::to_string(ToMs(time)) + " " + flags.substr(0, 1) + " " + hash);
    return lines;
}

}  // namespace support
