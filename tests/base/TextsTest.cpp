// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Texts.h"

#include <gtest/gtest.h>

#include "base/Disk.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

Texts TextsOf(const std::string& xml) {
    const std::filesystem::path file = support::TestFolder() / "res.xml";
    Disk().Write(file, xml);
    return Texts(file);
}

TEST(Texts, Lookup) {
    const std::string xml = R"(<?xml version="1.0" encoding="UTF-8"?><!-- words --><anything><form name="frmOne">
        <text name="two lines">Line one\nLine two of %p&amp;Co</text><other name="empty"/>
        <text name="twice">first</text><text name="twice">second</text><text>no key</text>
        <text name="pieces">a<!-- c --><![CDATA[<b>]]>c</text></form>
        <form name="frmOne"><text name="only in the second">x</text></form>
        <form name="frmone"><text name="k">another case</text></form></anything>)";
    const char* cases[][3] = {{"frmOne", "two lines", "Line one\r\nLine two of Mirrane&Co"},
                              {"frmOne", "empty", ""},
                              {"frmOne", "twice", "first"},
                              {"frmOne", "pieces", "a<b>c"},
                              {"frmOne", "only in the second", "Mirrane's\\ndefault"},
                              {"frmOne", "Twice", "Mirrane's\\ndefault"},
                              {"frmone", "k", "another case"},
                              {"", "", "Mirrane's\\ndefault"}};
    Texts texts = TextsOf(xml);
    for (const auto& [form, key, wanted] : cases)
        EXPECT_EQ(texts.GetResString(form, key, "%p's\\ndefault"), wanted) << form << " " << key;
    EXPECT_EQ(Texts("none.xml").GetResString("frmOne", "k", "Is %p there?"), "Is Mirrane there?");
    EXPECT_EQ(TextsOf(xml.substr(0, xml.size() - 1)).GetResString("frmOne", "twice", "default"), "default")
        << "nothing of a broken file is used";
}

class Form : public IForm {
public:
    [[nodiscard]] std::string Name() const override { return name; }
    void SetCaption(const std::string& caption) override { shown = "[" + caption + "]"; }
    [[nodiscard]] std::vector<ControlFace> Controls() override { return controls; }
    void Add(const std::string& className, const std::string& control, const std::string& caption = {}) {
        const auto show = [=, this](const std::string& button, const std::string& text) {
            shown += " " + control + "." + button + "=" + text;
        };
        controls.push_back({className, control, caption, {"Undo", "Redo"}, show});
    }

    std::string name = "frmMixEditor";
    std::vector<ControlFace> controls;
    std::string shown;
};

TEST(Texts, ApplyLanguage) {
    Texts texts = TextsOf(R"(<r><f name="frmMixEditor"><t name="frmMixEditor">Editor</t><t name="a">Volume</t>
        <t name="mnuCut">Cut</t><t name="mnuLine">never</t><t name="ToolbarUndo">Take back</t><t name="tb">never</t>
        <t name="Undo">never</t><t name="pic">never</t></f></r>)");
    Form form;
    std::string wanted = "[Editor]";
    for (const char* className : {"QvLabel", "Label", "UniLabel", "OptionButton", "UniOption", "CheckBox", "UniCheck",
                                  "Frame", "UniFrame", "CommandButton", "UniButton"}) {
        form.Add(className, "a");
        wanted += " a.=Volume";
    }
    form.Add("Label", "unknown", "designed");
    form.Add("Menu", "mnuCut", "x");
    form.Add("Menu", "mnuLine", "-");
    form.Add("Toolbar", "tb");
    form.Add("PictureBox", "pic");
    ApplyLanguage(form, texts);
    EXPECT_EQ(form.shown, wanted + " unknown.= mnuCut.=Cut tb.Undo=Take back tb.Redo=");
}

TEST(Texts, FormsByName) {
    Form form;
    LoadedForms forms;
    forms.Add(form);
    EXPECT_EQ(forms.FindForm("FRMmixeditor"), &form);
    EXPECT_FALSE(forms.IsFormLoaded("frmMix"));
    forms.Remove(form);
    EXPECT_FALSE(forms.IsFormLoaded("frmMixEditor"));
}

}  // namespace
}  // namespace mirrane
