// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/PatientThread.h"

#include <utility>

namespace qv {

PatientThread::PatientThread(std::chrono::milliseconds patience)
    : patience_(patience), thread_([desk = desk_] { Work(*desk); }) {}

PatientThread::~PatientThread() {
    std::unique_lock lock(desk_->mutex);
    desk_->isClosing = true;
    desk_->changed.notify_all();
    const bool hasEnded = desk_->changed.wait_for(lock, patience_, [this] { return desk_->hasEnded; });
    lock.unlock();
    if (hasEnded) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

bool PatientThread::Do(Deed deed) {
    const std::uint64_t number = Ask(*desk_, std::move(deed));
    std::unique_lock lock(desk_->mutex);
    return desk_->changed.wait_for(lock, patience_, [&] { return desk_->done >= number; });
}

std::function<void(PatientThread::Deed)> PatientThread::Poster() const {
    return [desk = desk_](Deed deed) { Ask(*desk, std::move(deed)); };
}

std::uint64_t PatientThread::Ask(Desk& desk, Deed deed) {
    const std::lock_guard lock(desk.mutex);
    desk.deeds.push_back(std::move(deed));
    desk.changed.notify_all();
    return ++desk.asked;
}

/// What was asked for before the end is still done.
void PatientThread::Work(Desk& desk) {
    std::unique_lock lock(desk.mutex);
    while (true) {
        desk.changed.wait(lock, [&] { return desk.isClosing || !desk.deeds.empty(); });
        if (desk.deeds.empty()) break;
        Deed deed = std::move(desk.deeds.front());
        desk.deeds.pop_front();
        lock.unlock();
        deed();
        deed = nullptr;
        lock.lock();
        ++desk.done;
        desk.changed.notify_all();
    }
    desk.hasEnded = true;
    desk.changed.notify_all();
}

}  // namespace qv
