// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Texts.h"

#include <algorithm>
#include <array>
#include <pugixml.hpp>

#include "base/Text.h"

namespace mirrane {

namespace {

std::string WithProductName(std::string text) { return ReplaceAll(std::move(text), "%p", "Mirrane"); }

/// Whatever stands in the element between its tags, further elements left out.
std::string Content(const pugi::xml_node& element) {
    std::string content;
    for (const pugi::xml_node& piece : element)
        if (piece.type() == pugi::node_pcdata || piece.type() == pugi::node_cdata) content += piece.value();
    return content;
}

std::map<std::string, std::string> ReadForm(const pugi::xml_node& form) {
    std::map<std::string, std::string> texts;
    for (const pugi::xml_node& text : form)
        if (const auto key = text.attribute("name"))
            texts.try_emplace(key.value(), WithProductName(ReplaceAll(Content(text), "\\n", "\r\n")));
    return texts;
}

bool HasCaption(const ControlFace& control) {
    constexpr std::array kCaptioned = {"QvLabel",  "Label", "UniLabel", "OptionButton",  "UniOption", "CheckBox",
                                       "UniCheck", "Frame", "UniFrame", "CommandButton", "UniButton"};
    if (control.className == "Menu") return control.caption != "-";
    return std::find(kCaptioned.begin(), kCaptioned.end(), control.className) != kCaptioned.end();
}

}  // namespace

std::string Texts::GetResString(const std::string& formName, const std::string& key, const std::string& defaultText) {
    if (!isLoaded_) Load();
    const auto form = forms_.find(formName);
    if (form != forms_.end()) {
        const auto text = form->second.find(key);
        if (text != form->second.end()) return text->second;
    }
    return WithProductName(defaultText);
}

std::string Texts::Language() {
    if (!isLoaded_) Load();
    return language_;
}

void Texts::Load() {
    isLoaded_ = true;
    pugi::xml_document document;
    if (!document.load_file(resFile_.c_str())) return;
    language_ = document.document_element().attribute("xml:lang").value();
    for (const pugi::xml_node& form : document.document_element())
        if (const auto name = form.attribute("name")) forms_.try_emplace(name.value(), ReadForm(form));
}

void ApplyLanguage(IForm& form, Texts& texts) {
    const std::string formName = form.Name();
    form.SetCaption(texts.GetResString(formName, formName));
    for (const ControlFace& control : form.Controls()) {
        if (HasCaption(control)) control.setCaption({}, texts.GetResString(formName, control.name));
        if (control.className != "Toolbar") continue;
        for (const std::string& button : control.buttons)
            control.setCaption(button, texts.GetResString(formName, "Toolbar" + button));
    }
}

IForm* LoadedForms::FindForm(std::string_view name) const {
    const auto isNamed = [wanted = AsciiLower(name)](const IForm* form) { return AsciiLower(form->Name()) == wanted; };
    const auto found = std::find_if(forms_.begin(), forms_.end(), isNamed);
    return found != forms_.end() ? *found : nullptr;
}

}  // namespace mirrane
