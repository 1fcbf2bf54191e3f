// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdlib>

#include "base/Files.h"
#include "doubles/World.h"
#include "store/InteList.h"

namespace {

using mirrane::CInteList;

void Require(bool holds) {
    if (!holds) std::abort();
}

/// The rows are on the grid, before the end and never at one time; each ends where the next one begins.
void CheckRows(const CInteList& list, mirrane::Ms duration) {
    mirrane::Ms end = list.Count() == 0 ? 0 : list.items().front().pos;
    for (const mirrane::CInteItem& item : list.items()) {
        Require(item.pos % mirrane::kSampleMs == 0 && item.pos < duration);
        Require(item.pos == end && item.text.find('\n') == std::string::npos);
        end = item.posEnd;
    }
    Require(list.Count() == 0 || end == duration);
}

}  // namespace

/// Any bytes give rows or a message, and what was read is written, taken over as it is, and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr mirrane::Ms kDuration = 100'000;
    static const std::filesystem::path folder =
        mirrane::modFiles::MakeTempFolder(std::filesystem::temp_directory_path(), "inteListFuzz_");
    const std::filesystem::path file = folder / "inteIndex.txt";
    doubles::World doubled("/no/res.xml");
    doubled.host.environment["temp"] = folder;
    mirrane::Disk().WriteScratch(file, {reinterpret_cast<const char*>(data), size});
    CInteList list(doubled.world);
    const bool isLoaded = list.Load(file, kDuration);
    Require(isLoaded == doubled.user.boxes.empty());
    if (!isLoaded) return 0;
    CheckRows(list, kDuration);

    std::vector<mirrane::Ms> times;
    std::vector<std::string> texts;
    list.GetInteAry(times, texts);
    CInteList copy(doubled.world);
    Require(copy.LoadAry(times, texts, kDuration) && copy.Count() == list.Count() && copy.Save(file));
    // Times below 0 go up with each reading and may meet.
    const bool isPlain = list.Count() == 0 || *std::min_element(times.begin(), times.end()) >= 0;
    Require(list.Load(file, kDuration) || !isPlain);
    return 0;
}
