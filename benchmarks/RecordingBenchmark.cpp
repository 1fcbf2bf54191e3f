// SPDX-License-Identifier: GPL-3.0-or-later
//
// Records for some minutes as a user would, from the usual input or from a file that plays the microphone.
//
//     recording_benchmark TARGET.qva MINUTES [VOICE]
//
// Prints one line: ms by the clock, ms of the file, frames lost, KB of memory after the first tenth and at the end.
#include <chrono>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include "qvlib/Engine.h"
#include "qvlib/IQvCapture.h"

namespace {

using Clock = std::chrono::steady_clock;

/// KB that the process holds.
long Memory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
    return 0;
}

/// Waits as a window does that shows the meter.
void WatchUntil(qv::IQvCapture& capture, Clock::time_point end) {
    while (Clock::now() < end) {
        std::this_thread::sleep_until(std::min(end, Clock::now() + std::chrono::milliseconds(100)));
        static_cast<void>(capture.GetAudioVolume());
        if (const auto failure = capture.State().failure; !failure.empty()) throw std::runtime_error(failure);
    }
}

void Record(const std::filesystem::path& target, double minutes, const std::string& voice) {
    const auto log = [](const std::string& line) { std::cerr << line << '\n'; };
    const auto in = voice.empty() ? qv::MakeDeviceSoundIn(log) : qv::MakeFileSoundIn(voice);
    const auto capture = qv::MakeCapture({.soundIn = in, .channels = 1, .log = log});
    capture->CheckAudioDevice(target, 64);
    WatchUntil(*capture, Clock::now() + std::chrono::seconds(1));
    const auto length = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(60 * minutes));
    const auto begin = Clock::now();
    capture->StartRecordAudio();
    WatchUntil(*capture, begin + length / 10);
    const long early = Memory();
    WatchUntil(*capture, begin + length);
    capture->StopRecordAudio();
    const auto took = Clock::now() - begin;
    const long late = Memory();
    capture->CloseAudioDevice();
    const qv::CaptureState state = capture->State();
    const qv::TakeCheck check = qv::CheckTake(target, state.recorded);
    if (!check.failure.empty()) throw std::runtime_error(check.failure);
    std::cout << took / std::chrono::milliseconds(1) << ' ' << check.length << ' ' << state.framesLost << ' ' << early
              << ' ' << late << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() < 2 || words.size() > 3) {
        std::cerr << "usage: recording_benchmark TARGET.qva MINUTES [VOICE]\n";
        return 2;
    }
    try {
        Record(words[0], std::stod(words[1]), words.size() > 2 ? words[2] : "");
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "recording_benchmark: " << error.what() << '\n';
        return 1;
    }
}
