#pragma once
// A GL context for tests that draw: one hidden-from-nobody SDL window with an RGBA8 frame
// buffer and a 24-bit depth buffer, made before the first test of the program and destroyed
// after the last. Test programs that include this run inside their own Xvfb (tests/*_gfx).
//
//   VELMORA_GL_TEST_CONTEXT("camera", 160, 120);   // at namespace scope, once per program

#include <gtest/gtest.h>

#include <SDL.h>

namespace gltest {

class ContextEnvironment : public ::testing::Environment {
public:
    ContextEnvironment(const char* title, int width, int height)
        : title_(title), width_(width), height_(height) {}

    void SetUp() override {
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
        SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
        SDL_GL_SetAttribute(SDL_GL_RED_SIZE, 8);
        SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, 8);
        SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, 8);
        SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 8);
        window_ = SDL_CreateWindow(title_, 0, 0, width_, height_, SDL_WINDOW_OPENGL);
        ASSERT_NE(window_, nullptr) << SDL_GetError();
        context_ = SDL_GL_CreateContext(window_);
        ASSERT_NE(context_, nullptr) << SDL_GetError();
        SDL_GL_MakeCurrent(window_, context_);
    }

    void TearDown() override {
        if (context_) SDL_GL_DeleteContext(context_);
        if (window_) SDL_DestroyWindow(window_);
        context_ = nullptr;
        window_ = nullptr;
        SDL_Quit();
    }

    SDL_Window* window() const { return window_; }

private:
    const char* title_;
    int width_;
    int height_;
    SDL_Window* window_ = nullptr;
    SDL_GLContext context_ = nullptr;
};

}  // namespace gltest

// Registers the context with GoogleTest; `gl_test_context` names it for tests that need
// the window (to swap, say).
#define VELMORA_GL_TEST_CONTEXT(title, width, height)                                             \
    gltest::ContextEnvironment* const gl_test_context = static_cast<gltest::ContextEnvironment*>( \
        ::testing::AddGlobalTestEnvironment(new gltest::ContextEnvironment(title, width, height)))
