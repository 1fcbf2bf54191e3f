// SPDX-License-Identifier: GPL-3.0-or-later
//
// How long the player takes from a seek to the moment when picture and sound are ready, each behind a new play list as
// after an edit.
//
//     seek_benchmark MEDIA.qv MS...
//
// Prints one line of milliseconds for each of the places, in their order.
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/EventLoop.h"
#include "qvlib/Engine.h"
#include "qvlib/IPlayer.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{60};

/// A lecture in the player, and the rows that play all of it.
class Desk {
public:
    explicit Desk(const std::filesystem::path& media)
        : media_(media), length_(qv::MakeEngine({}).lib->GetLength(media)) {
        if (length_ == 0 || !player_->Open(media)) throw std::runtime_error(media.string() + ": cannot be read");
        player_->OnPicture([this](const qv::ShownPicture&) { ++pictures_; });
        player_->OnSeekFinished([this] { isDone_ = true; });
    }

    double Seek(qv::Ms place) {
        const std::vector<qv::AudioRow> sound = {{0, length_, 0, 0, length_, 100}};
        const std::vector<qv::FrameRow> picture = {{0, length_, 0, length_, 1}};
        const int before = pictures_;
        isDone_ = false;
        const auto begin = Clock::now();
        player_->SetPlayList({media_}, sound, picture);
        player_->Seek(place);
        if (!loop_.RunUntil([this] { return isDone_; }, kPatience)) throw std::runtime_error("a seek has no end");
        const std::chrono::duration<double, std::milli> took = Clock::now() - begin;
        if (pictures_ == before || player_->Position() != place) throw std::runtime_error("a seek found no picture");
        return took.count();
    }

private:
    std::filesystem::path media_;
    qv::Ms length_;
    int pictures_ = 0;
    bool isDone_ = false;
    mirrane::EventLoop loop_;
    std::unique_ptr<qv::IPlayer> player_ =
        qv::MakePlayer({.post = [this](std::function<void()> deed) { loop_.Post(std::move(deed)); },
                        .soundOut = {},
                        .log = [](const std::string& line) { std::cerr << line << '\n'; }});
};

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() < 2) {
        std::cerr << "usage: seek_benchmark MEDIA.qv MS...\n";
        return 2;
    }
    try {
        Desk desk(words.front());
        for (std::size_t i = 1; i < words.size(); ++i) std::cout << desk.Seek(std::stoi(words[i])) << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "seek_benchmark: " << error.what() << '\n';
        return 1;
    }
}
