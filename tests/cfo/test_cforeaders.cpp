// Typed readers: conversions, defaults kept on absent keys, vector tokenizing.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo/cforeaders.h"

TEST(CfoReaders, BoolIsAtoiAboveZero) {
    CfoNode node;
    node.NewChild("one", "1");
    node.NewChild("seven", "  7abc");
    node.NewChild("word", "true");
    node.NewChild("zero", "0");
    node.NewChild("minus", "-1");
    node.NewChild("empty", "");
    bool b = false;
    EXPECT_TRUE(CfoReadBool(&node, "one", b));
    EXPECT_TRUE(b);
    b = false;
    EXPECT_TRUE(CfoReadBool(&node, "seven", b));
    EXPECT_TRUE(b);
    b = true;
    EXPECT_TRUE(CfoReadBool(&node, "word", b));
    EXPECT_FALSE(b);
    b = true;
    EXPECT_TRUE(CfoReadBool(&node, "zero", b));
    EXPECT_FALSE(b);
    b = true;
    EXPECT_TRUE(CfoReadBool(&node, "minus", b));
    EXPECT_FALSE(b);
    b = true;
    EXPECT_TRUE(CfoReadBool(&node, "empty", b));
    EXPECT_FALSE(b);
}

TEST(CfoReaders, AbsentKeyReturnsFalseAndKeepsTheDefault) {
    CfoNode node;
    node.NewChild("Key", "5");
    bool b = true;
    EXPECT_FALSE(CfoReadBool(&node, "key", b));
    EXPECT_TRUE(b);
    int32_t i = -9;
    EXPECT_FALSE(CfoReadInt(&node, "missing", i));
    EXPECT_EQ(i, -9);
    uint32_t u = 77;
    EXPECT_FALSE(CfoReadUInt(&node, "missing", u));
    EXPECT_EQ(u, 77u);
    float f = 2.5f;
    EXPECT_FALSE(CfoReadFloat(&node, "missing", f));
    EXPECT_EQ(f, 2.5f);
    std::string s = "default";
    EXPECT_FALSE(CfoReadString(&node, "missing", s));
    EXPECT_EQ(s, "default");
    HVector2 v2(1, 2);
    EXPECT_FALSE(CfoReadVector2(&node, "missing", v2));
    EXPECT_EQ(v2, HVector2(1, 2));
    HVector3 v3(1, 2, 3);
    EXPECT_FALSE(CfoReadVector3(&node, "missing", v3));
    EXPECT_EQ(v3, HVector3(1, 2, 3));
}

TEST(CfoReaders, IntAndUIntFollowAtoi) {
    CfoNode node;
    node.NewChild("a", "42");
    node.NewChild("b", "-17px");
    node.NewChild("c", "abc");
    node.NewChild("d", " \t12");
    node.NewChild("e", "2147483648");
    node.NewChild("f", "3000000000");
    node.NewChild("g", "-1");
    node.NewChild("h", "99999999999999999999999");
    int32_t i = 5;
    EXPECT_TRUE(CfoReadInt(&node, "a", i));
    EXPECT_EQ(i, 42);
    EXPECT_TRUE(CfoReadInt(&node, "b", i));
    EXPECT_EQ(i, -17);
    EXPECT_TRUE(CfoReadInt(&node, "c", i));
    EXPECT_EQ(i, 0);
    EXPECT_TRUE(CfoReadInt(&node, "d", i));
    EXPECT_EQ(i, 12);
    // Out of range wraps modulo 2^32, as the C library's atoi does here.
    EXPECT_TRUE(CfoReadInt(&node, "e", i));
    EXPECT_EQ(i, INT32_MIN);
    EXPECT_TRUE(CfoReadInt(&node, "h", i));
    EXPECT_EQ(i, -1);
    uint32_t u = 0;
    EXPECT_TRUE(CfoReadUInt(&node, "f", u));
    EXPECT_EQ(u, 3000000000u);
    EXPECT_TRUE(CfoReadUInt(&node, "g", u));
    EXPECT_EQ(u, 4294967295u);
    EXPECT_TRUE(CfoReadUInt(&node, "a", u));
    EXPECT_EQ(u, 42u);
}

TEST(CfoReaders, FloatFollowsAtof) {
    CfoNode node;
    node.NewChild("a", "1.5");
    node.NewChild("b", "2.5e-1x");
    node.NewChild("c", "abc");
    node.NewChild("d", "-0.125");
    node.NewChild("e", "1e300");
    node.NewChild("f", "-1e300");
    float f = 9.0f;
    EXPECT_TRUE(CfoReadFloat(&node, "a", f));
    EXPECT_EQ(f, 1.5f);
    EXPECT_TRUE(CfoReadFloat(&node, "b", f));
    EXPECT_EQ(f, 0.25f);
    EXPECT_TRUE(CfoReadFloat(&node, "c", f));
    EXPECT_EQ(f, 0.0f);
    EXPECT_TRUE(CfoReadFloat(&node, "d", f));
    EXPECT_EQ(f, -0.125f);
    EXPECT_TRUE(CfoReadFloat(&node, "e", f));
    EXPECT_TRUE(std::isinf(f) && f > 0);
    EXPECT_TRUE(CfoReadFloat(&node, "f", f));
    EXPECT_TRUE(std::isinf(f) && f < 0);
}

// Like (float)atof: the double is rounded to the nearest float, so the usual spelling of
// the largest float gives that float, and only what lies half a step beyond it overflows.
TEST(CfoReaders, FloatRoundsTheDoubleToTheNearestFloat) {
    CfoNode node;
    node.NewChild("max", "3.4028235e38");
    node.NewChild("min", "-3.4028235e38");
    node.NewChild("exact", "340282346638528859811704183484516925440");
    node.NewChild("below_half", "3.4028235677973e38");  // under FLT_MAX + half a step
    node.NewChild("half", "340282356779733661637539395458142568448");  // exactly half a step
    node.NewChild("tiny", "1e-46");
    node.NewChild("nan", "nan");
    node.NewChild("third", "0.1");
    float f = 0.0f;
    EXPECT_TRUE(CfoReadFloat(&node, "max", f));
    EXPECT_EQ(f, FLT_MAX);
    EXPECT_EQ(f, static_cast<float>(std::atof("3.4028235e38")));
    EXPECT_TRUE(CfoReadFloat(&node, "min", f));
    EXPECT_EQ(f, -FLT_MAX);
    EXPECT_TRUE(CfoReadFloat(&node, "exact", f));
    EXPECT_EQ(f, FLT_MAX);
    EXPECT_TRUE(CfoReadFloat(&node, "below_half", f));
    EXPECT_EQ(f, FLT_MAX);
    EXPECT_TRUE(CfoReadFloat(&node, "half", f));  // a tie rounds to even: 2^128, infinity
    EXPECT_TRUE(std::isinf(f) && f > 0);
    EXPECT_TRUE(CfoReadFloat(&node, "tiny", f));
    EXPECT_EQ(f, 0.0f);
    EXPECT_TRUE(CfoReadFloat(&node, "nan", f));
    EXPECT_TRUE(std::isnan(f));
    EXPECT_TRUE(CfoReadFloat(&node, "third", f));
    EXPECT_EQ(f, 0.1f);
    EXPECT_EQ(CfoAtof("3.4028235e38"), FLT_MAX);

    node.NewChild("v", "3.4028235e38,-3.4028235e38,1e39");
    HVector3 v3;
    EXPECT_TRUE(CfoReadVector3(&node, "v", v3));
    EXPECT_EQ(v3.x, FLT_MAX);
    EXPECT_EQ(v3.y, -FLT_MAX);
    EXPECT_TRUE(std::isinf(v3.z));
    HVector2 v2;
    EXPECT_TRUE(CfoReadVector2(&node, "v", v2));
    EXPECT_EQ(v2, HVector2(FLT_MAX, -FLT_MAX));
}

TEST(CfoReaders, StringIsCopiedUnchanged) {
    CfoNode node;
    node.NewChild("s", " two  blanks ");
    node.NewChild("s", "second");
    std::string s;
    EXPECT_TRUE(CfoReadString(&node, "s", s));
    EXPECT_EQ(s, " two  blanks ");
}

TEST(CfoReaders, Vectors) {
    CfoNode node;
    node.NewChild("two", "1,2");
    node.NewChild("empty", "");
    node.NewChild("gaps", ",1,,2,");
    node.NewChild("many", "1,2,3,4");
    node.NewChild("seps", std::string("1\b2\n3"));
    node.NewChild("words", "x,2.5,-3");
    node.NewChild("blanks", " 1 , 2 ");
    HVector3 v3(7, 7, 7);
    EXPECT_TRUE(CfoReadVector3(&node, "two", v3));
    EXPECT_EQ(v3, HVector3(1, 2, 0));
    v3 = HVector3(7, 7, 7);
    EXPECT_TRUE(CfoReadVector3(&node, "empty", v3));
    EXPECT_EQ(v3, HVector3(0, 0, 0));
    EXPECT_TRUE(CfoReadVector3(&node, "gaps", v3));
    EXPECT_EQ(v3, HVector3(1, 2, 0));
    EXPECT_TRUE(CfoReadVector3(&node, "many", v3));
    EXPECT_EQ(v3, HVector3(1, 2, 3));
    EXPECT_TRUE(CfoReadVector3(&node, "seps", v3));
    EXPECT_EQ(v3, HVector3(1, 2, 3));
    EXPECT_TRUE(CfoReadVector3(&node, "words", v3));
    EXPECT_EQ(v3, HVector3(0, 2.5f, -3));
    EXPECT_TRUE(CfoReadVector3(&node, "blanks", v3));
    EXPECT_EQ(v3, HVector3(1, 2, 0));

    HVector2 v2(7, 7);
    EXPECT_TRUE(CfoReadVector2(&node, "many", v2));
    EXPECT_EQ(v2, HVector2(1, 2));
    v2 = HVector2(7, 7);
    EXPECT_TRUE(CfoReadVector2(&node, "empty", v2));
    EXPECT_EQ(v2, HVector2(0, 0));
    EXPECT_TRUE(CfoReadVector2(&node, "seps", v2));
    EXPECT_EQ(v2, HVector2(1, 2));
}

TEST(CfoReaders, ReadFromAParsedDocument) {
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("Window={ width=1024; fullscreen=0; title=\"Velmora demo\"; pos=1.5,2,3; }"));
    CfoNode* window = doc.FindChild("Window");
    ASSERT_NE(window, nullptr);
    int32_t width = 800, height = 600;
    EXPECT_TRUE(CfoReadInt(window, "width", width));
    EXPECT_FALSE(CfoReadInt(window, "height", height));
    EXPECT_EQ(width, 1024);
    EXPECT_EQ(height, 600);
    bool fullscreen = true;
    EXPECT_TRUE(CfoReadBool(window, "fullscreen", fullscreen));
    EXPECT_FALSE(fullscreen);
    std::string title;
    EXPECT_TRUE(CfoReadString(window, "title", title));
    EXPECT_EQ(title, "Velmora demo");
    HVector3 pos;
    EXPECT_TRUE(CfoReadVector3(window, "pos", pos));
    EXPECT_EQ(pos, HVector3(1.5f, 2, 3));
}
