// Hostile sizes and shapes: deep nesting, huge values, large documents, garbage bytes.
#include <gtest/gtest.h>

#include <pthread.h>

#include <functional>
#include <random>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo_reference.h"

namespace {

size_t ChainDepth(const CfoNode* node) {
    size_t depth = 0;
    while (node->FirstChild()) {
        EXPECT_EQ(node->children.size(), 1u);
        node = node->FirstChild();
        ++depth;
    }
    return depth;
}

// Runs `work` on a thread with a 256 KB stack: a walk that recursed once per level of a
// 10 000-deep tree would overflow it, so these tests fail for a recursive implementation.
bool RunOnSmallStack(const std::function<void()>& work) {
    pthread_attr_t attr;
    if (pthread_attr_init(&attr) != 0) return false;
    pthread_attr_setstacksize(&attr, 256 * 1024);
    pthread_t thread;
    auto trampoline = [](void* arg) -> void* {
        (*static_cast<const std::function<void()>*>(arg))();
        return nullptr;
    };
    bool started =
        pthread_create(&thread, &attr, trampoline, const_cast<std::function<void()>*>(&work)) == 0;
    pthread_attr_destroy(&attr);
    if (started) pthread_join(thread, nullptr);
    return started;
}

}  // namespace

TEST(CfoDeep, SmallStackParseWriteAndFreeTenThousandDeep) {
    const size_t depth = 10000;
    bool parsed = false;
    size_t chain = 0, written = 0;
    std::string printed;
    ASSERT_TRUE(RunOnSmallStack([&] {
        CfoDocument* doc = new CfoDocument();
        parsed = doc->Parse(std::string(depth, '{') + std::string(depth, '}'));
        for (const CfoNode* node = doc; node->FirstChild(); node = node->FirstChild()) ++chain;
        std::string out;
        doc->Serialise(out);
        written = out.size();
        testing::internal::CaptureStdout();
        doc->Print();
        printed = testing::internal::GetCapturedStdout();
        delete doc;
    }));
    EXPECT_TRUE(parsed);
    EXPECT_EQ(chain, depth);
    // Every level but the last writes "={\n" and "}\n" at its indent; the last, with
    // neither value nor children, writes only its indent.
    size_t expected = 0;
    for (size_t d = 0; d + 1 < depth; ++d) expected += d + 3 + d + 2;
    expected += depth - 1;
    EXPECT_EQ(written, expected);
    // "Document" plus one line per level, one blank per level.
    size_t expected_print = 9;
    for (size_t d = 1; d <= depth; ++d) expected_print += d + 1;
    EXPECT_EQ(printed.size(), expected_print);
}

TEST(CfoDeep, TenThousandNestedScopes) {
    const size_t depth = 10000;
    std::string text = std::string(depth, '{') + "leaf" + std::string(depth, '}');
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(text));
    EXPECT_EQ(ChainDepth(&doc), depth + 1);  // the bare word is the deepest node
    const CfoNode* node = &doc;
    while (node->FirstChild()) node = node->FirstChild();
    EXPECT_EQ(node->name, "leaf");
    EXPECT_EQ(node->parent->parent->index, 0);
}

TEST(CfoDeep, MillionNestedScopesParseAndFree) {
    const size_t depth = 1000000;
    std::string text = std::string(depth, '{') + std::string(depth, '}');
    {
        CfoDocument doc;
        ASSERT_TRUE(doc.Parse(text));
        EXPECT_EQ(ChainDepth(&doc), depth);
    }  // the destructor must not recurse
    CfoDocument bad;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(bad.Parse(text + "}"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Parse failed: Missing scopes\n");
    // Balanced but one scope too many closed early: silent failure, tree left in place.
    CfoDocument wrong;
    std::string order = std::string(depth, '{') + std::string(depth + 1, '}') + "{";
    EXPECT_FALSE(wrong.Parse(order));
    EXPECT_EQ(ChainDepth(&wrong), depth);
}

TEST(CfoDeep, WriteReadAndPrintDeepChain) {
    // Output grows with the square of the depth: 3 000 levels are about 9 MB of tabs.
    const size_t depth = 3000;
    CfoDocument doc;
    doc.name = "Document";
    CfoNode* node = &doc;
    for (size_t i = 0; i < depth; ++i) node = node->NewChild("n");
    node->NewChild("v", "1");

    std::string out;
    doc.Serialise(out);
    // Each level opens with "n={\n" and closes with "}\n" at its own indent.
    size_t expected = 0;
    for (size_t d = 0; d < depth; ++d) expected += d + 4 + d + 2;
    expected += depth + 5;  // "v=1;\n" at the deepest indent
    EXPECT_EQ(out.size(), expected);
    EXPECT_EQ(out.substr(0, 9), "n={\n\tn={\n");

    CfoDocument back;
    ASSERT_TRUE(back.Parse(out));
    EXPECT_TRUE(cforef::Dump(&back) == cforef::Dump(&doc));  // no dump of 3 000 levels on failure

    testing::internal::CaptureStdout();
    doc.Print();
    std::string printed = testing::internal::GetCapturedStdout();
    // "Document", then one line per level, each with one blank per level.
    size_t lines = 0, blanks_ok = 0;
    size_t start = 0;
    while (start < printed.size()) {
        size_t end = printed.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        std::string line = printed.substr(start, end - start);
        size_t lead = line.find_first_not_of(' ');
        if (lead == lines) ++blanks_ok;
        ++lines;
        start = end + 1;
    }
    EXPECT_EQ(lines, depth + 2);
    EXPECT_EQ(blanks_ok, depth + 2);
    EXPECT_EQ(printed.substr(0, 12), "Document\n n\n");
    EXPECT_EQ(printed.substr(printed.size() - 5), " v=1\n");
}

TEST(CfoDeep, HugeValueAndLargeDocument) {
    std::string value(100000, 'x');
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("big=" + value + ";"));
    ASSERT_EQ(doc.children.size(), 1u);
    EXPECT_EQ(doc.children[0]->value, value);

    // About 50 MB of table rows.
    std::string row = "{1.0,2.0,3.0,4.0,5.0,6.0,7.0,8.0,9.0,10.0,11.0}\n";
    std::string text = "geometry={\n";
    const size_t rows = 50u * 1024 * 1024 / row.size();
    text.reserve(rows * row.size() + 32);
    for (size_t i = 0; i < rows; ++i) text += row;
    text += "}\n";
    CfoDocument table;
    ASSERT_TRUE(table.Parse(text));
    CfoNode* geometry = table.FindChild("geometry");
    ASSERT_NE(geometry, nullptr);
    ASSERT_EQ(geometry->children.size(), rows);
    EXPECT_EQ(geometry->children.back()->FirstChild()->name,
              "1.0,2.0,3.0,4.0,5.0,6.0,7.0,8.0,9.0,10.0,11.0");
    EXPECT_EQ(geometry->children.back()->index, static_cast<int32_t>(rows - 1));
}

TEST(CfoDeep, RandomBytesNeverBreakTheParser) {
    std::mt19937 rng(2024);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int n = 0; n < 200; ++n) {
        std::string text(1 + n * 37, '\0');
        for (char& c : text) c = static_cast<char>(byte(rng));
        CfoDocument doc;
        CfoNode ref;
        testing::internal::CaptureStdout();
        bool ok = doc.Parse(text);
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(ok, cforef::Parse(&ref, text));
        EXPECT_EQ(cforef::Dump(&doc), cforef::Dump(&ref));
    }
}
