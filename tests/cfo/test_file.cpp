// File over PhysFS, and loading and saving documents through it.
#include <gtest/gtest.h>

#include <string>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "cfo_reference.h"
#include "cfo_tempdir.h"

using cfotest::ReadNative;
using cfotest::TempDir;
using cfotest::WriteNative;

TEST(CfoFile, InitIsOnceAndSucceeds) {
    EXPECT_TRUE(FileSystemInit());
    EXPECT_TRUE(FileSystemInit());
    ASSERT_FALSE(TempDir().empty());
}

TEST(CfoFile, ReadsAWholeFile) {
    ASSERT_FALSE(TempDir().empty());
    WriteNative("hello.txt", std::string("hello\0world", 11));
    File file("hello.txt", File::READ);
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Length(), 11u);
    EXPECT_EQ(file.ReadAll(), 11);
    ASSERT_NE(file.Data(), nullptr);
    EXPECT_EQ(std::string(file.Data(), file.Length()), std::string("hello\0world", 11));
}

TEST(CfoFile, ReadsInObjects) {
    ASSERT_FALSE(TempDir().empty());
    WriteNative("objects.bin", "abcdefghij");
    File file("objects.bin", File::READ);
    char buf[16] = {};
    EXPECT_EQ(file.Read(buf, 4, 2), 2);
    EXPECT_EQ(std::string(buf, 8), "abcdefgh");
    // Two bytes left: not a whole object of 4.
    EXPECT_EQ(file.Read(buf, 4, 1), 0);
    EXPECT_EQ(file.Read(buf, 0, 1), 0);
}

TEST(CfoFile, MissingFileHasNoHandle) {
    ASSERT_FALSE(TempDir().empty());
    File file("no/such/file.cfo", File::READ);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.Length(), 0u);
    EXPECT_EQ(file.ReadAll(), 0);
    EXPECT_EQ(file.Data(), nullptr);
    char buf[4];
    EXPECT_EQ(file.Read(buf, 1, 4), 0);
    EXPECT_EQ(file.Write("abcd", 1, 4), 0);
}

TEST(CfoFile, EmptyFileReadsNothing) {
    ASSERT_FALSE(TempDir().empty());
    WriteNative("empty.cfo", "");
    File file("empty.cfo", File::READ);
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Length(), 0u);
    EXPECT_EQ(file.ReadAll(), 0);
}

TEST(CfoFile, WritesIntoTheWriteFolder) {
    ASSERT_FALSE(TempDir().empty());
    {
        File file("written.bin", File::WRITE);
        EXPECT_TRUE(file.IsOpen());
        EXPECT_EQ(file.Write("abcdef", 3, 2), 2);
        EXPECT_EQ(file.ReadAll(), 0);  // not a read-mode file
    }
    EXPECT_EQ(ReadNative("written.bin"), "abcdef");
}

TEST(CfoFile, UnknownModeOpensNothing) {
    ASSERT_FALSE(TempDir().empty());
    WriteNative("mode.txt", "x");
    File file("mode.txt", 3);
    EXPECT_FALSE(file.IsOpen());
}

TEST(CfoLoad, MissingDocumentPrintsNotFound) {
    ASSERT_FALSE(TempDir().empty());
    CfoDocument doc;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(doc.LoadFile("scenes/absent.cfo"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "CFO Document 'scenes/absent.cfo' not found\n");
    EXPECT_TRUE(doc.children.empty());
}

TEST(CfoLoad, EmptyDocumentPrintsNotFound) {
    ASSERT_FALSE(TempDir().empty());
    WriteNative("empty_doc.cfo", "");
    CfoDocument doc;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(doc.LoadFile("empty_doc.cfo"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "CFO Document 'empty_doc.cfo' not found\n");
}

TEST(CfoLoad, LoadsAndParses) {
    ASSERT_FALSE(TempDir().empty());
    WriteNative("conf.cfo",
                "// configuration\r\nWindow={ width=640; }\r\nSceneManager={ {1,2} }\r\n");
    CfoDocument doc;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(doc.LoadFile("conf.cfo"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(doc.GetName(), "Document");
    EXPECT_EQ(cforef::Tree(&doc), "[Window|]{[width|640]} [SceneManager|]{[|]{[1,2|]}}");
}

TEST(CfoLoad, UnbalancedFileFailsWithMessage) {
    ASSERT_FALSE(TempDir().empty());
    WriteNative("broken.cfo", "a={b=1;");
    CfoDocument doc;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(doc.LoadFile("broken.cfo"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Parse failed: Missing scopes\n");
}

TEST(CfoSave, WritesTheSerialisedTree) {
    ASSERT_FALSE(TempDir().empty());
    CfoDocument doc;
    CfoNode* window = doc.NewChild("Window");
    window->NewChild("width", "800");
    window->NewChild("height", "600");
    doc.NewChild("name", "hero");
    EXPECT_TRUE(doc.SaveFile("saved.cfo"));
    EXPECT_EQ(ReadNative("saved.cfo"), "Window={\n\twidth=800;\n\theight=600;\n}\nname=hero;\n");

    CfoDocument back;
    EXPECT_TRUE(back.LoadFile("saved.cfo"));
    EXPECT_EQ(cforef::Tree(&back), "[Window|]{[width|800] [height|600]} [name|hero]");
}
