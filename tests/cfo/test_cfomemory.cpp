// The tree builder when a node cannot be allocated: the node is skipped, what the text
// puts inside it is lost, and parsing goes on.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo_reference.h"

namespace {
// When above 0, the nth no-throw single-object allocation from now on fails.
int fail_countdown = 0;
int nothrow_calls = 0;
}  // namespace

// The builder allocates its nodes with the no-throw form; the rest of the program does
// not use it, so failing it on demand hits only the builder.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++nothrow_calls;
    if (fail_countdown > 0 && --fail_countdown == 0) return nullptr;
    // The ordinary form, so that the matching delete is the ordinary one too.
    return ::operator new(size);
}

namespace {

std::string ParseFailing(const std::string& text, int nth, bool* ok) {
    CfoDocument doc;
    fail_countdown = nth;
    *ok = doc.Parse(text);
    fail_countdown = 0;
    return cforef::Tree(&doc);
}

}  // namespace

TEST(CfoMemory, BuilderUsesTheNoThrowForm) {
    CfoDocument doc;
    int before = nothrow_calls;
    ASSERT_TRUE(doc.Parse("a={b=1;}c=2;"));
    EXPECT_EQ(nothrow_calls - before, 3);
}

TEST(CfoMemory, SkippedNodesLoseTheirChildren) {
    const std::string text = "a={b=1;{x}}c=2;";
    bool ok = false;
    EXPECT_EQ(ParseFailing(text, 0, &ok), "[a|]{[b|1] [|]{[x|]}} [c|2]");
    EXPECT_TRUE(ok);
    // Scope "a" is lost with everything in it; nothing is allocated inside it.
    int before = nothrow_calls;
    EXPECT_EQ(ParseFailing(text, 1, &ok), "[c|2]");
    EXPECT_EQ(nothrow_calls - before, 2);
    EXPECT_TRUE(ok);
    EXPECT_EQ(ParseFailing(text, 2, &ok), "[a|]{[|]{[x|]}} [c|2]");
    EXPECT_TRUE(ok);
    EXPECT_EQ(ParseFailing(text, 3, &ok), "[a|]{[b|1]} [c|2]");
    EXPECT_TRUE(ok);
    EXPECT_EQ(ParseFailing(text, 4, &ok), "[a|]{[b|1] [|]} [c|2]");
    EXPECT_TRUE(ok);
    EXPECT_EQ(ParseFailing(text, 5, &ok), "[a|]{[b|1] [|]{[x|]}}");
    EXPECT_TRUE(ok);
    // Indices stay dense after a skip.
    CfoDocument doc;
    fail_countdown = 1;
    ASSERT_TRUE(doc.Parse("p=1;q=2;r=3;"));
    fail_countdown = 0;
    ASSERT_EQ(doc.children.size(), 2u);
    EXPECT_EQ(doc.children[0]->name, "q");
    EXPECT_EQ(doc.children[0]->index, 0);
    EXPECT_EQ(doc.children[1]->index, 1);
}
