// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "mkv/Check.h"
#include "mkv/Reader.h"
#include "sound/OpusPackets.h"

namespace {

/// A file in memory that can be opened by its path.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : fd_(memfd_create("fuzz", MFD_CLOEXEC)) {
        if (fd_ < 0 || write(fd_, data, size) != static_cast<ssize_t>(size)) std::abort();
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] std::string Path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

template <typename Deed>
void Try(const Deed& deed) {
    try {
        deed();
    } catch (const std::exception&) {  // what is no container is told so
    }
}

void ReadBlocks(const std::string& path) {
    const qv::MkvReader reader(path);
    (void)reader.Duration();
    for (const qv::TrackInfo& track : reader.Tracks()) (void)reader.KeyTimes(track.number);
    qv::BlockCursor cursor(reader);
    while (cursor.Next()) {
    }
}

void ReadSound(const std::string& path) {
    const auto sound = qv::OpenSound(path);
    std::vector<std::uint8_t> packet;
    for (const std::int64_t n : {0, 1, 2, 40, 7, 1000}) (void)sound->Read(n, packet);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const MemoryFile file(data, size);
    Try([&] { ReadBlocks(file.Path()); });
    Try([&] { ReadSound(file.Path()); });
    Try([&] { qv::CheckQuickly(file.Path()); });
    Try([&] { qv::CheckWhole(file.Path()); });
    Try([&] { qv::SetFreeFact(file.Path()); });
    return 0;
}
