// SPDX-License-Identifier: GPL-3.0-or-later
#include "mix/Mix.h"

namespace qv {

std::vector<std::filesystem::path> SplitFileList(const std::string& list) {
    std::vector<std::string> files(1);
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i] == '?') {
            files.emplace_back();
        } else if (list.compare(i, 3, "%3F") == 0 || list.compare(i, 3, "%25") == 0) {
            files.back() += list[i + 1] == '3' ? '?' : '%';
            i += 2;
        } else {
            files.back() += list[i];
        }
    }
    return {files.begin(), files.end()};
}

}  // namespace qv
