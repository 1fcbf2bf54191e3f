// SPDX-License-Identifier: GPL-3.0-or-later
//
// How long the player takes from a seek to the moment when picture and sound are ready, each behind a new play list as
// after an edit.
//
//     seek_benchmark MEDIA.qv MS...
//
// Prints one line of milliseconds for each of the places, in their order.
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qvlib/Engine.h"
#include "qvlib/IPlayer.h"

namespace {

using Clock = std::chrono::steady_clock;

/// The thread that uses the player.
class Loop {
public:
    void Post(std::function<void()> deed) {
        {
            const std::lock_guard lock(mutex_);
            deeds_.push_back(std::move(deed));
        }
        changed_.notify_one();
    }

    void RunOne() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !deeds_.empty(); });
        const auto deed = std::move(deeds_.front());
        deeds_.pop_front();
        lock.unlock();
        deed();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> deeds_;
};

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
        while (!isDone_) loop_.RunOne();
        const std::chrono::duration<double, std::milli> took = Clock::now() - begin;
        if (pictures_ == before || player_->Position() != place) throw std::runtime_error("a seek found no picture");
        return took.count();
    }

private:
    std::filesystem::path media_;
    qv::Ms length_;
    int pictures_ = 0;
    bool isDone_ = false;
    Loop loop_;
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
