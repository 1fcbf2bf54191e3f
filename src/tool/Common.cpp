// SPDX-License-Identifier: GPL-3.0-or-later
#include "Common.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace tool {

using std::filesystem::path;

qv::Engine OpenEngine(const Context& context) {
    const auto log = [](const std::string& line) { std::cerr << "qvtool: " << line << '\n'; };
    qv::Engine engine = qv::MakeEngine({qv::DefaultCacheFolder(), log});
    engine.mixEdit->qvSetAudioBitrate(context.bitrateKbit);
    return engine;
}

path MediaOf(const path& given) { return is_directory(given) ? given / "media.qv" : given; }

std::vector<qv::Ms> ReadKeys(qv::IQvLib& lib, const path& media) {
    std::string name = std::filesystem::temp_directory_path() / "qvtool-keys-XXXXXX";
    const int made = mkstemp(name.data());
    if (made < 0) throw std::runtime_error(name + ": cannot be made");
    close(made);
    lib.ListIndex(name, media);
    std::ifstream list(name);
    std::vector<qv::Ms> keys{std::istream_iterator<qv::Ms>(list), {}};
    std::filesystem::remove(name);
    return keys;
}

void PrintJson(const Json& result) { std::cout << result.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n'; }

}  // namespace tool
