// velmora_assetgen: makes the game's flat data (textures, fonts, sounds, the intro's pictures)
// and the contact sheet. tools/make_assets.sh drives it; see docs/assets.md.
//
//   velmora_assetgen data <out-dir> <layout-dir> <font-dir>   DDS, TGA, GLF and WAV files
//   velmora_assetgen rain <file.wav>                          the rain loop, before encoding
//   velmora_assetgen frames <w> <h> <count> <font-dir>        raw RGB pictures of the intro on
//   stdout velmora_assetgen contact <data-dir> <font-dir> <out.png>  one picture of every texture
//   and font
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "art.h"
#include "audio.h"
#include "glf.h"
#include "image.h"
#include "palette.h"

namespace {

struct FontRecipe {
    const char* path;
    const char* face;
    float pixels;
    int atlas_width;
};

// The three fonts of the game. Sizes are chosen so that text reads well at the GUI's scales
// of 0.5 to 0.8: a list row of 13 units holds tahoma at 0.5.
const FontRecipe kFonts[] = {
    {"system/tahoma2.glf", "DejaVuSans.ttf", 32, 512},
    {"resources/fonts/arial.glf", "DejaVuSans.ttf", 36, 512},
    {"resources/fonts/tahoma.glf", "DejaVuSansCondensed.ttf", 24, 512},
};

int MakeData(const std::string& out, const std::string& layouts, const std::string& font_dir) {
    ArtFonts fonts;
    if (!fonts.Load(font_dir)) return 1;
    bool ok = true;
    for (const Texture& t : MakeFlatTextures(fonts))
        ok = WriteDds(out + "/" + t.path, t.image, t.dxt5) && ok;

    Image polic, orsin;
    std::vector<float> polic_height, orsin_height;
    if (!MakeAtlas(layouts + "/polic.layout", fonts, &polic, &polic_height)) return 1;
    if (!MakeAtlas(layouts + "/orsin.layout", fonts, &orsin, &orsin_height)) return 1;
    ok = WriteDds(out + "/resources/textures/polic.dds", polic, false) && ok;
    ok = WriteDds(out + "/resources/textures/orsin_d.dds", orsin, false) && ok;
    Image normal = NormalMapFromHeight(orsin_height, orsin.w, orsin.h, std::max(1, orsin.w / 2),
                                       std::max(1, orsin.h / 2), 3.0f);
    ok = WriteTga24(out + "/resources/textures/orsin_n.tga", normal) && ok;

    for (const FontRecipe& recipe : kFonts) {
        TrueType face;
        if (!face.Load(font_dir + "/" + recipe.face)) return 1;
        std::vector<uint8_t> bytes;
        if (!MakeGlf(face, recipe.pixels, recipe.atlas_width, &bytes, nullptr)) return 1;
        ok = WriteFile(out + "/" + recipe.path, bytes) && ok;
    }

    ok = WriteFile(out + "/resources/sounds/door_move.wav", EncodeWav(DoorMove())) && ok;
    ok = WriteFile(out + "/resources/sounds/switch_click.wav", EncodeWav(SwitchClick())) && ok;
    ok = WriteFile(out + "/resources/sounds/item_pickup.wav", EncodeWav(ItemPickup())) && ok;
    return ok ? 0 : 1;
}

int MakeFrames(int w, int h, int count, const std::string& font_dir) {
    if (w <= 0 || h <= 0 || w > 1920 || h > 1080 || count <= 0 || count > 10000) {
        std::fprintf(stderr, "bad picture size or count\n");
        return 1;
    }
    ArtFonts fonts;
    if (!fonts.Load(font_dir)) return 1;
    std::vector<uint8_t> rgb(size_t(w) * h * 3);
    for (int i = 0; i < count; ++i) {
        Image img = IntroFrame(fonts, w, h, i, count);
        for (size_t p = 0; p < size_t(w) * h; ++p)
            for (int c = 0; c < 3; ++c) rgb[p * 3 + c] = img.px[p * 4 + c];
        if (std::fwrite(rgb.data(), 1, rgb.size(), stdout) != rgb.size()) return 1;
    }
    return 0;
}

// Copies `src` scaled to fit a box of `box` pixels, centred at (x, y)-(x+box, y+box), over a
// checkerboard that shows alpha.
void Tile(Image& sheet, const Image& src, int x, int y, int box) {
    for (int j = 0; j < box; ++j)
        for (int i = 0; i < box; ++i) {
            bool odd = ((i / 8) + (j / 8)) & 1;
            sheet.Set(x + i, y + j, odd ? Rgb(90, 90, 96) : Rgb(60, 60, 66));
        }
    float s = std::min(float(box) / src.w, float(box) / src.h);
    int tw = std::max(1, int(src.w * s)), th = std::max(1, int(src.h * s));
    int ox = x + (box - tw) / 2, oy = y + (box - th) / 2;
    for (int j = 0; j < th; ++j)
        for (int i = 0; i < tw; ++i) {
            // Box filter over the source pixels that fall in this one.
            int sx0 = int(i / s), sy0 = int(j / s);
            int sx1 = std::max(sx0 + 1, int((i + 1) / s)),
                sy1 = std::max(sy0 + 1, int((j + 1) / s));
            float r = 0, g = 0, b = 0, a = 0;
            int n = 0;
            for (int sy = sy0; sy < sy1; ++sy)
                for (int sx = sx0; sx < sx1; ++sx) {
                    Col c = src.Get(sx, sy);
                    r += c.r * c.a;
                    g += c.g * c.a;
                    b += c.b * c.a;
                    a += c.a;
                    ++n;
                }
            if (a > 0) sheet.Blend(ox + i, oy + j, Col{r / a, g / a, b / a, a / n});
        }
}

int MakeContactSheet(const std::string& data, const std::string& font_dir, const std::string& png) {
    TrueType label;
    if (!label.Load(font_dir + "/DejaVuSans.ttf")) return 1;
    std::vector<std::string> images, glfs;
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(data, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        if (!it->is_regular_file()) continue;
        std::string rel = std::filesystem::relative(it->path(), data).generic_string();
        std::string ext = it->path().extension().string();
        if (ext == ".dds" || ext == ".tga") images.push_back(rel);
        if (ext == ".glf") glfs.push_back(rel);
    }
    std::sort(images.begin(), images.end());
    std::sort(glfs.begin(), glfs.end());

    const int cols = 7, box = 136, cell_w = 146, cell_h = 170, width = cols * cell_w + 10;
    std::vector<Image> atlases;
    int fonts_h = 0;
    for (const std::string& g : glfs) {
        std::vector<uint8_t> bytes;
        Image a;
        if (!ReadFile(data + "/" + g, &bytes) || !DecodeGlf(bytes, &a)) {
            std::printf("Not a font: '%s'\n", g.c_str());
            return 1;
        }
        atlases.push_back(a);
        fonts_h += a.h + 40;
    }
    int rows = int((images.size() + cols - 1) / cols);
    Image sheet(width, 60 + rows * cell_h + fonts_h + 20, pal::Panel());
    DrawText(sheet, label, 26, 10, 38, "Velmora flat data: textures and fonts", pal::White());
    for (size_t k = 0; k < images.size(); ++k) {
        std::vector<uint8_t> bytes;
        Image img;
        bool tga = images[k].size() > 4 && images[k].substr(images[k].size() - 4) == ".tga";
        if (!ReadFile(data + "/" + images[k], &bytes) ||
            !(tga ? DecodeTga(bytes, &img) : DecodeDds(bytes, &img))) {
            std::printf("Not an image: '%s'\n", images[k].c_str());
            return 1;
        }
        int x = 10 + int(k % cols) * cell_w, y = 60 + int(k / cols) * cell_h;
        Tile(sheet, img, x, y, box);
        std::string name = std::filesystem::path(images[k]).filename().string();
        std::string size = std::to_string(img.w) + "x" + std::to_string(img.h);
        DrawText(sheet, label, 11, x, y + box + 13, name, pal::White());
        DrawText(sheet, label, 11, x, y + box + 26, size, pal::Highlight());
    }
    int y = 60 + rows * cell_h;
    for (size_t k = 0; k < atlases.size(); ++k) {
        DrawText(sheet, label, 14, 10, y + 20,
                 glfs[k] + "  " + std::to_string(atlases[k].w) + "x" + std::to_string(atlases[k].h),
                 pal::White());
        FillRect(sheet, 10, y + 28, atlases[k].w, atlases[k].h, pal::Black());
        for (int j = 0; j < atlases[k].h; ++j)
            for (int i = 0; i < atlases[k].w; ++i)
                sheet.Blend(10 + i, y + 28 + j, atlases[k].Get(i, j));
        y += atlases[k].h + 40;
    }
    return WritePng(png, sheet) ? 0 : 1;
}

// A binary PPM (P6, maxval 255, power-of-two sides) as an opaque DXT1 DDS with its mip
// chain: the level tool draws its pictures as PPM and leaves the compression to this one.
int PpmToDds(const std::string& ppm, const std::string& dds) {
    std::vector<uint8_t> file;
    if (!ReadFile(ppm, &file)) return 1;
    size_t pos = 0;
    std::vector<int> fields;
    std::string magic;
    while (fields.size() < 3 && pos < file.size()) {
        while (pos < file.size() && std::isspace(file[pos])) ++pos;
        size_t start = pos;
        while (pos < file.size() && !std::isspace(file[pos])) ++pos;
        std::string word(file.begin() + long(start), file.begin() + long(pos));
        if (magic.empty())
            magic = word;
        else
            fields.push_back(std::atoi(word.c_str()));
    }
    ++pos;  // the single blank after maxval
    if (magic != "P6" || fields.size() != 3 || fields[2] != 255 || !IsPowerOfTwo(fields[0]) ||
        !IsPowerOfTwo(fields[1]) || file.size() - pos < size_t(fields[0]) * fields[1] * 3) {
        std::fprintf(stderr, "velmora_assetgen: %s is not a power-of-two P6 picture\n",
                     ppm.c_str());
        return 1;
    }
    Image img(fields[0], fields[1]);
    for (int y = 0; y < img.h; ++y)
        for (int x = 0; x < img.w; ++x) {
            const uint8_t* p = &file[pos + (size_t(y) * img.w + x) * 3];
            img.Set(x, y, Rgb(p[0], p[1], p[2]));
        }
    return WriteDds(dds, img, false) ? 0 : 1;
}

int Usage() {
    std::printf(
        "usage: velmora_assetgen data <out-dir> <layout-dir> <font-dir>\n"
        "       velmora_assetgen rain <file.wav>\n"
        "       velmora_assetgen frames <w> <h> <count> <font-dir>\n"
        "       velmora_assetgen contact <data-dir> <font-dir> <out.png>\n"
        "       velmora_assetgen dds <in.ppm> <out.dds>\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> a(argv + 1, argv + argc);
    if (a.size() == 4 && a[0] == "data") return MakeData(a[1], a[2], a[3]);
    if (a.size() == 2 && a[0] == "rain") return WriteFile(a[1], EncodeWav(RainLoop(10.0f))) ? 0 : 1;
    if (a.size() == 5 && a[0] == "frames")
        return MakeFrames(std::atoi(a[1].c_str()), std::atoi(a[2].c_str()), std::atoi(a[3].c_str()),
                          a[4]);
    if (a.size() == 4 && a[0] == "contact") return MakeContactSheet(a[1], a[2], a[3]);
    if (a.size() == 3 && a[0] == "dds") return PpmToDds(a[1], a[2]);
    return Usage();
}
