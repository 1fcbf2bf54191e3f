// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "base/Text.h"
#include "editing/UserScript.h"

namespace mirrane {

/// Claim; before; command; after: the tracks, the volumes that are not 100, what the transport was told, the boxes. A
/// pixel is 128 ms. One undo leaves the tracks as they were.
TEST(Commands, DoTheirWorkInOneStep) {
    std::istringstream lines(R"(
Both tracks are split;      push:9984,20000 track:1,1 line:24040;        split;    1#6:0-24000<0 1#8:24000-64000<24000 | 1#3:9984-24000<0 1#5:24000-29984<14016 |
A shared pixel is the left; line:20032 split line:19968;                 split;    1#6:0-20032<0 1#8:20032-64000<20032 |  | |Split line is out of range!
All but one go;             push:0,640 line:20032 split track:1,1 mark:6 mark:1; remove; 1#8:20032-64000<20032 |  | Seek:20032
The only one stays;         push:0,640 track:1,1 mark:2 mark:1;          remove;   1#2:0-64000<0 | 1#1:0-640<0 | qvMixEditor|A slide must keep at least one segment on Track 1, so nothing was removed. Please leave one segment unselected. To silence it, set its volume to 0.
Video pins Track 1;         video;                                       remove;   1#2:0-64000<0 |  | qvMixEditor|Cannot remove segments in Track 1 because there are video records!
The soft one stays;         line:20032 split mark:6 vol:-90 mark:8 play; down;     1#6:0-20032<0 1#8:20032-64000<20032 |  | 6*10 8*75 Pause Seek:20032
One volume is set;          type:12000;                                  setvol;   1#2:0-64000<0 |  | 2*12000 Seek:0
Nothing during a drag;      push:0,640 track:1,1 mark:1 press:2,0;       remove split up undo set:1,0 grab:2 let:2; 1#2:0-64000<0 | 1#1:0-640<0 |
It fits exactly;           push:9984,5000 push:19968,64;                 push:14984,4984; 1#2:0-64000<0 | 1#1:9984-14984<0 1#5:14984-19968<0 1#3:19968-20032<0 |
Pushes up to a gap;        push:640,640 push:1280,640 push:2560,640;     line:63 put:1000; 1#2:0-64000<0 | 1#7:0-1000<0 1#1:1000-1640<0 1#3:1640-2280<0 1#5:2560-3200<0 |
Goes behind;               push:640,640 push:1280,640 push:64000,640;    push:704,63000;  1#2:0-64000<0 | 1#1:640-1280<0 1#7:1280-64280<0 1#3:64280-64920<0 1#5:64920-65560<0 |
Begins in its slide;       push:63936,100 slide:2;                       put:9;           1#2:0-64000<0 2#4:64036-128036<64000 | 1#1:63936-64036<0 2#3:64036-64045<0 |
Keeps what begins behind;  push:15040,640;                               over:4992,10050; 1#2:0-64000<0 | 1#3:4992-15042<0 1#1:15040-15680<0 |
Cuts both of an overlap;   push:9984,20000 over:4992,10050;              over:15040,5000; 1#2:0-64000<0 | 1#9:4992-15040<0 1#17:15040-20040<0 1#15:20032-29984<10048 |
Exactly at the left;    push:1000,640 push:9984,640;   press:3,0 move:3,-999 release:3,-999;         1#2:0-64000<0 | 1#1:1000-1640<0 1#3:1640-2280<0 | Seek:0
Exactly at the right;   push:1000,640 push:9984,640;   press:1,0 move:1,999 release:1,999;           1#2:0-64000<0 | 1#1:9344-9984<0 1#3:9984-10624<0 | Seek:0
There and back;         push:1000,640;                 press:1,0 move:1,9 move:1,0 release:1,0;      1#2:0-64000<0 | 1#1:1000-1640<0 |
Longer than the canvas; push:0,3000000;                press:1,0 move:1,10 release:1,10;             1#2:0-64000<0 | 1#1:0-3000000<0 |
Pinned by video;        slide:2 slide:1 video;         press:2,0 move:2,1 release:2,1;               1#2:0-64000<0 2#4:64000-128000<64000 |  | qvMixEditor|Cannot move segments in Track 1 because there are video records!
A press selects alone;  push:0,640 push:640,640 mark:2; press:1,0 release:1,0 vol:25;                1#2:0-64000<0 | 1#1:0-640<0 1#3:640-1280<0 | 1*125 Seek:0
The keys move the line; line:1280;                     key:1 key:3 key:0 key:2 key:5 key:5 key:4 key:0; 1#2:0-64000<0 |  | Seek:1408 Seek:8192 Seek:8064 Seek:1280 Seek:63936 Seek:0
Not during a drag;      push:0,640 press:1,0;          key:5 release:1,0;                            1#2:0-64000<0 | 1#1:0-640<0 |
The ruler seeks;        push:63936,100 line:1280;      grab:10 let:10 grab:10 let:20 grab:0 let:999; 1#2:0-64000<0 | 1#1:63936-64036<0 | Seek:2560 Seek:63936
Typed times go up;      slide:2 play;                  set:10,0 set:59,99 set:75,0 set:-1,0;         1#2:0-64000<0 2#4:64000-128000<64000 |  | Pause Seek:74048)");
    for (std::string claim, before, command, after; std::getline(lines >> std::ws, claim, ';');) {
        for (std::string* cell : {&before, &command}) std::getline(lines, *cell, ';');
        std::getline(lines >> std::ws, after);
        UserScript user("0-64000 64000-128000");
        user.Do(before);
        user.transport.told.clear();
        const std::string text = user.Text() + user.Boxes();
        user.Do(command);
        std::string told = ReplaceAll(user.Text() + user.transport.told + user.Boxes(), "\r\n", " ");
        told.erase(told.find_last_not_of(" \n") + 1);
        EXPECT_EQ(told, after) << claim;
        if (user.Text() != text) user.Do("undo");
        EXPECT_EQ(user.Text() + user.Boxes(), text) << claim;
    }
}

TEST(Commands, AStepOfTheHistoryIsNotEnteredTwice) {
    UserScript user("0-64000 64000-128000");
    user.Do("line:20000 split slide:2 line:80000 split slide:1");
    user.transport.holdsSeeks = true;
    user.user.onEvents = [&user] {  // impatient
        user.transport.FinishSeek();
        user.Do("undo remove vol:-25");
    };
    user.Do("undo undo");
    EXPECT_EQ(user.Text(), "1#6:0-19968<0 1#8:19968-64000<19968 2#4:64000-128000<64000 |  | ");
}

}  // namespace mirrane
