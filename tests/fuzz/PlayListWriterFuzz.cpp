// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "base/Text.h"
#include "qvlib/PlayList.h"
#include "timeline/PlayList.h"

namespace {

/// Rows of the bytes' own numbers, at most so many; what they do not fill is 0.
template <typename Row>
std::vector<Row> TakeRows(std::span<const std::uint8_t>& bytes, std::size_t most) {
    std::vector<Row> rows(std::min(most, (bytes.size() + sizeof(Row) - 1) / sizeof(Row)));
    const std::size_t taken = std::min(bytes.size(), rows.size() * sizeof(Row));
    if (taken > 0) std::memcpy(rows.data(), bytes.data(), taken);
    bytes = bytes.subspan(taken);
    return rows;
}

/// What is left of the bytes as paths, parted by zero bytes; none is empty.
std::vector<std::filesystem::path> TakePaths(std::span<const std::uint8_t> bytes) {
    std::vector<std::filesystem::path> paths;
    for (const std::string& path : mirrane::Split({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, '\0'))
        if (!path.empty()) paths.emplace_back(path);
    return paths;
}

void Expect(bool isSo) {
    if (!isSo) std::abort();
}

}  // namespace

/// What is written is read back as the same rows and paths; only line breaks in a path are told in other letters.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    std::span<const std::uint8_t> bytes(data + 2, size - 2);
    const auto frameRows = TakeRows<qv::FrameRow>(bytes, data[0] % 8);
    const auto audioRows = TakeRows<qv::AudioRow>(bytes, data[1] % 8);
    const auto sources = TakePaths(bytes);

    namespace writer = mirrane::modPlayList;
    const qv::PlayList list =
        qv::ParsePlayList(writer::ToText(sources) + writer::ToText(frameRows) + writer::ToText(audioRows));
    Expect(list.frameRows == frameRows && list.audioRows == audioRows && list.sources.size() == sources.size());
    for (std::size_t i = 0; i < sources.size(); ++i) {
        std::string path;
        for (const char letter : sources[i].native())
            path += letter == '\n' ? "%0A" : letter == '\r' ? "%0D" : std::string(1, letter);
        Expect(list.sources[i].native() == path);
    }
    return 0;
}
