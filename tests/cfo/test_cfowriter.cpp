// The writer's exact layout and round trips of written documents.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo_reference.h"

TEST(CfoWriter, ExactLayout) {
    CfoDocument doc;
    CfoNode* a = doc.NewChild("a");
    a->NewChild("x", "1");
    CfoNode* inner = a->NewChild("inner");
    inner->NewChild("y", "2");
    doc.NewChild("b", "3");
    std::string out;
    doc.Serialise(out);
    EXPECT_EQ(out, "a={\n\tx=1;\n\tinner={\n\t\ty=2;\n\t}\n}\nb=3;\n");
}

TEST(CfoWriter, EmptyRootWritesNothing) {
    CfoDocument doc;
    std::string out = "kept";
    doc.Serialise(out);
    EXPECT_EQ(out, "kept");
}

TEST(CfoWriter, NodeWithNeitherValueNorChildrenHasNoLineEnd) {
    CfoNode node("bare");
    std::string out;
    CfoDocument::WriteNode(&node, "  ", out);
    EXPECT_EQ(out, "  bare");
}

TEST(CfoWriter, NodeWithValueAndChildrenReadsBackAsAnonymousScope) {
    CfoDocument doc;
    CfoNode* k = doc.NewChild("k", "v");
    k->NewChild("c", "1");
    std::string out;
    doc.Serialise(out);
    EXPECT_EQ(out, "k=v;\n={\n\tc=1;\n}\n");
    CfoDocument back;
    ASSERT_TRUE(back.Parse(out));
    EXPECT_EQ(cforef::Tree(&back), "[k|v] [|]{[c|1]}");
}

TEST(CfoWriter, BlanksInValuesAreLostOnReading) {
    CfoDocument doc;
    doc.NewChild("title", "two words");
    std::string out;
    doc.Serialise(out);
    EXPECT_EQ(out, "title=two words;\n");
    CfoDocument back;
    ASSERT_TRUE(back.Parse(out));
    EXPECT_EQ(cforef::Tree(&back), "[title|twowords]");
}

TEST(CfoWriter, TableRowsRoundTrip) {
    CfoDocument doc;
    CfoNode* table = doc.NewChild("geometry");
    table->NewChild()->NewChild("1,2,3");
    table->NewChild()->NewChild("4,5,6");
    std::string out;
    doc.Serialise(out);
    EXPECT_EQ(out, "geometry={\n\t={\n\t\t1,2,3\t}\n\t={\n\t\t4,5,6\t}\n}\n");
    CfoDocument back;
    ASSERT_TRUE(back.Parse(out));
    EXPECT_EQ(cforef::Tree(&back), "[geometry|]{[|]{[1,2,3|]} [|]{[4,5,6|]}}");
}

namespace {

// A random tree that the writer can represent: values without blanks or structure
// bytes, no node with both a value and children, and a childless, valueless node only
// as the last child of a scope (where it reads back as the bare last word).
void Grow(CfoNode* node, std::mt19937& rng, int depth, bool top) {
    static const char alphabet[] = "abcxyzABC019_.,-+";
    std::uniform_int_distribution<size_t> ch(0, sizeof(alphabet) - 2);
    std::uniform_int_distribution<int> count(top ? 1 : 0, 5);
    std::uniform_int_distribution<int> kind(0, 3);
    std::uniform_int_distribution<int> len(1, 8);
    auto word = [&] {
        std::string w;
        for (int i = len(rng); i > 0; --i) w += alphabet[ch(rng)];
        return w;
    };
    int n = count(rng);
    for (int i = 0; i < n; ++i) {
        int k = kind(rng);
        if (k <= 1 || depth >= 5) {
            node->NewChild(word(), word());
        } else {
            CfoNode* scope = k == 2 ? node->NewChild(word()) : node->NewChild();
            Grow(scope, rng, depth + 1, true);
        }
    }
    if (!top && std::uniform_int_distribution<int>(0, 2)(rng) == 0) node->NewChild(word());
}

}  // namespace

TEST(CfoWriter, RandomTreesRoundTrip) {
    std::mt19937 rng(99);
    for (int n = 0; n < 300; ++n) {
        CfoDocument doc;
        doc.name = "Document";
        Grow(&doc, rng, 0, true);
        std::string out;
        doc.Serialise(out);
        CfoDocument back;
        ASSERT_TRUE(back.Parse(out)) << out;
        bool links = false;
        ASSERT_EQ(cforef::Dump(&back, &links), cforef::Dump(&doc)) << out;
        ASSERT_TRUE(links);
        std::string again;
        back.Serialise(again);
        ASSERT_EQ(again, out);
    }
}
