// The procedure table's stubs, with a stand-in loader in place of the driver: the first
// call looks the name up once and stores it, later calls go straight through, and a
// name the loader does not know is an assertion failure.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gl/glprocs.h"

namespace {

std::vector<std::string> asked;
GLuint used_program = 0;
int use_calls = 0;
GLenum created_type = 0;

void APIENTRY FakeUseProgram(GLuint program) {
    used_program = program;
    ++use_calls;
}

GLuint APIENTRY FakeCreateShader(GLenum type) {
    created_type = type;
    return 42;
}

void* FakeLoader(const char* name) {
    asked.push_back(name);
    if (strcmp(name, "glUseProgram") == 0) return reinterpret_cast<void*>(FakeUseProgram);
    if (strcmp(name, "glCreateShader") == 0) return reinterpret_cast<void*>(FakeCreateShader);
    return nullptr;
}

class GlProcsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetGlProcs();
        SetGlProcLoader(FakeLoader);
        asked.clear();
        used_program = 0;
        use_calls = 0;
        created_type = 0;
    }
    void TearDown() override {
        SetGlProcLoader(nullptr);
        ResetGlProcs();
    }
};

TEST_F(GlProcsTest, EntriesStartAtTheirStubs) {
    for (int i = 0; i < GL_PROC_COUNT; ++i) {
        const GlProcId id = static_cast<GlProcId>(i);
        EXPECT_EQ(GlProcEntry(id), GlProcStub(id)) << GlProcName(id);
    }
    EXPECT_EQ(GlProcLookups(), 0);
}

TEST_F(GlProcsTest, FirstCallLooksUpOnceAndCallsThrough) {
    glUseProgram(7);
    EXPECT_EQ(used_program, 7u);
    EXPECT_EQ(use_calls, 1);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0], "glUseProgram");
    EXPECT_EQ(GlProcEntry(GL_PROC_glUseProgram), reinterpret_cast<void*>(FakeUseProgram));

    glUseProgram(9);
    glUseProgram(11);
    EXPECT_EQ(used_program, 11u);
    EXPECT_EQ(use_calls, 3);
    EXPECT_EQ(asked.size(), 1u);
    EXPECT_EQ(GlProcLookups(), 1);
}

TEST_F(GlProcsTest, ReturnValuesPassThroughTheStub) {
    EXPECT_EQ(glCreateShader(GL_VERTEX_SHADER), 42u);
    EXPECT_EQ(created_type, static_cast<GLenum>(GL_VERTEX_SHADER));
    EXPECT_EQ(glCreateShader(GL_FRAGMENT_SHADER), 42u);
    EXPECT_EQ(created_type, static_cast<GLenum>(GL_FRAGMENT_SHADER));
    EXPECT_EQ(GlProcLookups(), 1);
}

TEST_F(GlProcsTest, OtherEntriesStayUnresolved) {
    glUseProgram(1);
    EXPECT_EQ(GlProcEntry(GL_PROC_glCreateShader), GlProcStub(GL_PROC_glCreateShader));
    EXPECT_EQ(GlProcEntry(GL_PROC_glBindBufferARB), GlProcStub(GL_PROC_glBindBufferARB));
}

TEST_F(GlProcsTest, ResetPutsTheStubBack) {
    glUseProgram(1);
    ResetGlProcs();
    EXPECT_EQ(GlProcEntry(GL_PROC_glUseProgram), GlProcStub(GL_PROC_glUseProgram));
    EXPECT_EQ(GlProcLookups(), 0);
    glUseProgram(2);
    EXPECT_EQ(asked.size(), 2u);
    EXPECT_EQ(used_program, 2u);
}

TEST_F(GlProcsTest, NamesFollowTheList) {
    EXPECT_STREQ(GlProcName(GL_PROC_glActiveTextureARB), "glActiveTextureARB");
    EXPECT_STREQ(GlProcName(GL_PROC_glBindBufferARB), "glBindBufferARB");
    EXPECT_STREQ(GlProcName(GL_PROC_glMultiDrawElementsEXT), "glMultiDrawElementsEXT");
    EXPECT_STREQ(GlProcName(GL_PROC_glGenerateMipmap), "glGenerateMipmap");
}

using GlProcsDeathTest = GlProcsTest;

TEST_F(GlProcsDeathTest, MissingFunctionAsserts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(glBindBufferARB(GL_ARRAY_BUFFER_ARB, 1), "address != nullptr");
}

TEST_F(GlProcsDeathTest, MissingFunctionAssertsEvenWithAReturnValue) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(glMapBufferARB(GL_ARRAY_BUFFER_ARB, GL_READ_ONLY_ARB),
                 "Resolve.*address != nullptr");
}

}  // namespace
