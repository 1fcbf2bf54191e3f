// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/PlayList.h"

#include <array>
#include <charconv>
#include <span>
#include <stdexcept>
#include <string>

namespace qv {

namespace {

constexpr std::string_view kSeparator = ", ";

/// Reads one line's fields from the left; what cannot be read is told with the line's number.
class Line {
public:
    Line(std::string_view text, std::size_t number) : rest_(text), number_(number) {}

    [[noreturn]] void Fail(const std::string& reason) const {
        throw std::runtime_error("line " + std::to_string(number_) + ": " + reason);
    }

    /// Takes what stands before the next separator, or all that is left.
    std::string_view Field() {
        const std::size_t end = rest_.find(kSeparator);
        const std::string_view field = rest_.substr(0, end);
        rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + kSeparator.size());
        return field;
    }

    std::int32_t Number() {
        const std::string_view field = Field();
        std::int32_t value = 0;
        const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
        if (error != std::errc() || end != field.data() + field.size() || field.empty())
            Fail("\"" + std::string(field) + "\" is no whole number of 32 bits");
        return value;
    }

    /// Takes exactly as many numbers as there are places, and no more text.
    void Numbers(std::span<std::int32_t* const> places) {
        for (std::int32_t* place : places) *place = Number();
        if (!rest_.empty()) Fail("there is more than a row takes");
    }

    std::string_view Rest() const { return rest_; }

private:
    std::string_view rest_;
    std::size_t number_;
};

void AddSource(Line& line, PlayList& list) {
    if (line.Number() != static_cast<std::int32_t>(list.sources.size()))
        line.Fail("the sources are not numbered 0, 1, 2 ...");
    if (line.Rest().empty()) line.Fail("the source has no path");
    list.sources.emplace_back(line.Rest());
}

void AddFrameRow(Line& line, PlayList& list) {
    FrameRow row;
    line.Numbers(std::array{&row.pos, &row.posEnd, &row.srcPos, &row.srcPosEnd, &row.isSlideStart});
    list.frameRows.push_back(row);
}

void AddAudioRow(Line& line, PlayList& list) {
    AudioRow row;
    line.Numbers(std::array{&row.pos, &row.posEnd, &row.fileIndex, &row.srcPos, &row.srcPosEnd, &row.volPercent});
    list.audioRows.push_back(row);
}

void AddLine(Line line, PlayList& list) {
    const std::string_view kind = line.Field();
    const bool late = (kind == "S" && !list.frameRows.empty()) || (kind != "A" && !list.audioRows.empty());
    if (late) line.Fail("the rows stand in another order than S, F, A");
    if (kind == "S") {
        AddSource(line, list);
    } else if (kind == "F") {
        AddFrameRow(line, list);
    } else if (kind == "A") {
        AddAudioRow(line, list);
    } else {
        line.Fail("it begins with none of \"S, \", \"F, \", \"A, \"");
    }
}

}  // namespace

PlayList ParsePlayList(std::string_view text) {
    PlayList list;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (!line.empty()) AddLine(Line(line, number), list);
    }
    return list;
}

}  // namespace qv
