#include "art.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "palette.h"

bool ArtFonts::Load(const std::string& dir) {
    return regular.Load(dir + "/DejaVuSans.ttf") && bold.Load(dir + "/DejaVuSans-Bold.ttf");
}

namespace {

constexpr float kPi = 3.14159265358979f;

// Multiplies the picture's colour by a noise field, for grime and unevenness.
void Grime(Image& img, float cell, float amount, uint32_t seed) {
    int period = std::max(1, int(img.w / cell));
    for (int y = 0; y < img.h; ++y)
        for (int x = 0; x < img.w; ++x) {
            float n = Fbm(x / cell, y / cell, period, 4, seed);
            Col c = img.Get(x, y);
            float k = 1.0f - amount + 2.0f * amount * n;
            img.Set(x, y, Col{c.r * k, c.g * k, c.b * k, c.a});
        }
}

// ------------------------------------------------------------------ GUI

// A deep blue panel with a white outline, as every menu element of the game looks.
void Panel(Image& img, float x, float y, float w, float h, float radius, bool selected) {
    Col top = selected ? pal::PanelLight() : Mix(pal::Panel(), pal::PanelLight(), 0.35f);
    Col bottom = selected ? Mix(pal::PanelLight(), pal::Panel(), 0.5f) : pal::Panel();
    Image grad(img.w, img.h, Col{0, 0, 0, 0});
    VerticalGradient(grad, int(y), int(y + h), top, bottom);
    for (int j = 0; j < img.h; ++j)
        for (int i = 0; i < img.w; ++i) {
            if (i < x - 1 || i > x + w + 1) continue;
            float inside = 0;
            for (int s = 0; s < 4; ++s)
                for (int t = 0; t < 4; ++t) {
                    float px = i + (s + 0.5f) / 4, py = j + (t + 0.5f) / 4;
                    float cx = x + w / 2, cy = y + h / 2;
                    float qx = std::fabs(px - cx) - (w / 2 - radius),
                          qy = std::fabs(py - cy) - (h / 2 - radius);
                    float ox = std::max(qx, 0.0f), oy = std::max(qy, 0.0f);
                    float d =
                        std::sqrt(ox * ox + oy * oy) + std::min(std::max(qx, qy), 0.0f) - radius;
                    if (d <= 0) inside += 1;
                }
            if (inside > 0) img.Blend(i, j, grad.Get(i, j), inside / 16);
        }
    StrokeRoundRect(img, x, y, w, h, radius, selected ? 3.0f : 2.0f,
                    selected ? pal::Highlight() : pal::Outline());
}

Image Button(const ArtFonts& f, const std::string& label, bool selected) {
    Image img(256, 64, Col{0, 0, 0, 0});  // round corners stay transparent
    Panel(img, 1, 1, 254, 62, 10, selected);
    if (selected) StrokeRoundRect(img, 5, 5, 246, 54, 7, 1, Col{1, 1, 1, 0.5f});
    float ph = 30;
    int asc, desc;
    f.bold.Ascent(ph, &asc, &desc);
    float base = 32 + (asc + desc) / 2.0f;
    DrawTextCentred(img, f.bold, ph, 129, base + 2, label, Col{0, 0, 0, 0.6f});
    DrawTextCentred(img, f.bold, ph, 128, base, label, selected ? pal::Highlight() : pal::White());
    return img;
}

Image ScrollButton(bool up, bool selected) {
    Image img(16, 16, selected ? pal::PanelLight() : pal::Panel());
    StrokeRect(img, 0, 0, 16, 16, 1, selected ? pal::Highlight() : pal::Outline());
    Col c = selected ? pal::Highlight() : pal::White();
    if (up)
        FillPolygon(img, {8, 4, 13, 11, 3, 11}, c);
    else
        FillPolygon(img, {3, 5, 13, 5, 8, 12}, c);
    return img;
}

Image Cursor() {
    Image img(32, 32, Col{0, 0, 0, 0});
    std::vector<float> arrow = {1, 1, 1, 24, 7, 18.5f, 11, 28, 15, 26, 11, 17, 19, 17};
    // A dark rim first, then the white body over it.
    for (size_t i = 0; i < arrow.size(); i += 2) {
        size_t j = (i + 2) % arrow.size();
        DrawLine(img, arrow[i], arrow[i + 1], arrow[j], arrow[j + 1], 2.5f, pal::Panel());
    }
    FillPolygon(img, arrow, pal::White());
    for (size_t i = 0; i < arrow.size(); i += 2) {
        size_t j = (i + 2) % arrow.size();
        DrawLine(img, arrow[i], arrow[i + 1], arrow[j], arrow[j + 1], 1.2f, pal::Panel());
    }
    return img;
}

Image HealthIcon() {
    Image img(64, 64, Col{0, 0, 0, 0});
    FillRoundRect(img, 22, 6, 20, 52, 4, pal::White());
    FillRoundRect(img, 6, 22, 52, 20, 4, pal::White());
    FillRoundRect(img, 25, 9, 14, 46, 2, pal::Health());
    FillRoundRect(img, 9, 25, 46, 14, 2, pal::Health());
    return img;
}

Image EnemyIcon() {
    Image img(32, 32, Col{0, 0, 0, 0});
    FillCircle(img, 16, 16, 13, pal::White());
    FillCircle(img, 16, 16, 10.5f, pal::PoliceBlueLight());
    FillRect(img, 10, 10, 12, 4, pal::Badge());  // the cap's band
    return img;
}

Image TargetIcon() {
    Image img(32, 32, Col{0, 0, 0, 0});
    StrokeCircle(img, 16, 16, 12, 3, pal::Highlight());
    DrawLine(img, 16, 1, 16, 8, 2.5f, pal::Highlight());
    DrawLine(img, 16, 24, 16, 31, 2.5f, pal::Highlight());
    DrawLine(img, 1, 16, 8, 16, 2.5f, pal::Highlight());
    DrawLine(img, 24, 16, 31, 16, 2.5f, pal::Highlight());
    FillCircle(img, 16, 16, 2, pal::White());
    return img;
}

Image YellowArrow() {
    Image img(32, 32, Col{0, 0, 0, 0});
    std::vector<float> shape = {16, 2, 29, 29, 16, 22, 3, 29};
    for (size_t i = 0; i < shape.size(); i += 2) {
        size_t j = (i + 2) % shape.size();
        DrawLine(img, shape[i], shape[i + 1], shape[j], shape[j + 1], 3, Col{0, 0, 0, 0.8f});
    }
    FillPolygon(img, shape, Rgb(250, 214, 40));
    return img;
}

// ------------------------------------------------------------------ effects

Image CharacterShadow() {
    Image img(64, 64, Col{0, 0, 0, 0});
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            float dx = (x + 0.5f - 32) / 31, dy = (y + 0.5f - 32) / 31;
            float r2 = dx * dx + dy * dy;
            float a = r2 < 1 ? (1 - r2) * (1 - r2) * 0.8f : 0.0f;
            img.Set(x, y, Col{0, 0, 0, a});
        }
    return img;
}

Image RainStreak() {
    Image img(16, 64, Col{0, 0, 0, 0});
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 16; ++x) {
            float t = (y + 0.5f) / 64;  // tail at the top, drop at the bottom
            float along = std::sin(t * kPi) * (0.35f + 0.65f * t);
            float dx = (x + 0.5f - 8) / 2.2f;
            float across = std::exp(-dx * dx);
            Col c = pal::Rain();
            c.a = along * across * 0.85f;
            img.Set(x, y, c);
        }
    return img;
}

Image Checker() {
    Image img(256, 256);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            bool odd = ((x / 32) + (y / 32)) & 1;
            img.Set(x, y, odd ? pal::FogLight() : pal::PlasterShade());
        }
    for (int i = 0; i < 256; i += 32) {
        FillRect(img, i, 0, 1, 256, Col{0, 0, 0, 0.25f});
        FillRect(img, 0, i, 256, 1, Col{0, 0, 0, 0.25f});
    }
    return img;
}

// ------------------------------------------------------------------ world

Image Sky() {
    Image img(512, 256);
    for (int y = 0; y < 256; ++y) {
        float t = y / 255.0f;
        Col base = t < 0.55f ? Mix(pal::SkyZenith(), pal::SkyMid(), t / 0.55f)
                             : Mix(pal::SkyMid(), pal::FogLight(), (t - 0.55f) / 0.45f);
        for (int x = 0; x < 512; ++x) {
            // Rain clouds, tiling around the horizon (period in x only matters).
            float n = Fbm(x / 64.0f, y / 32.0f, 8, 5, 71);
            float cloud = std::clamp((n - 0.45f) * 2.2f, 0.0f, 1.0f) * (1.0f - t * 0.6f);
            Col c = Mix(base, Mix(pal::SkyZenith(), pal::FogSand(), 0.4f + 0.5f * t), cloud * 0.7f);
            img.Set(x, y, c);
        }
    }
    return img;
}

// Jittered-grid cell noise, tiling with `cells` cells a side: nearest and second distance.
void CellDistances(float x, float y, int cells, uint32_t seed, float* f1, float* f2, int* id) {
    int cx = int(std::floor(x)), cy = int(std::floor(y));
    *f1 = *f2 = 1e9f;
    for (int j = -1; j <= 1; ++j)
        for (int i = -1; i <= 1; ++i) {
            int gx = cx + i, gy = cy + j;
            int wx = ((gx % cells) + cells) % cells, wy = ((gy % cells) + cells) % cells;
            float px = gx + 0.15f + 0.7f * Hash01(wx, wy, seed),
                  py = gy + 0.15f + 0.7f * Hash01(wx, wy, seed + 7);
            float d = std::sqrt((px - x) * (px - x) + (py - y) * (py - y));
            if (d < *f1) {
                *f2 = *f1;
                *f1 = d;
                *id = wy * cells + wx;
            } else if (d < *f2) {
                *f2 = d;
            }
        }
}

Image Cobbles() {
    Image img(256, 256);
    const int cells = 8;
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            float f1, f2;
            int id = 0;
            CellDistances(x / 32.0f, y / 32.0f, cells, 5, &f1, &f2, &id);
            float edge = f2 - f1;
            float stone = Hash01(id, 0, 9);
            Col c = Mix(pal::CobbleDark(), pal::CobbleLight(), 0.25f + 0.5f * stone);
            float dome = std::clamp(1.0f - f1 * 1.4f, 0.0f, 1.0f);
            c = Scale(c, 0.75f + 0.35f * dome);
            // Wet sheen on the tops of the stones.
            c = Mix(c, pal::FogLight(), std::pow(dome, 6.0f) * 0.45f);
            if (edge < 0.12f) c = Mix(pal::Mortar(), c, edge / 0.12f * 0.6f);
            img.Set(x, y, c);
        }
    Grime(img, 32, 0.12f, 13);
    return img;
}

Image Plaster() {
    Image img(256, 256);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            float n = Fbm(x / 16.0f, y / 16.0f, 16, 5, 21);
            float stain = Fbm(x / 64.0f, y / 64.0f, 4, 3, 33);
            Col c = Mix(pal::Plaster(), pal::PlasterShade(),
                        std::clamp(n * 0.6f + (stain - 0.5f) * 0.8f, 0.0f, 1.0f));
            // Rain has darkened the lower part of the wall.
            float wet = std::clamp((y - 170) / 86.0f, 0.0f, 1.0f);
            c = Scale(c, 1.0f - 0.3f * wet);
            img.Set(x, y, c);
        }
    DrawLine(img, 60, 40, 72, 70, 1.2f, Col{0.2f, 0.17f, 0.13f, 0.6f});
    DrawLine(img, 72, 70, 66, 98, 1.0f, Col{0.2f, 0.17f, 0.13f, 0.6f});
    DrawLine(img, 190, 150, 205, 168, 1.0f, Col{0.2f, 0.17f, 0.13f, 0.5f});
    return img;
}

Image Roof() {
    Image img(256, 256);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            int row = y / 32;
            int shift = (row & 1) ? 16 : 0;
            int col = ((x + shift) % 256) / 32;
            float v = (y % 32) / 32.0f;
            float u = ((x + shift) % 32) / 32.0f;
            float tint = Hash01(col, row, 41);
            Col c = Mix(pal::RoofTile(), pal::WoodLight(), tint * 0.35f);
            float round = std::sin(u * kPi);
            c = Scale(c, 0.6f + 0.5f * round * (0.4f + 0.6f * v));
            if (v > 0.9f) c = Scale(c, 0.45f);
            img.Set(x, y, c);
        }
    Grime(img, 32, 0.15f, 43);
    return img;
}

Image Door() {
    Image img(256, 256);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            int plank = x / 32;
            float grain = Fbm(x / 3.0f + plank * 17, y / 40.0f, 0, 4, 51);
            Col c = Mix(pal::WoodDark(), pal::WoodLight(),
                        std::clamp(grain * 1.2f - 0.2f + Hash01(plank, 0, 53) * 0.2f, 0.0f, 1.0f));
            if (x % 32 < 2) c = Scale(c, 0.45f);
            img.Set(x, y, c);
        }
    for (int band : {36, 204}) {
        FillRect(img, 0, band, 256, 16, pal::Iron());
        FillRect(img, 0, band, 256, 2, Col{1, 1, 1, 0.15f});
        for (int x = 16; x < 256; x += 32) FillCircle(img, x, band + 8, 3.5f, pal::MetalDark());
    }
    FillCircle(img, 214, 128, 12, pal::Iron());
    StrokeCircle(img, 214, 128, 12, 3, pal::MetalDark());
    return img;
}

Image Switch(bool on) {
    Image img(128, 128);
    for (int y = 0; y < 128; ++y)
        for (int x = 0; x < 128; ++x) {
            float brushed = Hash01(0, y, 61) * 0.5f + ValueNoise(x / 8.0f, y * 2.0f, 0, 63) * 0.5f;
            img.Set(x, y, Mix(pal::MetalDark(), pal::Metal(), 0.6f + 0.4f * brushed));
        }
    StrokeRect(img, 0, 0, 128, 128, 4, pal::MetalDark());
    for (int cx : {12, 116})
        for (int cy : {12, 116}) FillCircle(img, cx, cy, 4, pal::Iron());
    FillRoundRect(img, 50, 24, 28, 80, 6, pal::Iron());  // the slot
    float ly = on ? 34 : 78;
    DrawLine(img, 64, 64, 64, ly, 9, pal::Metal());  // the lever
    FillCircle(img, 64, ly, 9, on ? Rgb(220, 220, 220) : pal::MetalDark());
    FillCircle(img, 64, 64, 6, pal::Iron());
    FillCircle(img, 96, 30, 8, on ? pal::LampOn() : pal::LampOff());
    FillCircle(img, 94, 28, 3, Col{1, 1, 1, on ? 0.8f : 0.3f});
    return img;
}

Image Medkit() {
    Image img(128, 128, pal::Leather());
    Grime(img, 16, 0.2f, 71);
    FillRoundRect(img, 10, 22, 108, 84, 10, Rgb(226, 220, 204));
    StrokeRoundRect(img, 10, 22, 108, 84, 10, 3, Rgb(150, 140, 120));
    FillRect(img, 54, 36, 20, 56, pal::Health());
    FillRect(img, 36, 54, 56, 20, pal::Health());
    FillRect(img, 24, 10, 12, 108, Col{pal::Leather().r, pal::Leather().g, pal::Leather().b, 0.9f});
    FillRect(img, 92, 10, 12, 108, Col{pal::Leather().r, pal::Leather().g, pal::Leather().b, 0.9f});
    return img;
}

// ------------------------------------------------------------------ windows

// The courtyard as a silhouette against the dusk: used by the boot screen and the intro clip.
void Courtyard(Image& img, float sway, uint32_t rain_seed, float rain_phase,
               int pixels_per_drop = 400) {
    int w = img.w, h = img.h;
    VerticalGradient(img, 0, h * 6 / 10, pal::SkyZenith(), pal::FogLight());
    VerticalGradient(img, h * 6 / 10, h, pal::FogSand(), pal::CobbleDark());
    // Roofs and walls, farther ones lighter in the fog.
    for (int layer = 0; layer < 2; ++layer) {
        Col c = layer == 0 ? Mix(pal::PlasterShade(), pal::FogLight(), 0.5f)
                           : Mix(pal::WoodDark(), pal::FogSand(), 0.2f);
        float base = h * (layer == 0 ? 0.62f : 0.72f);
        float x = -20 + sway * (layer + 1);
        uint32_t k = 0;
        while (x < w) {
            float bw = w * (0.12f + 0.1f * Hash01(int(k), layer, 3));
            float bh = h * (0.18f + 0.16f * Hash01(int(k), layer, 4)) * (layer == 0 ? 1.2f : 0.8f);
            FillPolygon(img,
                        {x, base, x, base - bh, x + bw / 2, base - bh - bw * 0.35f, x + bw,
                         base - bh, x + bw, base},
                        c);
            // Lit windows, warm through the fog.
            if (Hash01(int(k), layer, 5) > 0.4f)
                FillRect(img, int(x + bw * 0.4f), int(base - bh * 0.6f),
                         std::max(2, int(bw * 0.15f)), std::max(3, int(bh * 0.2f)),
                         Col{1.0f, 0.78f, 0.4f, layer == 0 ? 0.45f : 0.8f});
            x += bw;
            ++k;
        }
    }
    FillRect(img, 0, int(h * 0.72f), w, h - int(h * 0.72f),
             Col{pal::CobbleDark().r, pal::CobbleDark().g, pal::CobbleDark().b, 0.8f});
    // Rain.
    int drops = w * h / pixels_per_drop;
    for (int i = 0; i < drops; ++i) {
        float rx = Hash01(i, 0, rain_seed) * (w + 40) - 20;
        float ry = std::fmod(Hash01(i, 1, rain_seed) * h +
                                 rain_phase * (0.8f + 0.4f * Hash01(i, 2, rain_seed)),
                             float(h + 20)) -
                   10;
        float len = h * 0.03f + h * 0.03f * Hash01(i, 3, rain_seed);
        DrawLine(img, rx, ry, rx - len * 0.15f, ry - len, 1.0f,
                 Col{pal::Rain().r, pal::Rain().g, pal::Rain().b, 0.35f});
    }
}

Image BootWindow(const ArtFonts& f) {
    Image img(512, 512);
    Courtyard(img, 0, 90, 0);
    Panel(img, 40, 300, 432, 150, 14, false);
    DrawTextCentred(img, f.bold, 64, 258, 96, "VELMORA", Col{0, 0, 0, 0.6f});
    DrawTextCentred(img, f.bold, 64, 256, 92, "VELMORA", pal::White());
    DrawTextCentred(img, f.bold, 22, 257, 131, "dusk in the old town", Col{0, 0, 0, 0.7f});
    DrawTextCentred(img, f.bold, 22, 256, 130, "dusk in the old town", pal::Highlight());
    DrawTextCentred(img, f.regular, 20, 256, 350, "Walk the courtyard. Throw the switch.",
                    pal::White());
    DrawTextCentred(img, f.regular, 20, 256, 380, "Open the gate before the patrol finds you.",
                    pal::White());
    DrawTextCentred(img, f.regular, 16, 256, 424, "Press Continue", Col{1, 1, 1, 0.7f});
    return img;
}

Image MainMenuWindow(const ArtFonts& f) {
    Image img(512, 512);
    Courtyard(img, 8, 91, 60);
    FillRect(img, 0, 0, 512, 512, Col{0, 0, 0.3f, 0.45f});
    Panel(img, 96, 150, 320, 300, 14, false);
    DrawTextCentred(img, f.bold, 56, 256, 100, "VELMORA", pal::White());
    DrawTextCentred(img, f.regular, 20, 256, 184, "Main menu", pal::Highlight());
    return img;
}

Image CreditsWindow(const ArtFonts& f) {
    Image img(512, 512, pal::Black());
    Panel(img, 0, 0, 512, 512, 0, false);  // fills the window: square corners
    DrawTextCentred(img, f.bold, 40, 256, 70, "Credits", pal::White());
    const char* lines[] = {"Engine, tools and game",
                           "the Velmora team",
                           "",
                           "Art, sound and video",
                           "made by code in tools/",
                           "",
                           "Type: DejaVu Sans",
                           "",
                           "Thanks for playing."};
    float y = 130;
    for (const char* l : lines) {
        bool head = l[0] && (l == lines[0] || l == lines[3]);
        DrawTextCentred(img, head ? f.bold : f.regular, 22, 256, y, l,
                        head ? pal::Highlight() : pal::White());
        y += 34;
    }
    return img;
}

Image IntroWindow(const ArtFonts& f) {
    Image img(512, 256, pal::Black());
    Panel(img, 0, 0, 512, 256, 0, false);
    DrawTextCentred(img, f.bold, 30, 256, 46, "The courtyard", pal::Highlight());
    const char* lines[] = {"Rain over the old town. Police patrol the walls.",
                           "A switch on the wall opens the gate.",
                           "Keep your health up and do not get caught."};
    float y = 86;
    for (const char* l : lines) {
        DrawTextCentred(img, f.regular, 18, 256, y, l, pal::White());
        y += 26;
    }
    // The controls, above the window's two buttons.
    DrawTextCentred(img, f.regular, 14, 256, y + 2,
                    "W walk   Shift run   D strike   mouse turns   Esc pause", pal::Highlight());
    return img;
}

// ------------------------------------------------------------------ atlases

struct Region {
    int x = 0, y = 0, w = 0, h = 0;
    Col colour;
    std::string pattern;
};

// Colour multiplier and relief of a pattern at a pixel.
void PatternAt(const Region& r, int x, int y, uint32_t seed, float* shade, float* relief) {
    const std::string& p = r.pattern;
    float fx = float(x), fy = float(y);
    if (p == "cloth") {
        float weave = std::sin(fx * 1.6f) * std::sin(fy * 1.6f);
        *shade = 0.9f + 0.06f * weave + 0.12f * (Fbm(fx / 12, fy / 12, 0, 3, seed) - 0.5f);
        *relief = 0.5f + 0.2f * weave;
    } else if (p == "leather") {
        float n = Fbm(fx / 6, fy / 6, 0, 4, seed);
        *shade = 0.75f + 0.45f * n;
        *relief = n;
    } else if (p == "knit") {
        float rib = std::sin(fx * 0.9f);
        *shade = 0.88f + 0.12f * rib;
        *relief = 0.5f + 0.4f * rib;
    } else if (p == "metal") {
        float b = Hash01(0, y, seed);
        *shade = 0.9f + 0.2f * b;
        *relief = 0.5f;
    } else if (p == "hair") {
        float s = Hash01(x, 0, seed) * 0.6f + ValueNoise(fx / 2, fy / 10, 0, seed) * 0.4f;
        *shade = 0.7f + 0.5f * s;
        *relief = s;
    } else if (p == "skin" || p == "face") {
        float n = Fbm(fx / 20, fy / 20, 0, 3, seed);
        *shade = 0.94f + 0.1f * n;
        *relief = 0.5f + 0.05f * n;
    } else {
        *shade = 1.0f;
        *relief = 0.5f;
    }
}

void FaceFeatures(Image& img, std::vector<float>& height, const Region& r) {
    float cx = r.x + r.w / 2.0f;
    float ey = r.y + r.h * 0.42f, ex = r.w * 0.2f;
    for (float s : {-1.0f, 1.0f}) {
        FillCircle(img, cx + s * ex, ey, r.w * 0.06f, Rgb(236, 232, 224));
        FillCircle(img, cx + s * ex, ey, r.w * 0.03f, Rgb(50, 40, 30));
        DrawLine(img, cx + s * ex - r.w * 0.08f, ey - r.h * 0.08f, cx + s * ex + r.w * 0.08f,
                 ey - r.h * 0.09f, r.w * 0.03f, pal::Hair());
    }
    DrawLine(img, cx, ey + r.h * 0.04f, cx - r.w * 0.02f, ey + r.h * 0.2f, r.w * 0.025f,
             Scale(pal::Skin(), 0.8f));
    DrawLine(img, cx - r.w * 0.1f, r.y + r.h * 0.75f, cx + r.w * 0.1f, r.y + r.h * 0.75f,
             r.w * 0.025f, Rgb(140, 80, 70));
    // The nose stands out in the relief.
    for (int y = int(ey); y < int(ey + r.h * 0.22f); ++y)
        for (int x = int(cx - r.w * 0.05f); x < int(cx + r.w * 0.05f); ++x)
            if (x >= 0 && y >= 0 && x < img.w && y < img.h) height[size_t(y) * img.w + x] = 0.8f;
}

bool ParseColour(std::istringstream& in, Col* c) {
    int r, g, b;
    if (!(in >> r >> g >> b)) return false;
    *c = Rgb(std::clamp(r, 0, 255), std::clamp(g, 0, 255), std::clamp(b, 0, 255));
    return true;
}

}  // namespace

bool MakeAtlas(const std::string& path, const ArtFonts& fonts, Image* out,
               std::vector<float>* height) {
    std::ifstream file(path);
    if (!file) {
        std::printf("Could not open '%s'\n", path.c_str());
        return false;
    }
    Image img;
    std::string line;
    int number = 0;
    uint32_t seed = 1000;
    while (std::getline(file, line)) {
        ++number;
        if (auto hash = line.find('#'); hash != std::string::npos) line.erase(hash);
        std::istringstream in(line);
        std::string word;
        if (!(in >> word)) continue;
        auto bad = [&]() {
            std::printf("%s:%d: bad '%s' line\n", path.c_str(), number, word.c_str());
            return false;
        };
        if (word == "size") {
            int w = 0, h = 0;
            if (!(in >> w >> h) || !IsPowerOfTwo(w) || !IsPowerOfTwo(h) || w > 2048 || h > 2048)
                return bad();
            img = Image(w, h, pal::Black());
            height->assign(size_t(w) * h, 0.5f);
            continue;
        }
        if (img.w == 0) return bad();  // everything else needs the size first
        if (word == "rect") {
            Region r;
            if (!(in >> r.x >> r.y >> r.w >> r.h) || !ParseColour(in, &r.colour) ||
                !(in >> r.pattern))
                return bad();
            ++seed;
            for (int y = std::max(0, r.y); y < std::min(img.h, r.y + r.h); ++y)
                for (int x = std::max(0, r.x); x < std::min(img.w, r.x + r.w); ++x) {
                    float shade, relief;
                    PatternAt(r, x, y, seed, &shade, &relief);
                    // Seams: a darker, sunken border of two pixels round every region.
                    int edge = std::min(std::min(x - r.x, r.x + r.w - 1 - x),
                                        std::min(y - r.y, r.y + r.h - 1 - y));
                    if (edge < 2) {
                        shade *= 0.6f;
                        relief = 0.2f;
                    }
                    img.Set(x, y, Scale(r.colour, shade));
                    (*height)[size_t(y) * img.w + x] = relief;
                }
            if (r.pattern == "face") FaceFeatures(img, *height, r);
        } else if (word == "disc") {
            float cx, cy, radius;
            Col c;
            if (!(in >> cx >> cy >> radius) || !ParseColour(in, &c)) return bad();
            FillCircle(img, cx, cy, radius, c);
            for (int y = std::max(0, int(cy - radius)); y < std::min(img.h, int(cy + radius + 1));
                 ++y)
                for (int x = std::max(0, int(cx - radius));
                     x < std::min(img.w, int(cx + radius + 1)); ++x)
                    if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= radius * radius)
                        (*height)[size_t(y) * img.w + x] = 0.75f;
        } else if (word == "text") {
            float x, y, px;
            Col c;
            std::string text;
            if (!(in >> x >> y >> px) || !ParseColour(in, &c) || !std::getline(in >> std::ws, text))
                return bad();
            DrawTextCentred(img, fonts.bold, px, x, y, text, c);
        } else {
            return bad();
        }
    }
    if (img.w == 0) {
        std::printf("%s: no size line\n", path.c_str());
        return false;
    }
    *out = img;
    return true;
}

Image NormalMapFromHeight(const std::vector<float>& hgt, int w, int h, int out_w, int out_h,
                          float strength) {
    Image out(out_w, out_h);
    auto at = [&](int x, int y) {
        x = ((x % w) + w) % w;
        y = ((y % h) + h) % h;
        return hgt[size_t(y) * w + x];
    };
    int sx = std::max(1, w / out_w), sy = std::max(1, h / out_h);
    for (int y = 0; y < out_h; ++y)
        for (int x = 0; x < out_w; ++x) {
            int cx = x * sx, cy = y * sy;
            float dx = (at(cx + sx, cy) - at(cx - sx, cy)) * strength;
            float dy = (at(cx, cy + sy) - at(cx, cy - sy)) * strength;
            float nx = -dx, ny = -dy, nz = 1.0f;
            float len = std::sqrt(nx * nx + ny * ny + nz * nz);
            out.Set(x, y,
                    Col{nx / len * 0.5f + 0.5f, ny / len * 0.5f + 0.5f, nz / len * 0.5f + 0.5f, 1});
        }
    return out;
}

Image IntroFrame(const ArtFonts& f, int w, int h, int i, int count) {
    Image img(w, h);
    float t = float(i) / float(std::max(1, count - 1));
    Courtyard(img, -t * 30, 77, float(i) * h * 0.09f, 1000);
    // The title fades in, holds, and the whole picture fades to black at the end.
    float title = std::clamp((t - 0.2f) / 0.2f, 0.0f, 1.0f);
    if (title > 0) {
        DrawTextCentred(img, f.bold, h * 0.2f, w / 2.0f + 2, h * 0.38f + 2, "VELMORA",
                        Col{0, 0, 0, 0.6f * title});
        DrawTextCentred(img, f.bold, h * 0.2f, w / 2.0f, h * 0.38f, "VELMORA", Col{1, 1, 1, title});
    }
    float sub = std::clamp((t - 0.45f) / 0.15f, 0.0f, 1.0f);
    if (sub > 0) {
        DrawTextCentred(img, f.bold, h * 0.07f, w / 2.0f + 1, h * 0.5f + 1, "dusk in the old town",
                        Col{0, 0, 0, 0.7f * sub});
        DrawTextCentred(img, f.bold, h * 0.07f, w / 2.0f, h * 0.5f, "dusk in the old town",
                        Col{1, 0.77f, 0.25f, sub});
    }
    float fade =
        std::clamp((t - 0.88f) / 0.12f, 0.0f, 1.0f) + std::clamp(1.0f - t / 0.06f, 0.0f, 1.0f);
    if (fade > 0) FillRect(img, 0, 0, w, h, Col{0, 0, 0, std::min(1.0f, fade)});
    return img;
}

std::vector<Texture> MakeFlatTextures(const ArtFonts& f) {
    std::vector<Texture> t;
    t.push_back({"system/white.dds", Image(8, 8, pal::White()), false});
    t.push_back({"resources/textures/gui/cursor.dds", Cursor(), true});
    for (bool up : {true, false})
        for (bool sel : {false, true})
            t.push_back({std::string("resources/textures/gui/scroll_bar_button_") +
                             (up ? "up" : "down") + (sel ? "_s" : "") + ".dds",
                         ScrollButton(up, sel), false});
    t.push_back({"resources/textures/gui/ingame/health_ico.dds", HealthIcon(), true});
    t.push_back({"resources/textures/gui/ingame/enemy_ico.dds", EnemyIcon(), true});
    t.push_back({"resources/textures/gui/ingame/target_ico.dds", TargetIcon(), true});
    t.push_back({"resources/textures/gui/ingame/yellow_arrow.dds", YellowArrow(), true});
    const char* buttons[][2] = {
        {"play", "Play"},         {"credits", "Credits"},       {"exit", "Exit"},
        {"continue", "Continue"}, {"load_scene", "Load scene"}, {"editor", "Editor"},
        {"delete", "Delete"},     {"close", "Close"},           {"open", "Open"},
        {"cancel", "Cancel"},     {"exit_intro", "Exit intro"}, {"exit_level", "Exit level"}};
    for (auto& b : buttons) {
        t.push_back({std::string("resources/textures/gui/buttons/") + b[0] + ".dds",
                     Button(f, b[1], false), true});
        t.push_back({std::string("resources/textures/gui/buttons/") + b[0] + "_s.dds",
                     Button(f, b[1], true), true});
    }
    t.push_back({"resources/textures/gui/windows/boot.dds", BootWindow(f), false});
    t.push_back({"resources/textures/gui/windows/main_menu.dds", MainMenuWindow(f), false});
    t.push_back({"resources/textures/gui/windows/credits.dds", CreditsWindow(f), false});
    t.push_back({"resources/textures/gui/windows/intro.dds", IntroWindow(f), false});
    t.push_back({"resources/textures/character_shadow.dds", CharacterShadow(), true});
    t.push_back({"resources/textures/particle.dds", RainStreak(), true});
    t.push_back({"resources/textures/chek.dds", Checker(), false});
    t.push_back({"resources/textures/sky.dds", Sky(), false});
    t.push_back({"resources/textures/ground_cobbles.dds", Cobbles(), false});
    t.push_back({"resources/textures/wall_plaster.dds", Plaster(), false});
    t.push_back({"resources/textures/roof_tiles.dds", Roof(), false});
    t.push_back({"resources/textures/door_wood.dds", Door(), false});
    t.push_back({"resources/textures/switch_off.dds", Switch(false), false});
    t.push_back({"resources/textures/switch_on.dds", Switch(true), false});
    t.push_back({"resources/textures/item_medkit.dds", Medkit(), false});
    return t;
}
