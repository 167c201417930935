// The whole-word rule of the extension check, on extension strings given directly.
#include <gtest/gtest.h>

#include "platform/glcaps.h"

namespace {

const char* const kList =
    "GL_ARB_multitexture GL_EXT_texture_filter_anisotropic_x GL_ARB_vertex_buffer_object "
    "GL_ARB_vertex_program";

TEST(FindExtension, WholeWordAtTheStart) {
    EXPECT_TRUE(FindExtension(kList, "GL_ARB_multitexture"));
}

TEST(FindExtension, WholeWordInTheMiddle) {
    EXPECT_TRUE(FindExtension(kList, "GL_ARB_vertex_buffer_object"));
}

TEST(FindExtension, WholeWordAtTheEnd) {
    EXPECT_TRUE(FindExtension(kList, "GL_ARB_vertex_program"));
}

TEST(FindExtension, StartOfALongerNameIsNotAHit) {
    EXPECT_FALSE(FindExtension(kList, "GL_EXT_texture_filter_anisotropic"));
    EXPECT_FALSE(FindExtension(kList, "GL_ARB_multi"));
    EXPECT_FALSE(FindExtension(kList, "GL_ARB_vertex"));
}

TEST(FindExtension, EndOfALongerNameIsNotAHit) {
    EXPECT_FALSE(FindExtension(kList, "texture"));
    EXPECT_FALSE(FindExtension(kList, "ARB_vertex_program"));
}

TEST(FindExtension, PartialHitThenWholeWordLater) {
    EXPECT_TRUE(FindExtension("GL_foo_bar GL_foo", "GL_foo"));
    EXPECT_TRUE(FindExtension("xGL_foo GL_foo_bar GL_foo", "GL_foo"));
    EXPECT_FALSE(FindExtension("xGL_foo GL_foo_bar GL_fooy", "GL_foo"));
}

TEST(FindExtension, TrailingBlankCounts) { EXPECT_TRUE(FindExtension("GL_a GL_b ", "GL_b")); }

TEST(FindExtension, BlankOrEmptyNameIsFalse) {
    EXPECT_FALSE(FindExtension(kList, ""));
    EXPECT_FALSE(FindExtension(kList, "GL_ARB_multitexture GL_EXT"));
    EXPECT_FALSE(FindExtension(kList, " "));
    EXPECT_FALSE(FindExtension("GL_a  GL_b", " "));
}

TEST(FindExtension, NullOrEmptyListIsFalse) {
    EXPECT_FALSE(FindExtension(nullptr, "GL_ARB_multitexture"));
    EXPECT_FALSE(FindExtension("", "GL_ARB_multitexture"));
    EXPECT_FALSE(FindExtension(kList, nullptr));
}

TEST(FindExtension, CaseMatters) { EXPECT_FALSE(FindExtension(kList, "gl_arb_multitexture")); }

}  // namespace
