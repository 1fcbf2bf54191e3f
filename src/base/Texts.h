// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mirrane {

/// The words of the user interface, from a file res.xml:
///
///     <res xml:lang="en"><form name="frmCommon"><text name="msgVerifyQv">Verifying ...\n</text> ... </form> ... </res>
///
/// In a text, the two characters "\n" stand for a line end, which comes out as CRLF, and "%p" for the product's name.
/// Of two forms, or two texts of a form, with one name the first one counts.
class Texts {
public:
    /// The file is read at the first lookup.
    explicit Texts(std::filesystem::path resFile) : resFile_(std::move(resFile)) {}

    /// @returns the text of that form and key, which may be empty; defaultText when there is none, or no such file, or it
    ///          cannot be read as XML
    [[nodiscard]] std::string GetResString(const std::string& formName, const std::string& key,
                                           const std::string& defaultText = {});
    /// Which language the words are in, "de" or "zh-TW"; empty when the file does not tell.
    [[nodiscard]] std::string Language();

private:
    void Load();

    std::filesystem::path resFile_;
    bool isLoaded_ = false;
    std::string language_;
    std::map<std::string, std::map<std::string, std::string>, std::less<>> forms_;
};

/// A control of a window as the language sees it.
struct ControlFace {
    std::string className;                  ///< "Label", "CommandButton", "Menu", "Toolbar" ...
    std::string name;                       ///< its key among the form's texts
    std::string caption = {};               ///< what stands there now; asked of menus alone, where "-" is a separator
    std::vector<std::string> buttons = {};  ///< of a tool bar: the keys of its buttons, in order
    /// Told the new caption; the button's key is empty unless it is one of a tool bar.
    std::function<void(const std::string& buttonKey, const std::string& caption)> setCaption;
};

/// A window as the language sees it.
class IForm {
public:
    virtual ~IForm() = default;
    [[nodiscard]] virtual std::string Name() const = 0;
    virtual void SetCaption(const std::string& caption) = 0;
    [[nodiscard]] virtual std::vector<ControlFace> Controls() = 0;
};

/// Gives a window and its controls the words of the file. A control without a text there loses its caption: the file is
/// complete for every window that calls this.
void ApplyLanguage(IForm& form, Texts& texts);

/// The windows that are open, found by name without regard to case.
class LoadedForms {
public:
    void Add(IForm& form) { forms_.push_back(&form); }
    void Remove(const IForm& form) { std::erase(forms_, &form); }
    /// nullptr: not loaded.
    [[nodiscard]] IForm* FindForm(std::string_view name) const;
    [[nodiscard]] bool IsFormLoaded(std::string_view name) const { return FindForm(name) != nullptr; }

private:
    std::vector<IForm*> forms_;
};

}  // namespace mirrane
