#pragma once
// The GL procedure table: every GL function beyond the base GL 1.1 library is reached
// through one table entry. Each entry starts out pointing at a small stub; the stub asks
// SDL for the driver's address by name on the first call, stores it in the table and
// calls through it, so later calls go straight to the driver. A name the driver does
// not have is an assertion failure at that first call.
//
// Engine code includes this header and calls the functions by their plain GL names
// (glBindBufferARB, glCreateShader, ...). A GL context must be current before the first
// call of any of them.
//
// Adding a function: one line in VELMORA_GL_PROCS below,
//   X(return type, name, (parameters as in glext.h), (argument names))
// with the parameter list copied exactly from <GL/glext.h>.

#include <GL/gl.h>
#include <GL/glext.h>

// One line per function keeps the table readable, so the formatter leaves it alone.
// clang-format off
#define VELMORA_GL_PROCS(X) \
  /* multitexture */ \
  X(void, glActiveTextureARB, (GLenum texture), (texture)) \
  X(void, glClientActiveTextureARB, (GLenum texture), (texture)) \
  X(void, glMultiTexCoord2fARB, (GLenum target, GLfloat s, GLfloat t), (target, s, t)) \
  X(void, glMultiTexCoord3fARB, (GLenum target, GLfloat s, GLfloat t, GLfloat r), (target, s, t, r)) \
  X(void, glMultiTexCoord4fARB, (GLenum target, GLfloat s, GLfloat t, GLfloat r, GLfloat q), (target, s, t, r, q)) \
  X(void, glActiveTexture, (GLenum texture), (texture)) \
  X(void, glClientActiveTexture, (GLenum texture), (texture)) \
  X(void, glMultiTexCoord2f, (GLenum target, GLfloat s, GLfloat t), (target, s, t)) \
  /* transpose matrices, point parameters */ \
  X(void, glLoadTransposeMatrixfARB, (const GLfloat *m), (m)) \
  X(void, glPointParameterfARB, (GLenum pname, GLfloat param), (pname, param)) \
  X(void, glPointParameterfvARB, (GLenum pname, const GLfloat *params), (pname, params)) \
  /* texture compression, mipmaps, 3D textures */ \
  X(void, glCompressedTexImage2DARB, (GLenum target, GLint level, GLenum internalformat, GLsizei width, GLsizei height, GLint border, GLsizei imageSize, const void *data), (target, level, internalformat, width, height, border, imageSize, data)) \
  X(void, glCompressedTexImage2D, (GLenum target, GLint level, GLenum internalformat, GLsizei width, GLsizei height, GLint border, GLsizei imageSize, const void *data), (target, level, internalformat, width, height, border, imageSize, data)) \
  X(void, glCompressedTexSubImage2D, (GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width, GLsizei height, GLenum format, GLsizei imageSize, const void *data), (target, level, xoffset, yoffset, width, height, format, imageSize, data)) \
  X(void, glGenerateMipmap, (GLenum target), (target)) \
  X(void, glTexImage3D, (GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height, GLsizei depth, GLint border, GLenum format, GLenum type, const void *pixels), (target, level, internalformat, width, height, depth, border, format, type, pixels)) \
  /* buffer objects */ \
  X(void, glBindBufferARB, (GLenum target, GLuint buffer), (target, buffer)) \
  X(void, glGenBuffersARB, (GLsizei n, GLuint *buffers), (n, buffers)) \
  X(void, glDeleteBuffersARB, (GLsizei n, const GLuint *buffers), (n, buffers)) \
  X(void, glBufferDataARB, (GLenum target, GLsizeiptrARB size, const void *data, GLenum usage), (target, size, data, usage)) \
  X(void, glBufferSubDataARB, (GLenum target, GLintptrARB offset, GLsizeiptrARB size, const void *data), (target, offset, size, data)) \
  X(void *, glMapBufferARB, (GLenum target, GLenum access), (target, access)) \
  X(GLboolean, glUnmapBufferARB, (GLenum target), (target)) \
  X(void, glBindBuffer, (GLenum target, GLuint buffer), (target, buffer)) \
  X(void, glGenBuffers, (GLsizei n, GLuint *buffers), (n, buffers)) \
  X(void, glDeleteBuffers, (GLsizei n, const GLuint *buffers), (n, buffers)) \
  X(void, glBufferData, (GLenum target, GLsizeiptr size, const void *data, GLenum usage), (target, size, data, usage)) \
  X(void, glBufferSubData, (GLenum target, GLintptr offset, GLsizeiptr size, const void *data), (target, offset, size, data)) \
  X(void *, glMapBuffer, (GLenum target, GLenum access), (target, access)) \
  X(GLboolean, glUnmapBuffer, (GLenum target), (target)) \
  X(void, glGetBufferParameteriv, (GLenum target, GLenum pname, GLint *params), (target, pname, params)) \
  /* drawing */ \
  X(void, glMultiDrawElementsEXT, (GLenum mode, const GLsizei *count, GLenum type, const void *const*indices, GLsizei primcount), (mode, count, type, indices, primcount)) \
  X(void, glMultiDrawElements, (GLenum mode, const GLsizei *count, GLenum type, const void *const*indices, GLsizei drawcount), (mode, count, type, indices, drawcount)) \
  X(void, glDrawRangeElements, (GLenum mode, GLuint start, GLuint end, GLsizei count, GLenum type, const void *indices), (mode, start, end, count, type, indices)) \
  X(void, glBlendEquation, (GLenum mode), (mode)) \
  X(void, glBlendFuncSeparate, (GLenum sfactorRGB, GLenum dfactorRGB, GLenum sfactorAlpha, GLenum dfactorAlpha), (sfactorRGB, dfactorRGB, sfactorAlpha, dfactorAlpha)) \
  /* shaders and programs */ \
  X(GLuint, glCreateShader, (GLenum type), (type)) \
  X(void, glShaderSource, (GLuint shader, GLsizei count, const GLchar *const*string, const GLint *length), (shader, count, string, length)) \
  X(void, glCompileShader, (GLuint shader), (shader)) \
  X(void, glGetShaderiv, (GLuint shader, GLenum pname, GLint *params), (shader, pname, params)) \
  X(void, glGetShaderInfoLog, (GLuint shader, GLsizei bufSize, GLsizei *length, GLchar *infoLog), (shader, bufSize, length, infoLog)) \
  X(GLuint, glCreateProgram, (void), ()) \
  X(void, glAttachShader, (GLuint program, GLuint shader), (program, shader)) \
  X(void, glDetachShader, (GLuint program, GLuint shader), (program, shader)) \
  X(void, glLinkProgram, (GLuint program), (program)) \
  X(void, glValidateProgram, (GLuint program), (program)) \
  X(void, glGetProgramiv, (GLuint program, GLenum pname, GLint *params), (program, pname, params)) \
  X(void, glGetProgramInfoLog, (GLuint program, GLsizei bufSize, GLsizei *length, GLchar *infoLog), (program, bufSize, length, infoLog)) \
  X(void, glUseProgram, (GLuint program), (program)) \
  X(void, glDeleteShader, (GLuint shader), (shader)) \
  X(void, glDeleteProgram, (GLuint program), (program)) \
  X(GLboolean, glIsShader, (GLuint shader), (shader)) \
  X(GLboolean, glIsProgram, (GLuint program), (program)) \
  X(GLint, glGetUniformLocation, (GLuint program, const GLchar *name), (program, name)) \
  X(void, glGetActiveUniform, (GLuint program, GLuint index, GLsizei bufSize, GLsizei *length, GLint *size, GLenum *type, GLchar *name), (program, index, bufSize, length, size, type, name)) \
  X(void, glUniform1i, (GLint location, GLint v0), (location, v0)) \
  X(void, glUniform2i, (GLint location, GLint v0, GLint v1), (location, v0, v1)) \
  X(void, glUniform3i, (GLint location, GLint v0, GLint v1, GLint v2), (location, v0, v1, v2)) \
  X(void, glUniform4i, (GLint location, GLint v0, GLint v1, GLint v2, GLint v3), (location, v0, v1, v2, v3)) \
  X(void, glUniform1f, (GLint location, GLfloat v0), (location, v0)) \
  X(void, glUniform2f, (GLint location, GLfloat v0, GLfloat v1), (location, v0, v1)) \
  X(void, glUniform3f, (GLint location, GLfloat v0, GLfloat v1, GLfloat v2), (location, v0, v1, v2)) \
  X(void, glUniform4f, (GLint location, GLfloat v0, GLfloat v1, GLfloat v2, GLfloat v3), (location, v0, v1, v2, v3)) \
  X(void, glUniform1iv, (GLint location, GLsizei count, const GLint *value), (location, count, value)) \
  X(void, glUniform1fv, (GLint location, GLsizei count, const GLfloat *value), (location, count, value)) \
  X(void, glUniform2fv, (GLint location, GLsizei count, const GLfloat *value), (location, count, value)) \
  X(void, glUniform3fv, (GLint location, GLsizei count, const GLfloat *value), (location, count, value)) \
  X(void, glUniform4fv, (GLint location, GLsizei count, const GLfloat *value), (location, count, value)) \
  X(void, glUniformMatrix3fv, (GLint location, GLsizei count, GLboolean transpose, const GLfloat *value), (location, count, transpose, value)) \
  X(void, glUniformMatrix4fv, (GLint location, GLsizei count, GLboolean transpose, const GLfloat *value), (location, count, transpose, value)) \
  X(GLint, glGetAttribLocation, (GLuint program, const GLchar *name), (program, name)) \
  X(void, glBindAttribLocation, (GLuint program, GLuint index, const GLchar *name), (program, index, name)) \
  X(void, glVertexAttribPointer, (GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride, const void *pointer), (index, size, type, normalized, stride, pointer)) \
  X(void, glEnableVertexAttribArray, (GLuint index), (index)) \
  X(void, glDisableVertexAttribArray, (GLuint index), (index)) \
  X(void, glVertexAttrib4f, (GLuint index, GLfloat x, GLfloat y, GLfloat z, GLfloat w), (index, x, y, z, w)) \
  /* vertex arrays, frame buffers */ \
  X(void, glGenVertexArrays, (GLsizei n, GLuint *arrays), (n, arrays)) \
  X(void, glBindVertexArray, (GLuint array), (array)) \
  X(void, glDeleteVertexArrays, (GLsizei n, const GLuint *arrays), (n, arrays)) \
  X(void, glGenFramebuffers, (GLsizei n, GLuint *framebuffers), (n, framebuffers)) \
  X(void, glBindFramebuffer, (GLenum target, GLuint framebuffer), (target, framebuffer)) \
  X(void, glDeleteFramebuffers, (GLsizei n, const GLuint *framebuffers), (n, framebuffers)) \
  X(void, glFramebufferTexture2D, (GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level), (target, attachment, textarget, texture, level)) \
  X(GLenum, glCheckFramebufferStatus, (GLenum target), (target)) \
  X(void, glGenRenderbuffers, (GLsizei n, GLuint *renderbuffers), (n, renderbuffers)) \
  X(void, glBindRenderbuffer, (GLenum target, GLuint renderbuffer), (target, renderbuffer)) \
  X(void, glDeleteRenderbuffers, (GLsizei n, const GLuint *renderbuffers), (n, renderbuffers)) \
  X(void, glRenderbufferStorage, (GLenum target, GLenum internalformat, GLsizei width, GLsizei height), (target, internalformat, width, height)) \
  X(void, glFramebufferRenderbuffer, (GLenum target, GLenum attachment, GLenum renderbuffertarget, GLuint renderbuffer), (target, attachment, renderbuffertarget, renderbuffer)) \
  /* transform feedback: the skinning tests read vertex program results back */ \
  X(void, glTransformFeedbackVaryings, (GLuint program, GLsizei count, const GLchar *const*varyings, GLenum bufferMode), (program, count, varyings, bufferMode)) \
  X(void, glBeginTransformFeedback, (GLenum primitiveMode), (primitiveMode)) \
  X(void, glEndTransformFeedback, (void), ()) \
  X(void, glBindBufferBase, (GLenum target, GLuint index, GLuint buffer), (target, index, buffer)) \
  X(void, glGetBufferSubData, (GLenum target, GLintptr offset, GLsizeiptr size, void *data), (target, offset, size, data))
// clang-format on

// The plain GL names, each defined in glprocs.cpp as a call through its table entry.
extern "C" {
#define VELMORA_GL_DECLARE(ret, name, params, args) ret APIENTRY name params;
VELMORA_GL_PROCS(VELMORA_GL_DECLARE)
#undef VELMORA_GL_DECLARE
}

// One slot per function of VELMORA_GL_PROCS, in list order.
enum GlProcId {
#define VELMORA_GL_ID(ret, name, params, args) GL_PROC_##name,
    VELMORA_GL_PROCS(VELMORA_GL_ID)
#undef VELMORA_GL_ID
        GL_PROC_COUNT
};

// Where the stubs look a name up. The default is SDL_GL_GetProcAddress; tests swap it to
// count look-ups or to play a driver that lacks a function. Null restores the default.
typedef void* (*GlProcLoader)(const char* name);
void SetGlProcLoader(GlProcLoader loader);

// The table's current entry for a slot: the stub until the first call, then the driver's
// address.
void* GlProcEntry(GlProcId id);
// The slot's stub (for tests: an unresolved entry equals its stub).
void* GlProcStub(GlProcId id);
// The GL name of a slot.
const char* GlProcName(GlProcId id);
// Puts every entry back to its stub, so that the next call looks the name up again
// (needed after the GL library is unloaded, e.g. when a second window is made).
void ResetGlProcs();
// How many look-ups the stubs have made since the start (or the last reset).
int GlProcLookups();
