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
    const std::string xml = R"(<anything><form name="frmOne"><text name="two lines">One\nTwo of %p&amp;Co</text>
        <other name="empty"/><text name="twice">first</text><text name="twice">second</text></form>
        <form name="frmOne"><text name="only in the second">x</text></form>
        <form name="frmone"><text name="k">another case</text></form></anything>)";
    const char* cases[][3] = {{"frmOne", "two lines", "One\r\nTwo of Mirrane&Co"},
                              {"frmOne", "empty", ""},
                              {"frmOne", "twice", "first"},
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

struct Form final : IForm {
    [[nodiscard]] std::string Name() const override { return "frmMixEditor"; }
    void SetCaption(const std::string& caption) override { shown = "[" + caption + "]"; }
    [[nodiscard]] std::vector<ControlFace> Controls() override {
        const auto show = [this](const std::string& button, const std::string& text) {
            shown += " " + button + "=" + text;
        };
        return {{"QvLabel", "a", "", {}, show},
                {"Label", "unknown", "designed", {}, show},
                {"Menu", "mnuCut", "x", {}, show},
                {"Menu", "mnuLine", "-", {}, show},
                {"Toolbar", "tb", "", {"Undo", "Redo"}, show},
                {"PictureBox", "pic", "", {}, show}};
    }

    std::string shown;
};

TEST(Texts, ApplyLanguage) {
    Texts texts = TextsOf(R"(<r><f name="frmMixEditor"><t name="frmMixEditor">Editor</t><t name="a">Volume</t>
        <t name="mnuCut">Cut</t><t name="mnuLine">never</t><t name="ToolbarUndo">Take back</t><t name="tb">never</t>
        <t name="Undo">never</t><t name="pic">never</t></f></r>)");
    Form form;
    ApplyLanguage(form, texts);
    EXPECT_EQ(form.shown, "[Editor] =Volume = =Cut Undo=Take back Redo=");
}

}  // namespace
}  // namespace mirrane
