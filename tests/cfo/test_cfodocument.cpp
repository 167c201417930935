// The CFO parser: the documented edge cases and grammar rules, with exact trees.
#include <gtest/gtest.h>

#include <string>

#include "cfo/cfodocument.h"
#include "cfo_reference.h"

using cforef::Tree;

namespace {

struct Parsed {
    bool ok = false;
    std::string log;
};

Parsed ParseInto(CfoDocument& doc, const std::string& text) {
    Parsed p;
    testing::internal::CaptureStdout();
    p.ok = doc.Parse(text);
    p.log = testing::internal::GetCapturedStdout();
    return p;
}

}  // namespace

TEST(CfoParse, SimpleEntriesAndRootName) {
    CfoDocument doc;
    Parsed p = ParseInto(doc, "Window={ width = 800; height=600; }\nname = hero;\n");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.log, "");
    EXPECT_EQ(doc.GetName(), "Document");
    EXPECT_EQ(doc.GetValue(), "");
    EXPECT_EQ(Tree(&doc), "[Window|]{[width|800] [height|600]} [name|hero]");
    bool links = false;
    cforef::Dump(&doc, &links);
    EXPECT_TRUE(links);
}

TEST(CfoParse, FileOfOnlyCommentsIsEmptyAndTrue) {
    CfoDocument doc;
    Parsed p = ParseInto(doc, "// first line\n/* a block\n   over lines */\n// last line\n");
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.log, "");
    EXPECT_TRUE(doc.children.empty());
    EXPECT_EQ(doc.FirstChild(), nullptr);
    EXPECT_EQ(doc.GetName(), "Document");
}

TEST(CfoParse, EmptyTextIsEmptyAndTrue) {
    CfoDocument doc;
    EXPECT_TRUE(ParseInto(doc, "").ok);
    EXPECT_TRUE(doc.children.empty());
}

TEST(CfoParse, DuplicateKeysMakeTwoChildrenAndFindChildGivesTheFirst) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=1;a=2;").ok);
    EXPECT_EQ(Tree(&doc), "[a|1] [a|2]");
    ASSERT_NE(doc.FindChild("a"), nullptr);
    EXPECT_EQ(doc.FindChild("a"), doc.children[0]);
    EXPECT_EQ(doc.FindChild("a")->GetValue(), "1");
    EXPECT_EQ(doc.FindChild("A"), nullptr);
    EXPECT_EQ(doc.FindChild(""), nullptr);
}

TEST(CfoParse, QuotedValueKeepsBlanksUnquotedLosesThem) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "q=\"hello big\tworld\";\nu=hello big\tworld;").ok);
    EXPECT_EQ(Tree(&doc), "[q|hello big\tworld] [u|hellobigworld]");
}

TEST(CfoParse, QuotedSemicolonEndsTheValueAndTheRestIsDropped) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=\"x;y\";b=2;").ok);
    EXPECT_EQ(Tree(&doc), "[a|x] [b|2]");
}

TEST(CfoParse, CommentBetweenValueAndSemicolonChangesNothing) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=5 // the count\n;b=6 /* six */ ;c=7;").ok);
    EXPECT_EQ(Tree(&doc), "[a|5] [b|6] [c|7]");
}

TEST(CfoParse, NestedBlockCommentsCloseWithTwoEnds) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "/* outer /* inner */ still comment */x=1;").ok);
    EXPECT_EQ(Tree(&doc), "[x|1]");
    EXPECT_EQ(CfoDocument::StripComments("/* a /* b */ c */d"), "d");
    // One end only: the rest stays inside the outer block.
    EXPECT_EQ(CfoDocument::StripComments("/* a /* b */ c d"), "");
}

TEST(CfoParse, LineCommentHoldingBlockStartRemovesTheRest) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=1;// see /* here\nb=2;\nc={d=3;}\n").ok);
    EXPECT_EQ(Tree(&doc), "[a|1]");
    EXPECT_EQ(CfoDocument::StripComments("a=1;// see /* here\nb=2;\n"), "a=1;");
}

TEST(CfoParse, LineStartInsideBlockOutlivesTheBlock) {
    // "//" inside a block sets the line flag, which only the next newline clears.
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "/* // */a=1;\nb=2;").ok);
    EXPECT_EQ(Tree(&doc), "[b|2]");
}

TEST(CfoParse, EscapedQuoteInsideQuotedValue) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=\"say \\\"hi\\\" now\";").ok);
    EXPECT_EQ(Tree(&doc), "[a|say \"hi\" now]");
    // Outside quotes too: the escape is the only way a quote reaches a value.
    EXPECT_EQ(CfoDocument::StripBlanks("a=\\\"b;"), "a=\"b;");
}

TEST(CfoParse, CloseThenOpenPassesTheCountAndFailsSilently) {
    CfoDocument doc;
    Parsed p = ParseInto(doc, "}{");
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.log, "");
    EXPECT_EQ(doc.GetError(), "");
    EXPECT_TRUE(doc.children.empty());
    EXPECT_EQ(CfoDocument::ParseScope(&doc, "}{", 0), 0u);
}

TEST(CfoParse, WrongOrderKeepsThePartBuilt) {
    CfoDocument doc;
    Parsed p = ParseInto(doc, "a=1;b={c=2;}}x=3;{");
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.log, "");
    EXPECT_EQ(Tree(&doc), "[a|1] [b|]{[c|2]}");
}

TEST(CfoParse, TextEndingInBlockEndGetsOneNul) {
    EXPECT_EQ(CfoDocument::StripComments("a=1;/* c */"), std::string("a=1;\0", 5));
    EXPECT_EQ(CfoDocument::StripComments("a=1;b=2/* c */"), std::string("a=1;b=2\0", 8));
    // The NUL survives the second pass and joins the last token.
    EXPECT_EQ(CfoDocument::StripBlanks(std::string("b=2\0", 4)), std::string("b=2\0", 4));
    // Inside a line comment the NUL is not copied.
    EXPECT_EQ(CfoDocument::StripComments("a=1;// c /* d */"), "a=1;");
    // Not at the end: no NUL.
    EXPECT_EQ(CfoDocument::StripComments("a=1;/* c */\n"), "a=1;\n");

    CfoDocument doc;
    Parsed p = ParseInto(doc, "a=1;b=2/* c */");
    EXPECT_TRUE(p.ok);
    // "2\0" is the pending token at the end: nothing closes it.
    EXPECT_EQ(Tree(&doc), "[a|1]");

    // Where the NUL-carrying token is closed by a later entry, it shows in the value.
    CfoDocument doc2;
    CfoNode* scope = doc2.NewChild("s");
    std::string clean = CfoDocument::StripBlanks(CfoDocument::StripComments("k=v/**/")) + ";}";
    EXPECT_EQ(CfoDocument::ParseScope(scope, clean, 0), clean.size() - 1);
    ASSERT_EQ(scope->children.size(), 1u);
    EXPECT_EQ(scope->children[0]->value, std::string("v\0", 2));
}

TEST(CfoParse, CharacterAfterBlockEndIsNotACommentStart) {
    // The "/" right after "*/" is copied, and the "*" after it is then an ordinary byte.
    EXPECT_EQ(CfoDocument::StripComments("/*x*//*z*/a=1;"), "/*z*/a=1;");
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "/*x*//*z*/a=1;").ok);
    EXPECT_EQ(Tree(&doc), "[/*z*/a|1]");
    // "/*/" opens and closes at once.
    EXPECT_EQ(CfoDocument::StripComments("/*/x"), "x");
}

TEST(CfoParse, CarriageReturnsAreDropped) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=1;\r\nb=\"x\ry\";\r\n").ok);
    EXPECT_EQ(Tree(&doc), "[a|1] [b|xy]");
}

TEST(CfoParse, BraceCountsDifferFailsWithMessage) {
    CfoDocument doc;
    Parsed p = ParseInto(doc, "a={b=1;");
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.log, "Parse failed: Missing scopes\n");
    EXPECT_EQ(doc.GetError(), "Parse failed: Missing scopes");
    EXPECT_TRUE(doc.children.empty());
    EXPECT_EQ(doc.GetName(), "Document");  // named before the count
}

TEST(CfoParse, QuotedBracesAreStillStructure) {
    CfoDocument doc;
    Parsed p = ParseInto(doc, "a=\"{\";");
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.log, "Parse failed: Missing scopes\n");
}

TEST(CfoGrammar, EmptyValueMakesNothingAndTheKeyNamesTheNextScope) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=;{x=1;}").ok);
    EXPECT_EQ(Tree(&doc), "[a|]{[x|1]}");
    CfoDocument doc2;
    ASSERT_TRUE(ParseInto(doc2, "a=;b=2;").ok);
    EXPECT_EQ(Tree(&doc2), "[b|2]");
}

TEST(CfoGrammar, TextBeforeBraceJoinsTheNextWord) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "abc{}def;").ok);
    EXPECT_EQ(Tree(&doc), "[|]");
    ASSERT_EQ(doc.children.size(), 1u);
    EXPECT_TRUE(doc.children[0]->children.empty());
    // Inside a scope the pending "abcdef" becomes the bare last word.
    CfoDocument doc2;
    ASSERT_TRUE(ParseInto(doc2, "s={abc{}def}").ok);
    EXPECT_EQ(Tree(&doc2), "[s|]{[|] [abcdef|]}");
    // After "=", the pending key names the scope, and the text before "{" joins the next
    // word, which then has no key and is dropped at ";".
    CfoDocument doc3;
    ASSERT_TRUE(ParseInto(doc3, "s={k=v{}w;}").ok);
    EXPECT_EQ(Tree(&doc3), "[s|]{[k|]}");
}

TEST(CfoGrammar, BareLastWordBeforeCloseIsAChild) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "s={a=1;last}").ok);
    EXPECT_EQ(Tree(&doc), "[s|]{[a|1] [last|]}");
    // A bare word with ";" is dropped without a trace.
    CfoDocument doc2;
    ASSERT_TRUE(ParseInto(doc2, "s={word;a=1;}").ok);
    EXPECT_EQ(Tree(&doc2), "[s|]{[a|1]}");
}

TEST(CfoGrammar, TableRowsAreAnonymousScopesWithOneBareWord) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "geometry={\n {1,2,3,4}\n {5,6,7,8}\n}\nbad={1,2,3,4;}").ok);
    EXPECT_EQ(Tree(&doc), "[geometry|]{[|]{[1,2,3,4|]} [|]{[5,6,7,8|]}} [bad|]");
    CfoNode* table = doc.FindChild("geometry");
    ASSERT_NE(table, nullptr);
    CfoNode* row = table->FirstChild();
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->FirstChild()->GetName(), "1,2,3,4");
    ASSERT_NE(row->NextSibling(), nullptr);
    EXPECT_EQ(row->NextSibling()->FirstChild()->GetName(), "5,6,7,8");
    EXPECT_EQ(row->NextSibling()->NextSibling(), nullptr);
    EXPECT_TRUE(doc.FindChild("bad")->children.empty());
}

TEST(CfoGrammar, NoSemicolonNeededAfterClose) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a={x=1;}b={y=2;};c=3;").ok);
    EXPECT_EQ(Tree(&doc), "[a|]{[x|1]} [b|]{[y|2]} [c|3]");
}

TEST(CfoGrammar, LaterEqualsOverwritesThePendingKey) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a=b=c;").ok);
    EXPECT_EQ(Tree(&doc), "[b|c]");
    CfoDocument doc2;
    ASSERT_TRUE(ParseInto(doc2, "=x;==;;a=1;").ok);
    EXPECT_EQ(Tree(&doc2), "[a|1]");
}

TEST(CfoGrammar, ChildScopesGetIndicesInOrderOfClosing) {
    CfoDocument doc;
    ASSERT_TRUE(ParseInto(doc, "a={b={}c=1;}d=2;").ok);
    EXPECT_EQ(Tree(&doc), "[a|]{[b|] [c|1]} [d|2]");
    CfoNode* a = doc.FindChild("a");
    EXPECT_EQ(a->index, 0);
    EXPECT_EQ(a->parent, &doc);
    EXPECT_EQ(a->children[0]->index, 0);
    EXPECT_EQ(a->children[1]->index, 1);
    EXPECT_EQ(doc.FindChild("d")->index, 1);
    EXPECT_EQ(a->NextSibling(), doc.FindChild("d"));
}

TEST(CfoParse, NulByteInTheMiddleIsAnOrdinaryByte) {
    CfoDocument doc;
    std::string text("a=x\0y;b=2;", 10);
    ASSERT_TRUE(ParseInto(doc, text).ok);
    ASSERT_EQ(doc.children.size(), 2u);
    EXPECT_EQ(doc.children[0]->value, std::string("x\0y", 3));
    EXPECT_EQ(doc.children[1]->value, "2");
}

TEST(CfoParse, UnbalancedAndStrayBraces) {
    const char* failing[] = {"{", "}", "{{}", "a={b=1;}}", "}}{{", "a=1;}b={"};
    for (const char* text : failing) {
        CfoDocument doc;
        EXPECT_FALSE(ParseInto(doc, text).ok) << text;
    }
}
