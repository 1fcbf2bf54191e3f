// SPDX-License-Identifier: GPL-3.0-or-later
#include "SlideList.h"

#include <algorithm>
#include <regex>
#include <stdexcept>

#include "base/Disk.h"
#include "base/Text.h"
#include "store/Time.h"

namespace tool {

namespace {

using std::filesystem::path;

/// @throws std::runtime_error that tells the reason
qv::Ms ParseTime(const std::string& text) {
    static const std::regex ms("[0-9]+");
    static const std::regex clock(R"(([0-9]+:[0-5]?[0-9]|[0-9]+):[0-5]?[0-9](\.[0-9]{1,3})?)");
    try {
        if (std::regex_match(text, ms)) return mirrane::StrictInteger(text);
        if (std::regex_match(text, clock)) return mirrane::CTime::GetSecond(text);
    } catch (const std::overflow_error&) {
        throw std::runtime_error("\"" + text + "\" is too late for a recording");
    }
    throw std::runtime_error("\"" + text + "\" is no time such as 1:02:03.500, 2:03 or 123500");
}

Slide ParseSlide(const std::string& line) {
    const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
    return {.start = ParseTime(line.substr(0, end)), .title = CleanTitle(line.substr(end))};
}

[[noreturn]] void Refuse(const path& file, int line, const std::string& reason) {
    throw std::runtime_error(file.string() + ": line " + std::to_string(line) + ": " + reason);
}

/// The slide that a line tells.
Slide ReadLine(const path& file, int number, const std::string& line) {
    try {
        Slide slide = ParseSlide(line);
        slide.line = number;
        return slide;
    } catch (const std::runtime_error& error) {
        Refuse(file, number, error.what());
    }
}

}  // namespace

std::string CleanTitle(const std::string& text) {
    std::string title = mirrane::ToUtf8(mirrane::ToUtf16(text));
    std::replace_if(
        title.begin(), title.end(), [](unsigned char letter) { return letter < ' ' || letter == 127; }, ' ');
    return mirrane::Trim(title);
}

std::vector<Slide> ReadSlideFile(const path& file) {
    std::string text = mirrane::ReadFile(file);
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    std::vector<Slide> slides;
    int number = 0;
    for (const std::string& piece : mirrane::Split(text, '\n')) {
        ++number;
        const std::string line = mirrane::Trim(piece);
        if (line.empty() || line.front() == '#') continue;
        Slide slide = ReadLine(file, number, line);
        if (!slides.empty() && slide.start <= slides.back().start)
            Refuse(file, number, "begins no later than the slide before it");
        slides.push_back(std::move(slide));
    }
    if (slides.empty()) throw std::runtime_error(file.string() + ": tells no slides");
    return slides;
}

void CheckSlidesEnd(const std::vector<Slide>& slides, qv::Ms end, const path& file) {
    for (const Slide& slide : slides) {
        if (slide.start >= end)
            Refuse(file, slide.line, "the recording ends at " + mirrane::CTime::GetString(end, "ms"));
    }
}

std::vector<Slide> SlidesOfChapters(const std::vector<qv::Chapter>& chapters) {
    std::vector<Slide> slides;
    slides.reserve(chapters.size());
    for (const qv::Chapter& chapter : chapters)
        slides.push_back({.start = chapter.start, .title = CleanTitle(chapter.title)});
    return slides;
}

void CompleteSlides(std::vector<Slide>& slides) {
    if (slides.empty() || slides.front().start != 0) slides.insert(slides.begin(), Slide{});
    for (std::size_t i = 0; i < slides.size(); ++i) {
        if (slides[i].title.empty()) slides[i].title = "Slide " + std::to_string(i + 1);
    }
}

}  // namespace tool
