// The document's arena: how many blocks a parse takes, what the builder does when a block
// cannot be had (the node is skipped, what the text puts inside it is lost, parsing goes
// on), and changes made to parsed nodes afterwards.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo_reference.h"

namespace {
// When above 0, the nth no-throw allocation from now on fails (plain and aligned forms).
int fail_countdown = 0;
int nothrow_calls = 0;
int aligned_calls = 0;

bool FailNow() { return fail_countdown > 0 && --fail_countdown == 0; }
}  // namespace

// The arena takes its blocks with the no-throw forms (node blocks with the aligned one);
// the rest of the program does not use them, so failing them on demand hits only the arena.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++nothrow_calls;
    if (FailNow()) return nullptr;
    // The ordinary form, so that the matching delete is the ordinary one too.
    return ::operator new(size);
}

void* operator new(std::size_t size, std::align_val_t align, const std::nothrow_t&) noexcept {
    ++aligned_calls;
    if (FailNow()) return nullptr;
    return ::operator new(size, align);
}

namespace {

std::string ParseFailing(const std::string& text, int nth, bool* ok) {
    CfoArena::DropSpareBlocks();  // so that node blocks are allocated, and can fail
    CfoDocument doc;
    fail_countdown = nth;
    *ok = doc.Parse(text);
    fail_countdown = 0;
    return cforef::Tree(&doc);
}

}  // namespace

TEST(CfoMemory, NodeLayoutStaysSmall) {
    // Two pointers of text each for name and value, a pointer and two counts for the
    // children, the index and the parent, after the vtable.
    EXPECT_EQ(sizeof(CfoText), 16u);
    EXPECT_EQ(sizeof(CfoChildren), 16u);
    EXPECT_EQ(sizeof(CfoNode), 72u);
}

TEST(CfoMemory, ASmallDocumentTakesOneBlockOfEachKind) {
    CfoArena::DropSpareBlocks();
    CfoDocument doc;
    int plain = nothrow_calls, aligned = aligned_calls;
    ASSERT_TRUE(doc.Parse("a={b=1;}c=2;"));
    EXPECT_EQ(nothrow_calls - plain, 1);    // the cleaned text, the child arrays
    EXPECT_EQ(aligned_calls - aligned, 1);  // the three nodes
    EXPECT_EQ(doc.Arena().NodeBlockCount(), 1u);
    EXPECT_EQ(doc.Arena().ByteBlockCount(), 1u);
    EXPECT_EQ(cforef::Tree(&doc), "[a|]{[b|1]} [c|2]");
    EXPECT_TRUE(doc.children[0]->InArena());
    EXPECT_FALSE(doc.InArena());
}

TEST(CfoMemory, NodesFillWholeBlocks) {
    // (32768 - 24) / 72 = 454 nodes a block: 1000 take three blocks.
    std::string text;
    for (int i = 0; i < 1000; ++i) text += "k=v;";
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(text));
    EXPECT_EQ(doc.children.size(), 1000u);
    EXPECT_EQ(doc.Arena().NodeBlockCount(), 3u);
    EXPECT_EQ(doc.children[999]->index, 999);
    EXPECT_EQ(doc.children[999]->name, "k");
}

TEST(CfoMemory, NodeBlocksOfAFreedDocumentServeTheNextOne) {
    CfoArena::DropSpareBlocks();
    EXPECT_EQ(CfoArena::SpareBlockCount(), 0u);
    std::string text;
    for (int i = 0; i < 1000; ++i) text += "k=v;";
    {
        CfoDocument doc;
        ASSERT_TRUE(doc.Parse(text));
    }
    EXPECT_EQ(CfoArena::SpareBlockCount(), 3u);
    int aligned = aligned_calls;
    {
        CfoDocument doc;
        ASSERT_TRUE(doc.Parse("a=1;"));
        EXPECT_EQ(CfoArena::SpareBlockCount(), 2u);
        CfoDocument big;
        ASSERT_TRUE(big.Parse(text));
        EXPECT_EQ(big.Arena().NodeBlockCount(), 3u);
        EXPECT_EQ(big.children[999]->name, "k");
    }
    EXPECT_EQ(aligned_calls - aligned, 1);  // four blocks in use, three of them spare ones
    EXPECT_EQ(CfoArena::SpareBlockCount(), 4u);
    CfoArena::DropSpareBlocks();
    EXPECT_EQ(CfoArena::SpareBlockCount(), 0u);
}

TEST(CfoMemory, ParsedTextsAreTerminatedInPlace) {
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("key=value;{row,1}x={abc{}def}"));
    EXPECT_EQ(cforef::Tree(&doc), "[key|value] [|]{[row,1|]} [x|]{[|] [abcdef|]}");
    ASSERT_EQ(doc.children.size(), 3u);
    EXPECT_STREQ(doc.children[0]->name.c_str(), "key");
    EXPECT_STREQ(doc.children[0]->value.c_str(), "value");
    EXPECT_STREQ(doc.children[1]->FirstChild()->name.c_str(), "row,1");
    // A token split by a scope is a copy of its own.
    EXPECT_STREQ(doc.children[2]->children[1]->name.c_str(), "abcdef");
    EXPECT_STREQ(doc.children[2]->name.c_str(), "x");
}

TEST(CfoMemory, ALostNodeBlockLosesOnlyThatNode) {
    const std::string text = "a={b=1;{x}}c=2;";
    bool ok = false;
    EXPECT_EQ(ParseFailing(text, 0, &ok), "[a|]{[b|1] [|]{[x|]}} [c|2]");
    EXPECT_TRUE(ok);
    // Call 1 is the text's byte block, call 2 the first node block: scope "a" is lost
    // with everything in it, and nothing is allocated inside it. "c" gets a new block.
    int plain = nothrow_calls, aligned = aligned_calls;
    EXPECT_EQ(ParseFailing(text, 2, &ok), "[c|2]");
    EXPECT_EQ(nothrow_calls - plain, 1);
    EXPECT_EQ(aligned_calls - aligned, 2);
    EXPECT_TRUE(ok);
}

TEST(CfoMemory, WithoutRoomForTheTextTheNodesCopyTheirs) {
    // The failed byte block leaves the cleaned text in a scratch copy; the node texts then
    // go into a later block and the tree is whole.
    bool ok = false;
    EXPECT_EQ(ParseFailing("a={b=1;{x}}c=2;", 1, &ok), "[a|]{[b|1] [|]{[x|]}} [c|2]");
    EXPECT_TRUE(ok);
    CfoDocument doc;
    fail_countdown = 1;
    int plain = nothrow_calls;
    ASSERT_TRUE(doc.Parse("p=1;q=2;r=3;"));
    fail_countdown = 0;
    EXPECT_EQ(nothrow_calls - plain, 2);  // the failed one, then the block of the copies
    EXPECT_EQ(doc.Arena().ByteBlockCount(), 1u);
    EXPECT_EQ(cforef::Tree(&doc), "[p|1] [q|2] [r|3]");
    EXPECT_EQ(doc.children[2]->index, 2);
}

TEST(CfoMemory, IndicesStayDenseAfterASkip) {
    CfoArena::DropSpareBlocks();
    CfoDocument doc;
    fail_countdown = 2;  // the first node block
    ASSERT_TRUE(doc.Parse("p=1;q=2;r=3;"));
    fail_countdown = 0;
    ASSERT_EQ(doc.children.size(), 2u);
    EXPECT_EQ(doc.children[0]->name, "q");
    EXPECT_EQ(doc.children[0]->index, 0);
    EXPECT_EQ(doc.children[1]->index, 1);
}

TEST(CfoMemory, ParsedNodesCanBeChangedAndGrown) {
    // Every change below makes a heap copy that the document frees with itself (the
    // sanitizer build of these tests would report a leak).
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("a={b=1;{x}}c=2;"));
    CfoNode* a = doc.FindChild("a");
    ASSERT_NE(a, nullptr);
    a->name = std::string(100, 'n');
    a->FindChild("b")->value = "a value longer than any small buffer";
    CfoNode* added = a->NewChild("added", "yes");
    added->NewChild("deeper");
    EXPECT_EQ(added->index, 2);
    EXPECT_EQ(a->children.size(), 3u);
    EXPECT_EQ(a->children[1]->FirstChild()->name, "x");
    doc.NewChild("tail", "1");
    EXPECT_EQ(cforef::Tree(&doc), "[" + std::string(100, 'n') +
                                      "|]{[b|a value longer than any small buffer] [|]{[x|]} "
                                      "[added|yes]{[deeper|]}} [c|2] [tail|1]");
    EXPECT_FALSE(added->InArena());
    bool links = false;
    cforef::Dump(&doc, &links);
    EXPECT_TRUE(links);
    // A text copied out of the tree is a copy.
    CfoText copy = a->name;
    a->name.clear();
    EXPECT_EQ(copy.size(), 100u);
    EXPECT_TRUE(a->name.empty());
    EXPECT_STREQ(a->name.c_str(), "");
}

TEST(CfoMemory, ScopeParsedUnderAPlainNodeMakesHeapNodes) {
    CfoNode root;
    EXPECT_EQ(CfoDocument::ParseScope(&root, "a={b=1;}c=2;", 0), 12u);
    EXPECT_EQ(cforef::Tree(&root), "[a|]{[b|1]} [c|2]");
    EXPECT_FALSE(root.children[0]->InArena());
    EXPECT_EQ(root.children[0]->children[0]->parent, root.children[0]);
}
