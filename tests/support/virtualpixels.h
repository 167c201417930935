#pragma once
// Reading back what the GUI drew, in the virtual screen's units (1024 by 768, y down),
// whatever the size of the test window: a pixel, the pixels of a box at a given step, and
// the share of them that pass a test. Needs a current GL context.

#include <GL/gl.h>

#include <array>
#include <vector>

namespace virtualpixels {

using Pixel = std::array<int, 3>;

// The window pixel under virtual (x, y), in a window of `width` by `height`.
inline Pixel At(int width, int height, float x, float y) {
    unsigned char rgba[4] = {0, 0, 0, 0};
    const int px = static_cast<int>(x * width / 1024.0f);
    const int py = height - 1 - static_cast<int>(y * height / 768.0f);
    glReadPixels(px, py, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    return {rgba[0], rgba[1], rgba[2]};
}

// The pixels of the virtual box (x0, y0)-(x1, y1), every `step` units.
inline std::vector<Pixel> Box(int width, int height, float x0, float y0, float x1, float y1,
                              float step) {
    std::vector<Pixel> out;
    for (float y = y0; y < y1; y += step)
        for (float x = x0; x < x1; x += step) out.push_back(At(width, height, x, y));
    return out;
}

// The share of `pixels` that pass `test`; 0 for none.
template <class Test>
float Fraction(const std::vector<Pixel>& pixels, Test test) {
    int n = 0;
    for (const Pixel& p : pixels) n += test(p) ? 1 : 0;
    return pixels.empty() ? 0.0f : static_cast<float>(n) / pixels.size();
}

}  // namespace virtualpixels
