// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/Thumbs.h"

#include <charconv>
#include <fstream>
#include <string>

#include "MediaError.h"
#include "picture/Jpeg.h"
#include "picture/PictureSource.h"

namespace qv {

std::vector<Ms> ReadThumbList(const std::filesystem::path& list) {
    std::ifstream file(list);
    if (!file) throw MediaError(list, "cannot be read");
    std::vector<Ms> positions;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        Ms position = 0;
        const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), position);
        if (error == std::errc() && end == line.data() + line.size() && position >= 0) positions.push_back(position);
    }
    return positions;
}

void MakeThumbs(const std::filesystem::path& media, const std::vector<Ms>& positions, std::atomic<Ms>& reached,
                const JobContext& job) {
    if (positions.empty()) return;
    PictureSource source(media, false);
    const auto folder = media.parent_path() / "thumbnails";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw MediaError(folder, error.message());
    for (const Ms position : positions) {
        job.Check();
        reached = position;
        source.Decode(position, position + 1, [&](const Picture& picture) {
            WriteJpeg(picture, kThumbWidth, kThumbHeight, folder / (std::to_string(position) + ".jpg"));
            return false;
        });
    }
}

}  // namespace qv
