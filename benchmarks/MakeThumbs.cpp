// SPDX-License-Identifier: GPL-3.0-or-later
//
// Makes the thumbnails of a list of times once, as a process of its own that can be measured beside another program.
//
//     make_thumbs MEDIA.qv LIST
#include <chrono>
#include <iostream>
#include <thread>

#include "qvlib/Engine.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: make_thumbs MEDIA.qv LIST\n";
        return 2;
    }
    bool failed = false;
    const auto log = [&failed](const std::string& line) {
        std::cerr << "make_thumbs: " << line << '\n';
        failed = true;
    };
    const qv::Engine engine = qv::MakeEngine({{}, log});
    engine.lib->ThumbCreate(argv[1], argv[2]);
    while (engine.lib->ThumbTime() >= 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return failed ? 1 : 0;
}
