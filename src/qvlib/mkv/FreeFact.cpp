// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include "MediaError.h"
#include "mkv/Check.h"
#include "mkv/Reader.h"

namespace qv {

namespace {

/// Where the one digit of the fact stands in the tags' data; 0 when there is none.
std::size_t FindFreeDigit(std::span<const std::uint8_t> tags) {
    for (ebml::Children walk(tags); const auto tag = walk.Next();) {
        for (ebml::Children inner(tag->data); const auto simple = inner.Next();) {
            if (simple->id != ebml::kSimpleTag) continue;
            bool isFreeTag = false;
            for (ebml::Children parts(simple->data); const auto part = parts.Next();) {
                if (part->id == ebml::kTagName) isFreeTag = ebml::ToText(part->data) == fact::kFreeTag;
                if (part->id == ebml::kTagString && isFreeTag && part->data.size() == 1)
                    return static_cast<std::size_t>(part->data.data() - tags.data());
            }
        }
    }
    return 0;
}

void WriteInPlace(const std::filesystem::path& file, std::int64_t offset, std::span<const std::uint8_t> bytes) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    const bool written = fd >= 0 &&
                         ::pwrite(fd, bytes.data(), bytes.size(), offset) == static_cast<ssize_t>(bytes.size()) &&
                         ::fsync(fd) == 0;
    const int reason = errno;
    if (fd >= 0) ::close(fd);
    if (!written) throw MediaError(file, std::generic_category().message(reason));
}

}  // namespace

void SetFreeFact(const std::filesystem::path& file) {
    const MkvReader reader(file);
    if (!reader.Tags()) throw MediaError(file, "has no facts");
    std::vector<std::uint8_t> tags(static_cast<std::size_t>(reader.Tags()->size));
    if (reader.File().ReadAt(reader.Tags()->Data(), tags) != tags.size()) throw MediaError(file, "is cut short");
    const std::size_t digit = FindFreeDigit(tags);
    if (digit == 0 || !ebml::CrcFits(tags)) throw MediaError(file, "has no free tag, or a damaged one");
    tags[digit] = '1';
    const std::span<const std::uint8_t> counted = std::span(tags).subspan(ebml::kCrcElementSize);
    const std::uint32_t crc = ebml::Crc32(counted);
    for (std::size_t i = 0; i < 4; ++i) tags[2 + i] = static_cast<std::uint8_t>(crc >> (8 * i));
    WriteInPlace(file, reader.Tags()->Data(), tags);
}

}  // namespace qv
