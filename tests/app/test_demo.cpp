// The demo file: what a recording writes reads back to the same passes, bit for bit, and a
// damaged file fails with the line it broke on.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "app/demo.h"

namespace {

Sdl12Event KeyDown(int32_t sym) {
    Sdl12Event e;
    memset(&e, 0, sizeof e);
    e.key.type = SDL12_KEYDOWN;
    e.key.keysym.sym = sym;
    return e;
}

DemoFile TwoPasses() {
    DemoFile demo;
    demo.seed = 4000000000u;
    demo.screen_width = 320;
    demo.screen_height = 240;
    DemoPass first;
    first.time = 0.1f;  // not exact in binary: the text must keep every bit
    first.dt = 0.1f;
    DemoPass second;
    second.time = 0.1333333f;
    second.dt = second.time - first.time;
    second.input = {KeyDown(113), KeyDown(293)};
    second.input[1].bytes[19] = 0xff;
    demo.passes = {first, second};
    demo.marks = {{1, "door_open"}};
    return demo;
}

std::string Text() { return DemoToText(TwoPasses()); }

std::string Error(const std::string& text) {
    DemoFile demo;
    std::string error;
    EXPECT_FALSE(DemoFromText(text, &demo, &error)) << text;
    EXPECT_TRUE(demo.passes.empty());
    return error;
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

}  // namespace

TEST(Demo, TextReadsBackBitForBit) {
    const DemoFile demo = TwoPasses();
    DemoFile back;
    std::string error;
    ASSERT_TRUE(DemoFromText(DemoToText(demo), &back, &error)) << error;
    EXPECT_EQ(back.seed, 4000000000u);
    EXPECT_EQ(back.screen_width, 320);
    EXPECT_EQ(back.screen_height, 240);
    ASSERT_EQ(back.passes.size(), 2u);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(memcmp(&back.passes[i].time, &demo.passes[i].time, 4), 0);
        EXPECT_EQ(memcmp(&back.passes[i].dt, &demo.passes[i].dt, 4), 0);
        ASSERT_EQ(back.passes[i].input.size(), demo.passes[i].input.size());
        for (size_t k = 0; k < demo.passes[i].input.size(); ++k)
            EXPECT_EQ(memcmp(back.passes[i].input[k].bytes, demo.passes[i].input[k].bytes, 20), 0);
    }
    ASSERT_EQ(back.marks.size(), 1u);
    EXPECT_EQ(back.marks[0].pass, 1u);
    EXPECT_EQ(back.marks[0].name, "door_open");
    // Written again, the same text.
    EXPECT_EQ(DemoToText(back), DemoToText(demo));
}

TEST(Demo, TheTextIsOneLinePerPass) {
    const std::string text = Text();
    EXPECT_EQ(text.rfind("velmora-demo 1\nseed 4000000000\nscreen 320 240\npass ", 0), 0u);
    EXPECT_NE(text.find(" 2 02000000000000007100000000000000"), std::string::npos) << text;
    EXPECT_NE(text.find("\nmark 1 door_open\nend 2\n"), std::string::npos) << text;
}

TEST(Demo, AnEmptyDemoIsValid) {
    DemoFile demo;
    DemoFile back;
    std::string error;
    ASSERT_TRUE(DemoFromText(DemoToText(demo), &back, &error)) << error;
    EXPECT_TRUE(back.passes.empty());
}

TEST(Demo, DamagedFilesNameTheirLine) {
    EXPECT_EQ(Error(""), "line 1: not a demo (the first line must be \"velmora-demo 1\")");
    EXPECT_EQ(Error("velmora-demo 2\n"),
              "line 1: not a demo (the first line must be \"velmora-demo 1\")");
    // Cut short: no end line.
    const std::string text = Text();
    EXPECT_EQ(Error(text.substr(0, text.find("mark"))),
              "line 5: no \"end\" line: the demo is cut short");
    EXPECT_EQ(Error(Replace(text, "end 2", "end 3")),
              "line 7: the demo ends after 2 passes, not 3: it is cut or mixed");
    EXPECT_EQ(Error(Replace(text, "seed 4000000000", "seed 4294967296")),
              "line 2: a seed is one number from 0 to 4294967295");
    EXPECT_EQ(Error(Replace(text, "screen 320 240", "screen 0 240")),
              "line 3: a screen is a width and a height from 1 to 65535");
    EXPECT_EQ(Error(Replace(text, " 2 0200", " 3 0200")),
              "line 5: the pass holds another number of records than its count");
    EXPECT_EQ(Error(Replace(text, " 2 0200", " 4097 0200")),
              "line 5: a pass needs a time, a dt and a count of at most 4096 records");
    EXPECT_EQ(Error(Replace(text, " 2 0200000000000000", " 2 02000000000000zz")),
              "line 5: a record is 40 hexadecimal digits");
    EXPECT_EQ(Error(Replace(text, "mark 1 door_open", "mark 2 door_open")),
              "line 6: a mark names a pass that is not before it");
    EXPECT_EQ(Error(Replace(text, "mark 1 door_open", "mark 1 door/open")),
              "line 6: a mark is a pass number and a one-word name");
    EXPECT_EQ(Error(Replace(text, "end 2", "end 2\nseed 1")), "line 8: text after \"end\"");
    EXPECT_EQ(Error(Replace(text, "end 2", "jump 2")), "line 7: unknown line \"jump\"");
    EXPECT_EQ(Error("velmora-demo 1\nscreen 1 1\nend 0\n"),
              "line 3: a demo needs its seed and screen");
}

TEST(Demo, TimesThatAreNotFiniteAreRefused) {
    const std::string text = Text();
    const size_t at = text.find("pass ") + 5;
    const std::string time = text.substr(at, text.find(' ', at) - at);
    for (const char* bad : {"inf", "nan", "-inf", "1e99", "0x1p+200", "1.5x", ""}) {
        const std::string broken = text.substr(0, at) + bad + text.substr(at + time.size());
        EXPECT_EQ(Error(broken).substr(0, 7), "line 4:") << bad;
    }
}

TEST(Demo, MissingFilesSayWhich) {
    DemoFile demo;
    std::string error;
    EXPECT_FALSE(ReadDemoFile("/nonexistent/folder/x.demo", &demo, &error));
    EXPECT_EQ(error, "cannot open '/nonexistent/folder/x.demo'");
    EXPECT_FALSE(WriteDemoFile("/nonexistent/folder/x.demo", demo, &error));
    EXPECT_EQ(error, "cannot write '/nonexistent/folder/x.demo'");
}

TEST(Demo, TheShippedGoldenDemoReads) {
    DemoFile demo;
    std::string error;
    ASSERT_TRUE(ReadDemoFile(VELMORA_SOURCE_DIR "/data/demos/golden.demo", &demo, &error)) << error;
    EXPECT_GT(demo.passes.size(), 1000u);
    ASSERT_EQ(demo.marks.size(), 3u);
    EXPECT_EQ(demo.marks[0].name, "door_open");
    EXPECT_EQ(demo.marks[1].name, "fight");
    EXPECT_EQ(demo.marks[2].name, "paused");
    // The clock only goes forwards, and each dt is the step between two times.
    for (size_t i = 1; i < demo.passes.size(); ++i) {
        EXPECT_GE(demo.passes[i].time, demo.passes[i - 1].time) << i;
        EXPECT_EQ(demo.passes[i].dt, demo.passes[i].time - demo.passes[i - 1].time) << i;
    }
}
