// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <deque>
#include <optional>

#include "base/Text.h"
#include "doubles/Editing.h"
#include "doubles/Player.h"
#include "doubles/QvLib.h"
#include "playback/PageFiles.h"
#include "playback/SlideListView.h"
#include "playback/SlideView.h"
#include "playback/Transport.h"
#include "support/Basics.h"

namespace mirrane {

using std::filesystem::path;

/// What is done, and what is seen then: see Playing::Do.
using Deed = std::pair<const char*, const char*>;

/// A lecture in its panes, with slide 1 shown.
struct Playing : doubles::Editing {
    explicit Playing(const std::string& slides = "0-64000 64000-128000 - 128000-180000") : Editing(slides) {
        state.gTempWorkFolder = support::TestFolder();
        form.face.navigate = [this](const std::string& file) { browsed += "<" + file + ">"; };
        ctx.transport = &transport;
        ctx.slideView = &view;
        player.post = [this](std::function<void()> event) { events.push_back(std::move(event)); };
        Do("load1");
    }

    /// Does deeds one after the other, without any event between them.
    /// @returns what the player is told until all events have run, play lists left out; then the slide and the label
    std::string Do(const std::string& deeds) {
        for (const std::string& deed : Split(deeds, ' ')) Do(deed, IntegerPrefix(deed.substr(4)));
        for (; !events.empty(); events.pop_front()) std::exchange(events.front(), nullptr)();
        EXPECT_EQ(user.busyDepth, 0) << deeds;
        EXPECT_EQ(form.TmrFrame, transport.IsPlaying()) << deeds;
        return ReplaceAll(std::exchange(player.told, {}), "List ", "") + std::to_string(ctx.curSlide()) + " " +
               form.lPlayInfo;
    }
    void Do(const std::string& deed, Ms number) {
        if (deed.starts_with("play")) transport.cmdPlay_Click();
        if (deed.starts_with("stop")) transport.cmdStop_Click();
        if (deed.starts_with("next")) transport.cmdNext_Click();
        if (deed.starts_with("load")) view.LoadSlide(number, WhileBusy::Refuse);
        if (deed.starts_with("list")) modSlideListView::ChooseRow(ctx, number);
        if (deed.starts_with("seek")) transport.SeekInSlide(number);
        if (deed.starts_with("goto")) transport.qvSeekTo(number);
        if (deed.starts_with("half")) transport.ProgCtrl_MouseUp(0.5F);
        if (!deed.starts_with("tick")) return;
        player.position = number;
        transport.TmrFrame_Timer();
    }
    void Expect(std::initializer_list<Deed> deeds) {
        for (const auto& [deed, seen] : deeds) EXPECT_EQ(Do(deed), seen) << deed;
    }
    doubles::Player player;
    std::deque<std::function<void()>> events;
    std::string browsed;
    Transport transport{ctx, player};
    doubles::QvLib lib;
    SlideView view{ctx, transport, lib};
};

TEST(Transport, SeeksLandOnTheGridInsideTheSlide) {
    Playing().Expect({{"seek64000", "Seek:63936 1 0:01:03.9 / 0:01:04.0"},
                      {"seek-100", "Seek:0 1 0:00:00.0 / 0:01:04.0"},
                      {"load4 seek0", "Seek:128000 4 0:00:00.0 / 0:00:52.0"},
                      {"seek2147483647", "Seek:179968 4 0:00:51.9 / 0:00:52.0"}});
    Playing("0-5000 5000-12345")
        .Expect({{"load2", "Seek:5000 2 0:00:00.0 / 0:00:07.3"}, {"seek0", "Seek:5000 2 0:00:00.0 / 0:00:07.3"}});
}

TEST(Transport, FollowsWhatPlaysAndStopsAheadOfTheEnd) {
    Playing playing;
    playing.Expect({{"play tick63800", "Play 1 0:01:03.8 / 0:01:04.0"}});
    EXPECT_FALSE(playing.form.IsEnabled(Control::cmdNext) || playing.form.IsEnabled(Control::cmdVolUp));
    playing.Expect({{"tick63801", "Pause 1 0:01:04.0 / 0:01:04.0"}});
    playing.Expect({{"load4", "Seek:128000 4 0:00:00.0 / 0:00:52.0"}, {"play", "Play 4 0:00:00.0 / 0:00:52.0"}});
    std::optional<FormHold> dialog(playing.form);
    playing.Expect({{"tick179800", "4 0:00:00.0 / 0:00:52.0"}});
    dialog.reset();
    playing.Expect({{"tick179800", "Pause 4 0:00:52.0 / 0:00:52.0"},
                    {"stop", "Stop Seek:128000 4 0:00:00.0 / 0:00:52.0"},
                    {"stop", "4 0:00:00.0 / 0:00:52.0"}});
}

TEST(Transport, GoesOnIntoTheNextSlideWhenAskedAndNotRecording) {
    Playing playing;
    playing.form.chkAuto = playing.form.mIsRecording = true;
    playing.Expect({{"play tick63900", "Play Pause 1 0:00:00.0 / 0:01:04.0"}});
    playing.form.mIsRecording = false;
    playing.Expect({{"play tick63900", "Play Pause Seek:64000 Play 2 0:00:00.0 / 0:01:04.0"},
                    {"tick127900", "Pause 3  --:--:-- / --:--:--"},  // a page: nothing plays on, also not later
                    {"next", "Seek:128000 4 0:00:00.0 / 0:00:52.0"}});
}

TEST(Transport, OneSeekAtATimeThatPlaysOn) {
    Playing playing;
    playing.Expect(
        {{"play seek1000 seek2000 load2 list4 play stop", "Play Pause Seek:960 Play 1 0:00:00.9 / 0:01:04.0"},
         {"play goto70000", "Pause Seek:70000 2 0:00:06.0 / 0:01:04.0"},
         {"half", "Seek:96000 2 0:00:32.0 / 0:01:04.0"}});
}

TEST(Transport, ASeekThatNeverEndsIsGivenUpAndOneThatCannotBeginClosesTheEditor) {
    Playing playing;
    playing.transport.SeekInSlide(1000);
    const auto late = std::exchange(playing.events, {}).front();
    for (const std::uint32_t ticks : {4999U, 5000U}) {
        EXPECT_TRUE(playing.state.gIsSeeking);
        playing.lecture.world.clock.ticks = ticks;
        playing.transport.TmrFrame_Timer();
    }
    playing.transport.SeekInSlide(2000);
    late();  // not the end of this one
    EXPECT_TRUE(playing.state.gIsSeeking);
    playing.Do("play");
    Put(playing.state, 0, "1#90:49000-49984<0");  // under another one: there is no play list
    playing.Expect({{"play seek0", "Play Pause 1 0:00:01.9 / 0:01:04.0"}});
    EXPECT_EQ(playing.life.told, "Exit ");
}

TEST(SlideView, AWebPageHasNoTime) {
    Playing playing;
    playing.Expect({{"list3", "3  --:--:-- / --:--:--"}, {"half seek0 play", "3  --:--:-- / --:--:--"}});
    playing.view.ie_DocumentComplete();
    EXPECT_FALSE(playing.form.isPlayerVisible || playing.form.IsEnabled(Control::imgTrackPanel));
    playing.Expect({{"load99", "Seek:128000 4 0:00:00.0 / 0:00:52.0"}, {"load0", "Seek:0 1 0:00:00.0 / 0:01:04.0"}});
    EXPECT_EQ(playing.browsed, "</p/a.html><>");
    const BusyHold job(playing.state);
    playing.Expect({{"load2", "1 0:00:00.0 / 0:01:04.0"}});
}

TEST(PageFiles, OpenWhatLiesInsideOnceAllLinksAreFollowed) {
    const path base = support::TestFolder();
    for (const char* folder : {"project/html", "program/help", "projects"}) create_directories(base / folder);
    for (const char* file : {"out", "project/html/a:b..htm", "program/res.xml", "program/qvblank.html",
                             "program/help/index.html", "projects/a"})
        Disk().Write(base / file, file);
    create_symlink("html/a:b..htm", base / "project/near");
    create_symlink(base / "out", base / "project/far");
    create_symlink(base / "projects", base / "project/beside");
    create_directory_symlink(base / "project", base / "linked");
    support::Output("mkfifo " + support::Quoted(base / "project/pipe"));
    const PageFiles files(base / "linked", base / "program");
    const auto opens = [&](const path& file) {
        const auto place = files.PlaceOf(base / file);
        return place && files.Open(*place);
    };
    for (const char* file : {"linked/html/a:b..htm", "linked/near", "program/qvblank.html"})
        EXPECT_TRUE(opens(file)) << file;
    for (const char* file : {"linked/far", "linked/beside/a", "linked/pipe", "linked/html", "linked/none", "projects/a",
                             "program/res.xml", "program/help/index.html", "out", "linked/../out", "/etc/passwd"})
        EXPECT_FALSE(opens(file)) << file;
    EXPECT_FALSE(files.Open({PagePlace::Root::Project, "../out"}) ||
                 files.Open({PagePlace::Root::Project, "/etc/passwd"}));
    for (const char* outside : {"/etc/passwd", "http://a/b", "html/../../a"}) EXPECT_FALSE(IsInProject(outside));
    EXPECT_TRUE(IsInProject("html1/a:b..htm"));
}

/// A page of slide 3 in a real folder, and a browser that notes what it was asked to grab.
struct WebThumbnail : testing::Test, Playing {
    WebThumbnail() {
        state.gProjectFolder = support::TestFolder();
        create_directory(state.gProjectFolder / "html");
        state.gGrid.Clear();
        for (const char* url : {"", "html/a.html", "other/b.html"})
            state.gGrid.Append("t", url[0] == 0 ? "0" : "-1", "", url);
        BuildSlideList(state.gSlideList, state.gGrid);
        form.face.pageRect = [] { return PageRect{0, 0, 800, 600}; };
        form.face.grabPage = [this](const PageRect& part, const path& bmp) {
            told += std::to_string(part.left) + "," + std::to_string(part.top) + " " + std::to_string(part.width) +
                    "x" + std::to_string(part.height) + " ";
            Disk().Write(bmp, "page");
            Disk().Write(path(bmp).replace_extension(".jpg"), "small page");  // as the engine will
            return true;
        };
        form.face.showThumbnail = [this](const ThumbnailChoice& choice) {
            told += ReadFile(choice.present) + "/" + ReadFile(choice.fresh) + " ";
            return isWanted;
        };
        form.face.thumbnailsChanged = [this] { told += "changed "; };
    }
    /// Shows a slide, whose page comes, and waits. @returns what was grabbed
    std::string Visit(std::int32_t slide, std::uint32_t wait = 1000) {
        view.LoadSlide(slide, WhileBusy::Refuse);
        view.ie_DocumentComplete();
        lecture.world.clock.ticks += wait;
        view.tmrThumbnail_Timer();
        return std::exchange(told, {});
    }
    path Thumb(const char* name) const { return state.gProjectFolder / "thumbnails" / name; }

    std::string told;
    bool isWanted = true;
};

TEST_F(WebThumbnail, IsMadeOnceASecondAfterThePageOfTheRowHasCome) {
    EXPECT_EQ(Visit(2, 999), "");
    EXPECT_EQ(Visit(3), "2,2 796x596 changed ");
    EXPECT_TRUE(!FileExists(Thumb("html.jpg")) && ReadFile(Thumb("other.jpg")) == "small page");
    EXPECT_EQ(Visit(3), "");
    EXPECT_EQ(Visit(2), "2,2 796x596 changed ");
    EXPECT_FALSE(FileExists(Thumb("temp.jpg")) || FileExists(Thumb("temp.bmp")));
    remove(Thumb("html.jpg"));
    view.LoadSlide(2, WhileBusy::Refuse);
    view.ie_DocumentComplete();
    view.ie_NavigateError();
    EXPECT_FALSE(view.canCapture());
    lecture.world.clock.ticks += 1000;
    view.tmrThumbnail_Timer();
    lecture.world.disk.failAt = 1;
    lecture.world.disk.failsFromThenOn = true;
    EXPECT_EQ(Visit(2), "2,2 796x596 ");
    EXPECT_FALSE(FileExists(Thumb("html.jpg")));
    EXPECT_EQ(user.Told(), "");
}

TEST_F(WebThumbnail, IsReplacedOnlyByOneThatTheUserWants) {
    (void)Visit(2);
    Disk().Write(Thumb("html.jpg"), "old");
    isWanted = false;
    for (const char* left : {"old", "small page"}) {
        view.CaptureWebThumbnail(Force::Yes);
        EXPECT_EQ(ReadFile(Thumb("html.jpg")), left);
        EXPECT_FALSE(FileExists(Thumb("temp.jpg")));
        isWanted = true;
    }
    EXPECT_EQ(told, "2,2 796x596 old/small page 2,2 796x596 old/small page changed ");
    view.LoadSlide(1, WhileBusy::Refuse);
    view.CaptureWebThumbnail(Force::Yes);
    EXPECT_EQ(std::exchange(told, {}), "2,2 796x596 old/small page 2,2 796x596 old/small page changed ");
}

TEST_F(WebThumbnail, ShowsALessonAtItsOwnSize) {
    struct Case {
        const char* facts;
        const char* part;
    };
    const path folder = state.gProjectFolder / "html";
    Disk().Write(folder / "player.swf", "");
    for (const auto& [facts, part] : {Case{"<v><width>320</width><height>240</height></v>", "242,152 316x236 changed "},
                                      {"<width>320<height>0</height>", "2,2 796x596 changed "},
                                      {"<width>99999</width><height>240</height>", "2,2 796x596 changed "},
                                      {"<width>900</width><height>700", "2,2 796x596 changed "},
                                      {"<width>900</width><height>700<", "0,0 800x600 changed "}}) {
        Disk().Write(folder / "video.xml", facts);
        EXPECT_EQ(Visit(2), part) << facts;
        remove(Thumb("html.jpg"));
    }
}

TEST(SlideListView, NavigatesWithoutEverLosingItsSelection) {
    Playing playing;
    playing.Expect(
        {{"play list2 list4", "Play Pause Seek:64000 2 0:00:00.0 / 0:01:04.0"}, {"list2", "2 0:00:00.0 / 0:01:04.0"}});
    playing.state.ListView.Mark(2, false);
    modSlideListView::ListView_SelectionChange(playing.ctx);
    EXPECT_TRUE(playing.state.ListView.IsMarked(2));
    modSlideListView::ListView_SelectAll(playing.ctx);
    modSlideListView::ListView_SelectionChange(playing.ctx);
    EXPECT_TRUE(playing.state.ListView.IsMarked(1) && playing.state.ListView.IsMarked(4) &&
                playing.ctx.curSlide() == 2);
}

}  // namespace mirrane
