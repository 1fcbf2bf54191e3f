// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <pugixml.hpp>
#include <regex>
#include <set>

#include "base/Disk.h"
#include "base/Texts.h"

namespace mirrane {
namespace {

/// "form", "key" and text, in the order of the file.
std::vector<std::array<std::string, 3>> Read(const std::string& name) {
    pugi::xml_document document;
    EXPECT_TRUE(document.load_file((MIRRANE_SOURCE_DIR "/data/" + name).c_str())) << name;
    std::vector<std::array<std::string, 3>> entries;
    for (const auto& form : document.document_element())
        for (const auto& text : form.children())
            entries.push_back({form.attribute("name").value(), text.attribute("name").value(), text.text().get()});
    return entries;
}

/// "ps": what the program puts in, sorted. Any other % is one.
std::string Placeholders(const std::string& text) {
    std::string found;
    for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at + 1))
        if (text[at + 1] == 's' || text[at + 1] == 'p') found += text[at + 1];
    std::sort(found.begin(), found.end());
    return found;
}

TEST(ResFile, AllLanguagesHoldTheSame) {
    const auto english = Read("res.xml");
    std::set<std::string> names;
    for (const auto& [form, key, text] : english)
        EXPECT_TRUE(!key.empty() && names.insert(form + "/" + key).second) << key << " twice, or without a name";
    EXPECT_EQ(Texts(MIRRANE_SOURCE_DIR "/data/res.xml").Language(), "en");
    EXPECT_EQ(Texts("/no/res.xml").Language(), "");
    for (const std::string code : {"de", "zh-TW", "zh-CN"}) {
        const std::string language = "res." + code + ".xml";
        EXPECT_EQ(Texts(MIRRANE_SOURCE_DIR "/data/" + language).Language(), code);
        const auto other = Read(language);
        ASSERT_EQ(other.size(), english.size()) << language;
        for (std::size_t i = 0; i < english.size(); ++i) {
            const auto& [form, key, text] = english[i];
            ASSERT_EQ(other[i][0] + "/" + other[i][1], form + "/" + key) << language;
            EXPECT_EQ(Placeholders(other[i][2]), Placeholders(text)) << language << " " << key;
        }
    }
}

TEST(ResFile, HoldsWhatTheProgramAsksFor) {
    std::set<std::string> names;
    std::set<std::string> keys;
    for (const auto& [form, key, text] : Read("res.xml")) {
        names.insert(form + "/" + key);
        keys.insert(key);
    }
    const std::regex call(R"re(GetResString\((?:[^",;{}()]*,)?\s*"([^"]*)"\s*,\s*"([^"]*)")re");
    const std::regex keyOfACall(R"re("(msg[A-Z]\w*)")re");  // also one that gets there by way of a variable
    int calls = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(MIRRANE_SOURCE_DIR "/src")) {
        if (entry.path().extension() != ".cpp") continue;
        const std::string text = ReadFile(entry.path());
        for (std::sregex_iterator at(text.begin(), text.end(), call), end; at != end; ++at, ++calls)
            EXPECT_TRUE(names.contains(at->str(1) + "/" + at->str(2))) << entry.path() << ": " << at->str();
        for (std::sregex_iterator at(text.begin(), text.end(), keyOfACall), end; at != end; ++at)
            EXPECT_TRUE(keys.contains(at->str(1))) << entry.path() << ": " << at->str();
    }
    EXPECT_GT(calls, 2);
}

}  // namespace
}  // namespace mirrane
