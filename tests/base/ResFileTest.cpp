// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <pugixml.hpp>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "base/Disk.h"

namespace mirrane {
namespace {

struct Entry {
    std::string name;  ///< "form/key"
    std::string key;
    std::string text;
};

/// In the order of the file.
std::vector<Entry> Read(const std::string& name) {
    pugi::xml_document document;
    EXPECT_TRUE(document.load_file((MIRRANE_SOURCE_DIR "/data/" + name).c_str())) << name;
    std::vector<Entry> entries;
    for (const auto& form : document.document_element())
        for (const auto& text : form.children()) {
            const std::string key = text.attribute("name").value();
            entries.push_back({form.attribute("name").value() + ("/" + key), key, text.text().get()});
        }
    return entries;
}

/// "%p%s": what the program puts in, sorted. Any other % is one.
std::string Placeholders(const std::string& text) {
    std::multiset<std::string> found;
    const std::regex pattern("%[sp]");
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) found.insert(at->str());
    std::string all;
    for (const auto& one : found) all += one;
    return all;
}

TEST(ResFile, AllLanguagesHoldTheSame) {
    const std::vector<Entry> english = Read("res.xml");
    std::set<std::string> names;
    for (const Entry& entry : english)
        EXPECT_TRUE(!entry.key.empty() && names.insert(entry.name).second) << entry.name << " twice, or without a name";
    for (const char* language : {"res.de.xml", "res.zh-TW.xml", "res.zh-CN.xml"}) {
        const std::vector<Entry> other = Read(language);
        ASSERT_EQ(other.size(), english.size()) << language;
        for (std::size_t i = 0; i < english.size(); ++i) {
            ASSERT_EQ(other[i].name, english[i].name) << language;
            EXPECT_EQ(Placeholders(other[i].text), Placeholders(english[i].text)) << language << " " << other[i].name;
            EXPECT_EQ(other[i].text.empty(), english[i].text.empty()) << language << " " << other[i].name;
        }
    }
}

TEST(ResFile, HoldsWhatTheProgramAsksFor) {
    std::set<std::string> names;
    std::set<std::string> keys;
    for (const Entry& entry : Read("res.xml")) {
        names.insert(entry.name);
        keys.insert(entry.key);
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
