// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/ProjectFile.h"

#include <cstdint>
#include <exception>
#include <span>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/Files.h"
#include "base/Text.h"
#include "store/ProjectTree.h"
#include "store/Time.h"

namespace mirrane {
namespace {

using std::filesystem::path;

/// A text of the document and its place in the mirror.
struct Field {
    enum class Kind { Text, Trimmed, FirstAttribute, ShowCursor };

    const char* path = "";
    std::string CProjectFile::*member = nullptr;
    const char* fallback = "";
    Kind kind = Kind::Text;
    const char* attribute = "";  ///< what a first attribute is called where it must be made
};

/// Fields in the order in which they are read and written, under one step label.
struct Section {
    const char* loadLabel;
    const char* saveLabel;
    std::span<const Field> fields;
};

using File = CProjectFile;
using Kind = Field::Kind;

constexpr Field kAbstractFields[] = {{"project.abstract.title", &File::title, "Mirrane Title"},
                                     {"project.abstract.author", &File::author},
                                     {"project.abstract.manager", &File::manager},
                                     {"project.abstract.company", &File::company},
                                     {"project.abstract.category", &File::category},
                                     {"project.abstract.keywords", &File::keywords},
                                     {"project.abstract.comments", &File::comments}};
constexpr Field kConfigureFields[] = {
    {"project.configure.template", &File::templateName, "default"},
    {"project.configure.photo", &File::photo, "photo.gif"},
    {"project.configure.photo", &File::photoSize, "160x120", Kind::FirstAttribute, "size"},
    {"project.configure.sound", &File::sound},
    {"project.configure.sound", &File::soundOption, "3", Kind::FirstAttribute, "option"},
    {"project.configure.showcursor", &File::showcursor, "1", Kind::ShowCursor},
    {"project.configure.realcursor", &File::realcursor, "0"}};
constexpr Field kAudioFields[] = {
    {"project.configure.profile.audio.bitrate", &File::audioBitrate, "32", Kind::Trimmed}};
constexpr Field kVideoFields[] = {{"project.configure.profile.video.bitrate", &File::videoBitrate, "96", Kind::Trimmed},
                                  {"project.configure.profile.video.size", &File::videoSize, "", Kind::Trimmed},
                                  {"project.configure.profile.video.preview", &File::preview, "0"}};
constexpr Field kScreenFields[] = {{"project.configure.profile.screen.size", &File::screenSize, "", Kind::Trimmed}};

constexpr Section kAbstract{"abstract", "abstract", kAbstractFields};
constexpr Section kConfigure{"configure", "configure", kConfigureFields};
constexpr Section kAudio{"Configure.profile.audio", "configure.profile.audio", kAudioFields};
constexpr Section kVideo{"Configure.profile.video", "configure.profile.video", kVideoFields};
constexpr Section kScreen{"Configure.profile.screen", "configure.profile.screen", kScreenFields};

constexpr char kLoadTitle[] = "Load project.qvp";

/// @throws std::runtime_error when there is no such element or attribute
template <class Part>
Part Needed(Part part) {
    if (!part) throw std::runtime_error("the document lacks a part");
    return part;
}

bool IsOneOf(const std::string& text, std::initializer_list<const char*> values) {
    for (const char* value : values) {
        if (text == value) return true;
    }
    return false;
}

/// One reading of a document into its mirror.
class Loading {
public:
    Loading(World& world, File& file, ProjectTree& tree) : world_(world), file_(file), tree_(tree) {}

    /// @returns false when it is no document of version 7 or the user stopped
    bool Run();
    /// Whether something was missing and passed over.
    [[nodiscard]] bool NeedsSaving() const { return needsSaving_; }

private:
    /// The user's answer to something missing: not to go on.
    struct Stopped {};

    /// Runs one step of the reading. A failure is told, and the reading goes on behind the step unless the user stops it.
    /// @returns false when the step failed
    template <class Action>
    bool Step(Action action);
    void AskToSkip();

    bool ReadVersion();
    void ReadSection(const Section& section);
    void ReadField(const Field& field);
    void MakeShowCursor();
    void NormaliseVideo();
    void ReadIndex();
    void ReadRow(pugi::xml_node row, int number);

    World& world_;
    File& file_;
    ProjectTree& tree_;
    bool needsSaving_ = false;
    std::int32_t previousPos_ = -1;
};

template <class Action>
bool Loading::Step(Action action) {
    try {
        action();
        return true;
    } catch (const std::exception&) {
        AskToSkip();
        return false;
    }
}

void Loading::AskToSkip() {
    const std::string error =
        GetResString(world_, "frmCommon", "msgQvpError", "This part of \"project.qvp\" is missing or damaged:");
    const std::string skip =
        GetResString(world_, "frmCommon", "msgQvpErrorSkip",
                     "Click OK to go on and save the project without it, or Cancel to stop loading.");
    const std::string text = error + " " + world_.gStepLabel + "\r\n" + skip;
    if (world_.user.Ask({text, kLoadTitle, Buttons::OkCancel}) != Answer::Ok) throw Stopped();
    needsSaving_ = true;
}

bool Loading::Run() {
    try {
        if (!ReadVersion()) return false;
        ReadSection(kAbstract);
        ReadSection(kConfigure);
        ReadSection(kAudio);
        ReadSection(kVideo);
        NormaliseVideo();
        ReadSection(kScreen);
        ReadIndex();
        return true;
    } catch (const Stopped&) {
        return false;
    }
}

bool Loading::ReadVersion() {
    Step([this] { file_.version = Needed(tree_.Root().first_attribute()).value(); });
    return file_.version.starts_with('7');
}

void Loading::ReadSection(const Section& section) {
    world_.gStepLabel = section.loadLabel;
    for (const Field& field : section.fields) {
        if (field.kind == Kind::ShowCursor && !tree_.Find(field.path))
            MakeShowCursor();
        else
            Step([&] { ReadField(field); });
    }
}

void Loading::ReadField(const Field& field) {
    const pugi::xml_node element = Needed(tree_.Find(field.path));
    std::string& text = file_.*field.member;
    if (field.kind == Kind::FirstAttribute)
        text = Needed(element.first_attribute()).value();
    else
        text = field.kind == Kind::Trimmed ? Trim(ElementText(element)) : ElementText(element);
}

/// A document from before the cursor was shown: its page needs the script that shows it.
void Loading::MakeShowCursor() {
    Step([this] { Needed(tree_.Find("project.configure")).append_child("showcursor"); });
    const path source = world_.host.ProgramFolder() / "encfiles" / "qvc.js";
    const path target = file_.fileName.parent_path() / "qvc.js";
    if (!modFiles::CopyFileOver(world_, source, target)) return;
    try {
        world_.disk.AddOwnerWrite(target);
    } catch (const std::filesystem::filesystem_error&) {
        // The page reads it all the same.
    }
}

void Loading::NormaliseVideo() {
    if (!IsOneOf(file_.videoBitrate, {"96", "192", "320"})) {
        file_.videoBitrate = "96";
        if (file_.videoSize == "320x240") file_.videoBitrate = "320";
        if (file_.videoSize == "240x180") file_.videoBitrate = "192";
    }
    if (!IsOneOf(file_.videoSize, {"", "160x120", "240x180", "320x240"})) {
        file_.videoSize = "160x120";
        file_.videoBitrate = "96";
    }
}

void Loading::ReadIndex() {
    world_.gStepLabel = "index";
    const pugi::xml_node index = tree_.Find("project.index");
    file_.indexType = index.attribute("type").as_string("OL");
    world_.gStepLabel = "index.duration";
    Step([&] { file_.durationText = Needed(index.attribute("duration")).value(); });
    Step([&] { Needed(index); });
    int number = 0;
    for (const pugi::xml_node row : index.children()) {
        if (row.type() == pugi::node_element) ReadRow(row, ++number);
    }
}

void Loading::ReadRow(pugi::xml_node row, int number) {
    CIndexItem item;
    item.pos = "0";
    std::int32_t pos = 0;
    bool isWhole = true;
    const auto step = [&](const char* name, const auto& action) {
        world_.gStepLabel = "index.item(" + std::to_string(number) + ")." + name;
        const bool isDone = Step(action);
        isWhole = isWhole && isDone;
        return isDone;
    };
    const auto text = [&](const char* name) { return ElementText(Needed(ChildElement(row, name))); };

    step("title", [&] { item.title = text("title"); });
    const bool hasPos = step("pos", [&] {
        item.pos = text("pos");
        pos = IntegerPrefix(item.pos);
    });
    if (hasPos && pos > -1 && pos < previousPos_)
        step("pos", [] { throw std::runtime_error("earlier than the row ahead"); });
    if (pos > -1) previousPos_ = pos;
    step("recdate", [&] { item.RecDate = text("recdate"); });
    if (item.pos == "-1") step("url", [&] { item.Url = text("url"); });
    if (isWhole) file_.AddIndex(std::move(item));
}

void SetDefaults(File& file) {
    for (const Section& section : {kAbstract, kConfigure, kAudio, kVideo, kScreen}) {
        for (const Field& field : section.fields) file.*field.member = field.fallback;
    }
    file.version.clear();
    file.indexType = "OL";
    file.durationText.clear();
    file.items.clear();
}

void WriteSection(World& world, const Section& section, const File& file, ProjectTree& tree) {
    world.gStepLabel = section.saveLabel;
    for (const Field& field : section.fields) {
        pugi::xml_node element = MakeElement(tree.Root(), field.path);
        const std::string& text = file.*field.member;
        if (field.kind != Kind::FirstAttribute) {
            SetElementText(element, text);
            continue;
        }
        pugi::xml_attribute attribute = element.first_attribute();
        if (!attribute) attribute = element.append_attribute(field.attribute);
        SetAttribute(attribute, text);
    }
}

void AppendElement(pugi::xml_node parent, const char* name, std::string_view text) {
    SetElementText(parent.append_child(name), text);
}

void AppendRow(pugi::xml_node index, const CIndexItem& item) {
    pugi::xml_node row = index.append_child("item");
    AppendElement(row, "title", StripTabs(item.title));
    AppendElement(row, "recdate", item.RecDate);
    AppendElement(row, "pos", item.pos);
    if (!item.Url.empty()) AppendElement(row, "url", item.Url);
    if (!item.size.empty()) AppendElement(row, "size", item.size);
}

/// @throws std::filesystem::filesystem_error when the text cannot be written beside the file
bool ReplaceDocument(World& world, const path& file, const std::string& text) {
    constexpr std::int64_t kLeastBytes = 500;
    path fresh = file;
    fresh += ".tmp";
    try {
        world.disk.Write(fresh, text);
    } catch (const std::exception&) {
        modFiles::DeleteFileIfAny(world, fresh);  // the half that was written
        throw;
    }
    if (modFiles::GetFileSizeBytes(fresh) < kLeastBytes) {
        modFiles::DeleteFileIfAny(world, fresh);
        ShowFailure(world, "Save 'project.qvp' error!");
        return false;
    }
    try {
        const auto allowed = std::filesystem::status(file).permissions();
        const bool isWritable = (allowed & std::filesystem::perms::owner_write) != std::filesystem::perms::none;
        if (FileExists(file) && !isWritable) world.disk.AddOwnerWrite(file);
        world.disk.Rename(fresh, file);
    } catch (const std::exception&) {
        ShowFailure(world, "Save 'project.qvp' error! The updated project is saved as 'project.qvp.tmp'");
        return false;
    }
    return true;
}

}  // namespace

CProjectFile::CProjectFile(World& world) : world_(world) {}
CProjectFile::~CProjectFile() = default;

Ms CProjectFile::duration() const { return CTime::GetSecond(durationText); }
void CProjectFile::duration(Ms ms) { durationText = CTime::GetString(ms, "ms"); }

bool CProjectFile::Load(const path& file) {
    limitIndexToDuration = true;
    if (!FileExists(file)) return false;
    fileName = file;
    tree_.reset();
    world_.gStepLabel = "set default value";
    SetDefaults(*this);
    try {
        tree_ = std::make_unique<ProjectTree>(ReadFile(file));
    } catch (const std::exception& error) {
        const std::string text =
            GetResString(world_, "frmCommon", "msgQvpNotReadable", "The project document cannot be read.");
        ShowFailure(world_, text + "\r\n" + file.string() + "\r\n" + ErrorText(error), kLoadTitle);
        return false;
    }
    Loading loading(world_, *this, *tree_);
    if (!loading.Run()) return false;
    if (loading.NeedsSaving()) Save({});
    return true;
}

bool CProjectFile::Save(const path& file) { return Write(file, Form::Whole); }
bool CProjectFile::SaveToXml(const path& file) { return Write(file, Form::WithoutProject); }

bool CProjectFile::Write(const path& file, Form form) {
    try {
        if (!tree_) throw std::runtime_error("No project document is open");
        for (const Section& section : {kAbstract, kConfigure, kAudio, kVideo})
            WriteSection(world_, section, *this, *tree_);
        if (form == Form::Whole) WriteSection(world_, kScreen, *this, *tree_);
        RebuildIndex();
        world_.gStepLabel = "prepare xmlBuf";
        std::string text = tree_->Text();
        if (form == Form::WithoutProject) text = ReplaceAll(ReplaceAll(text, "<project>", ""), "</project>", "");
        world_.gStepLabel = "LoadXML xmlBuf";
        auto written = std::make_unique<ProjectTree>(text);
        if (form == Form::Whole) tree_ = std::move(written);
        world_.gStepLabel = "Save FileName";
        return ReplaceDocument(world_, file.empty() ? fileName : file, text);
    } catch (const std::exception& error) {
        ReportStepError(world_, ErrorText(error), "qvp.Save");
        return false;
    }
}

void CProjectFile::RebuildIndex() {
    world_.gStepLabel = "RemoveIndexNode";
    pugi::xml_node project = MakeElement(tree_->Root(), "project");
    world_.gStepLabel = "RemoveChild";
    if (const pugi::xml_node old = ChildElement(project, "index")) RemoveNode(old);
    world_.gStepLabel = "CreateElement index";
    pugi::xml_node index = project.append_child("index");
    SetAttribute(index.append_attribute("duration"), durationText);
    SetAttribute(index.append_attribute("type"), indexType);
    const Ms limit = duration();
    std::vector<CIndexItem> kept;
    int number = 0;
    for (const CIndexItem& item : items) {
        world_.gStepLabel = "index.item(" + std::to_string(++number) + ")";
        if (limitIndexToDuration && IntegerPrefix(item.pos) >= limit) continue;
        AppendRow(index, item);
        kept.push_back(item);
    }
    items = std::move(kept);
}

void CProjectFile::AddIndex(CIndexItem item, int before) {
    const bool isPlace = before >= 1 && before <= static_cast<int>(items.size());
    items.insert(isPlace ? items.begin() + (before - 1) : items.end(), std::move(item));
}

void CProjectFile::RemoveIndex(int index) {
    if (index == kAllRows) {
        items.clear();
        return;
    }
    if (index < 1 || index > static_cast<int>(items.size()))
        throw std::out_of_range("the index has no row " + std::to_string(index));
    items.erase(items.begin() + (index - 1));
}

void CProjectFile::SetTitle(int index, const std::string& newTitle) {
    items.at(static_cast<std::size_t>(index) - 1).title = newTitle;
}

void CProjectFile::SetLastItem(const CIndexItem& item) {
    CIndexItem& last = items.at(items.size() - 1);
    last.title = item.title;
    last.pos = item.pos;
    last.RecDate = item.RecDate;
    if (!item.Url.empty()) last.Url = item.Url;
}

}  // namespace mirrane
