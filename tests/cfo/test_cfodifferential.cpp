// The fast cleaner and the explicit-stack tree builder against the byte-at-a-time
// references on random texts.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo_reference.h"

namespace {

// Random text over the bytes that mean something to the parser, plus runs of ordinary
// text long enough to cross the 16-byte scanning blocks.
std::string RandomText(std::mt19937& rng, size_t max_len) {
    static const char special[] = {'/',  '*', '\n', '\r', '"', '\\', ' ',
                                   '\t', '{', '}',  '=',  ';', ',',  '\0'};
    std::uniform_int_distribution<size_t> len_dist(0, max_len);
    std::uniform_int_distribution<int> kind(0, 9);
    std::uniform_int_distribution<size_t> pick(0, sizeof(special) - 1);
    std::uniform_int_distribution<int> letter('a', 'e');
    std::uniform_int_distribution<size_t> run(1, 40);
    size_t len = len_dist(rng);
    std::string text;
    while (text.size() < len) {
        int k = kind(rng);
        if (k < 6) {
            text += special[pick(rng)];
        } else if (k < 9) {
            text += static_cast<char>(letter(rng));
        } else {
            size_t r = run(rng);
            for (size_t i = 0; i < r; ++i) text += static_cast<char>(letter(rng));
        }
    }
    return text;
}

void CheckAgainstReference(const std::string& text) {
    std::string comments = CfoDocument::StripComments(text);
    ASSERT_EQ(comments, cforef::StripComments(text));
    std::string blanks = CfoDocument::StripBlanks(comments);
    ASSERT_EQ(blanks, cforef::StripBlanks(comments));
    // The second pass on its own input too (it sees raw text in no other test).
    ASSERT_EQ(CfoDocument::StripBlanks(text), cforef::StripBlanks(text));

    CfoNode fast_root, ref_root;
    size_t fast_pos = CfoDocument::ParseScope(&fast_root, blanks, 0);
    size_t ref_pos = cforef::ParseScope(&ref_root, blanks, 0);
    ASSERT_EQ(fast_pos, ref_pos);
    bool links = false;
    ASSERT_EQ(cforef::Dump(&fast_root, &links), cforef::Dump(&ref_root));
    ASSERT_TRUE(links);

    // From an inner position as well, as a caller may do.
    if (!blanks.empty()) {
        size_t start = blanks.size() / 2;
        CfoNode a, b;
        ASSERT_EQ(CfoDocument::ParseScope(&a, blanks, start),
                  cforef::ParseScope(&b, blanks, start));
        ASSERT_EQ(cforef::Dump(&a), cforef::Dump(&b));
    }

    CfoDocument doc;
    CfoNode ref_doc;
    testing::internal::CaptureStdout();
    bool fast_ok = doc.Parse(text);
    testing::internal::GetCapturedStdout();
    bool ref_ok = cforef::Parse(&ref_doc, text);
    ASSERT_EQ(fast_ok, ref_ok);
    ASSERT_EQ(cforef::Dump(&doc), cforef::Dump(&ref_doc));
}

}  // namespace

TEST(CfoDifferential, ShortRandomTexts) {
    std::mt19937 rng(12345);
    for (int n = 0; n < 20000; ++n) {
        std::string text = RandomText(rng, 64);
        CheckAgainstReference(text);
        if (HasFatalFailure()) {
            ADD_FAILURE() << "input: " << testing::PrintToString(text);
            return;
        }
    }
}

TEST(CfoDifferential, LongRandomTexts) {
    std::mt19937 rng(777);
    for (int n = 0; n < 400; ++n) {
        std::string text = RandomText(rng, 4000);
        CheckAgainstReference(text);
        if (HasFatalFailure()) {
            ADD_FAILURE() << "input: " << testing::PrintToString(text);
            return;
        }
    }
}

TEST(CfoDifferential, StructuredRandomDocuments) {
    // Mostly well-formed documents with comments and quotes, so deep trees really form.
    std::mt19937 rng(4242);
    std::uniform_int_distribution<int> op(0, 11);
    std::uniform_int_distribution<int> letter('a', 'z');
    for (int n = 0; n < 500; ++n) {
        std::string text;
        int depth = 0;
        for (int k = 0; k < 300; ++k) {
            std::string word(1 + k % 7, static_cast<char>(letter(rng)));
            switch (op(rng)) {
                case 0:
                    text += word + " = " + word + ";\n";
                    break;
                case 1:
                    text += word + "={\n";
                    ++depth;
                    break;
                case 2:
                    if (depth) {
                        text += "}\n";
                        --depth;
                    }
                    break;
                case 3:
                    text += "{" + word + "," + word + "}\n";
                    break;
                case 4:
                    text += "// note " + word + "\n";
                    break;
                case 5:
                    text += "/* " + word + " */";
                    break;
                case 6:
                    text += word + "=\"" + word + " " + word + "\";";
                    break;
                case 7:
                    text += word + "=\"a\\\"b\";";
                    break;
                case 8:
                    text += "{\n";
                    ++depth;
                    break;
                case 9:
                    text += word + ";";
                    break;
                case 10:
                    text += word + "=;";
                    break;
                default:
                    text += "\r\n\t";
                    break;
            }
        }
        while (depth--) text += "}";
        CheckAgainstReference(text);
        if (HasFatalFailure()) {
            ADD_FAILURE() << "input: " << testing::PrintToString(text);
            return;
        }
    }
}
