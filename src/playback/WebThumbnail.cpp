// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/WebThumbnail.h"

#include <algorithm>
#include <limits>
#include <system_error>

#include "base/Files.h"
#include "playback/PageFiles.h"

namespace mirrane {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMostOfFacts = 1 << 20;  ///< bytes of video.xml
constexpr int kLessonRaise = 30;               ///< points: the bar of buttons below a lesson
constexpr int kEdge = 2;                       ///< points

std::int16_t Points(const std::string& text) {
    const std::int32_t number = IntegerPrefix(text);
    return number > std::numeric_limits<std::int16_t>::max() || number < 0 ? std::int16_t{0}
                                                                           : static_cast<std::int16_t>(number);
}

/// A page beside a "player.swf" is the frame of a lesson, whose size is told beside it.
LessonSize LessonOf(const fs::path& projectFolder, const fs::path& page) {
    const fs::path folder = page.parent_path();
    if (!FileExists(InFolder(folder, "player.swf"))) return {};
    const std::string facts = ReadInside(projectFolder, InFolder(folder, "video.xml"), kMostOfFacts);
    return {Points(GetXmlValue(facts, "width")), Points(GetXmlValue(facts, "height"))};
}

/// Where a range of a length ends up inside [0, room): the part of it that is there.
void Clip(int& start, int& length, int room) {
    const int end = std::min(start + length, room);
    start = std::max(start, 0);
    length = std::max(end - start, 0);
}

/// Grabs the page. @returns whether the new thumbnail is there
bool GetThumbnil(const EditContext& ctx, qv::IQvLib& lib, const PageRect& part, const fs::path& target) {
    const fs::path bitmap = fs::path(target).replace_extension(".bmp");
    (void)modFiles::DeleteFileIfAny(ctx.world(), target);
    if (ctx.form.face.grabPage(part, bitmap)) lib.BmpResizeImage(bitmap, target);
    (void)modFiles::DeleteFileIfAny(ctx.world(), bitmap);
    return FileExists(target);
}

}  // namespace

std::string GetXmlValue(std::string_view text, std::string_view name) {
    const std::string tag = "<" + std::string(name) + ">";
    const std::size_t opening = text.find(tag);
    if (opening == std::string_view::npos) return {};
    const std::size_t start = opening + tag.size();
    const std::size_t end = text.find('<', start);
    return end == std::string_view::npos ? std::string() : std::string(text.substr(start, end - start));
}

PageRect CapturedPart(const PageRect& pane, LessonSize lesson) {
    PageRect part{0, 0, pane.width, pane.height};
    if (lesson.width > 0 && lesson.height > 0)
        part = {(pane.width - lesson.width) / 2, (pane.height - lesson.height) / 2 - kLessonRaise, lesson.width,
                lesson.height};
    part = {part.left + kEdge, part.top + kEdge, part.width - 2 * kEdge, part.height - 2 * kEdge};
    Clip(part.left, part.width, pane.width);
    Clip(part.top, part.height, pane.height);
    return part;
}

void CaptureWebThumbnail(EditContext& ctx, qv::IQvLib& lib, Force force) {
    const std::string url = ctx.state.gGrid.GetUrl(ctx.curSlide());
    const MainForm::Face& face = ctx.form.face;
    if (url.empty() || !IsInProject(url) || !face.pageRect || !face.grabPage) return;
    const fs::path folder = InFolder(ctx.state.gProjectFolder, "thumbnails");
    const ThumbnailChoice choice{InFolder(folder, url.substr(0, url.find('/')) + ".jpg"), InFolder(folder, "temp.jpg")};
    if (FileExists(choice.present) && force == Force::No) return;
    const LessonSize lesson = LessonOf(ctx.state.gProjectFolder, InFolder(ctx.state.gProjectFolder, url));
    const PageRect part = CapturedPart(face.pageRect(), lesson);
    if (part.width <= 0 || part.height <= 0) return;
    if (!FolderExists(folder)) ctx.world().disk.MakeFolder(folder);
    if (!GetThumbnil(ctx, lib, part, choice.fresh)) return;
    const bool isWanted = force == Force::No || (face.showThumbnail && face.showThumbnail(choice));
    const bool isMade = isWanted && modFiles::CopyFileOver(ctx.world(), choice.fresh, choice.present);
    (void)modFiles::DeleteFileIfAny(ctx.world(), choice.fresh);
    if (isMade && face.thumbnailsChanged) face.thumbnailsChanged();
    if (isWanted && !isMade)
        throw fs::filesystem_error("copy", choice.fresh, choice.present, std::make_error_code(std::errc::io_error));
}

}  // namespace mirrane
